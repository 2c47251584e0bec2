#include "network/shares.h"

#include "support/hresult.h"
#include "tavkivut/system.h"

const kiv::ShareCalls& kiv::Shares() noexcept {
    return CKivSystem::IsNT() == kStatusOk ? kNtShareCalls : k9xShareCalls;
}
