#ifndef KIV_SECURITY_OBJECT_SECURITY_H
#define KIV_SECURITY_OBJECT_SECURITY_H

#include "support/windows_api.h"

#include <winsvc.h>

#include "support/dynamic_function.h"

namespace kiv {

// How the system reads and sets the security of its objects, kind by kind.
struct ObjectSecurityApi {
    decltype(&::GetUserObjectSecurity) getUserObject;
    decltype(&::SetUserObjectSecurity) setUserObject;
    decltype(&::GetKernelObjectSecurity) getKernelObject;
    decltype(&::SetKernelObjectSecurity) setKernelObject;
    decltype(&::GetFileSecurityA) getFile;
    decltype(&::SetFileSecurityA) setFile;
    decltype(&::RegGetKeySecurity) getRegKey;
    decltype(&::RegSetKeySecurity) setRegKey;
    decltype(&::QueryServiceObjectSecurity) getService;
    decltype(&::SetServiceObjectSecurity) setService;
    void Load() noexcept;
};

}  // namespace kiv

#endif
