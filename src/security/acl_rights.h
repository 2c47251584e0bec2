#ifndef KIV_SECURITY_ACL_RIGHTS_H
#define KIV_SECURITY_ACL_RIGHTS_H

#include "support/windows_api.h"

#include <aclapi.h>

#include "support/dynamic_function.h"

namespace kiv {

// What the system says about a list; Windows 95 and Windows NT before 4.0 do not have it.
struct AclRightsApi {
    decltype(&::GetEffectiveRightsFromAclA) effectiveRights;
    void Load() noexcept;
};

}  // namespace kiv

#endif
