#ifndef KIV_SECURITY_NT_FAMILY_H
#define KIV_SECURITY_NT_FAMILY_H

#include "support/hresult.h"
#include "tavkivut/system.h"

namespace kiv {

// Whether the system has security data at all; on the 9x family nothing of this folder does anything.
inline bool IsNtFamily() noexcept {
    return CKivSystem::IsNT() == kStatusOk;
}

}  // namespace kiv

#endif
