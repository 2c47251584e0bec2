#ifndef KIV_SUPPORT_NT_FAMILY_H
#define KIV_SUPPORT_NT_FAMILY_H

#include "support/hresult.h"
#include "tavkivut/system.h"

namespace kiv {

// Whether the system is of the NT family, which alone has security data and registry links. No where it cannot be told.
inline bool IsNtFamily() noexcept {
    return CKivSystem::IsNT() == kStatusOk;
}

}  // namespace kiv

#endif
