#ifndef KIV_SECURITY_ACCOUNT_RIGHT_H
#define KIV_SECURITY_ACCOUNT_RIGHT_H

#include "support/windows_api.h"

#include <ntsecapi.h>

namespace kiv {

// The local security authority, which Windows 95 and 98 lack.
struct LsaApi {
    decltype(&::LsaOpenPolicy) open;
    decltype(&::LsaAddAccountRights) addRights;
    decltype(&::LsaClose) close;
    decltype(&::LsaNtStatusToWinError) errorOfStatus;
    void Load() noexcept;
    bool Complete() const noexcept { return open && addRights && close && errorOfStatus; }
};
const LsaApi& Lsa() noexcept;

}  // namespace kiv

#endif
