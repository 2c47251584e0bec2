#include "security/acl_rights.h"

#include "tavkivut/security.h"

namespace kiv {

void AclRightsApi::Load() noexcept {
    FindFunction(LoadSystemModule("advapi32.dll"), "GetEffectiveRightsFromAclA", effectiveRights);
}

}  // namespace kiv

unsigned long CKivAcl::GetEffectiveRights(void* const sid) noexcept {
    if (m_acl == nullptr)
        return 0;
    const kiv::AclRightsApi& api = kiv::DynamicApi<kiv::AclRightsApi>::Get();
    ACCESS_MASK rights = 0;
    DWORD status = ERROR_PROC_NOT_FOUND;
    if (sid == nullptr || !::IsValidSid(sid)) {
        status = ERROR_INVALID_SID;
    } else if (api.effectiveRights != nullptr) {
        TRUSTEE_A trustee = {};
        trustee.TrusteeForm = TRUSTEE_IS_SID;
        trustee.ptstrName = static_cast<char*>(sid);
        status = api.effectiveRights(m_acl, &trustee, &rights);
    }
    if (status == ERROR_SUCCESS)
        return rights;
    ::SetLastError(status);
    return 0;
}
