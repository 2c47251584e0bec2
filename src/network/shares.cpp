#include "network/shares.h"

#include "support/nt_family.h"

const kiv::ShareCalls& kiv::Shares() noexcept {
    return IsNtFamily() ? kNtShareCalls : k9xShareCalls;
}
