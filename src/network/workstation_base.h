#ifndef KIV_NETWORK_WORKSTATION_BASE_H
#define KIV_NETWORK_WORKSTATION_BASE_H

#include <string>

#include "support/windows_api.h"

namespace kiv {

// The directory in which the installer's own, "TAVwksta", lies on a computer ("" is this one), without a trailing
// backslash: the parent of the path in that computer's registry, else its Windows directory. A Win32 error when its
// registry cannot be reached, or when the path is none of a drive.
DWORD FindWorkstationBase(const char* computer, std::string& directory);

}  // namespace kiv

#endif
