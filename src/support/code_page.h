#ifndef KIV_SUPPORT_CODE_PAGE_H
#define KIV_SUPPORT_CODE_PAGE_H

#include "support/windows_api.h"

namespace kiv {

// Whether a byte begins a two-byte character of the system code page.
inline bool IsAnsiLeadByte(unsigned char byte) noexcept {
    return ::IsDBCSLeadByte(byte) != FALSE;
}

}  // namespace kiv

#endif
