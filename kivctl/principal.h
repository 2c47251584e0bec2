#ifndef KIVCTL_PRINCIPAL_H
#define KIVCTL_PRINCIPAL_H

#include <string>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "tavkivut/security.h"

namespace kivctl {

using Json = nlohmann::ordered_json;

// How the security subcommands show a SID: "S-1-5-18  NT AUTHORITY\SYSTEM", and as JSON.
std::string AccountOf(CKivSid& sid);  // "DOMAIN\name", or "" when the account is not known
std::string ShowSid(CKivSid& sid);
Json SidAsJson(CKivSid& sid);

// A SID given as text or account name. Failure when there is none. A text that reads as another SID than it says gets a
// warning on the error output.
CKivSid ReadPrincipal(const std::string& text);

// Failure on a system of the 9x family, which has no security data.
void RequireNtFamily();

}  // namespace kivctl

#endif
