#include "support/windows_api.h"

#include "support/nt_family.h"
#include "tavkivut/registry.h"
#include "tavkivut/security.h"

bool CKivRegKey::setAccess(AccessType type, void* token) noexcept {
    if (!kiv::IsNtFamily())
        return false;
    if (type != AccessEveryone && (type != AccessRestricted || token == nullptr)) {
        m_lastError = ERROR_INVALID_PARAMETER;
        return false;
    }
    CKivSid user;
    CKivAcl acl;
    CKivSecurityDescriptor sd;
    bool listed = true;
    if (type == AccessRestricted) {
        user = CKivSid::FromTokenUser(token);
        listed = acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE, KEY_ALL_ACCESS, user);
    }
    // Without a list this is a null DACL.
    const bool set = listed && sd.SetDacl(acl) && sd.SetRegKeyDacl(m_handle);
    m_lastError = set ? ERROR_SUCCESS : ::GetLastError();
    // To become the owner needs other rights than to set a DACL: each is done whether or not the other can be.
    if (listed && type == AccessRestricted && sd.SetOwner(user))
        sd.SetRegKeyOwner(m_handle);
    return set;
}

bool CKivRegKey::setEveryoneAccess() noexcept {
    return setAccess(AccessEveryone, nullptr);
}

bool CKivRegKey::setRestrictedAccess() noexcept {
    CKivToken token;
    if (!token.OpenThreadToken(::GetCurrentThread(), TOKEN_READ)) {
        m_lastError = ::GetLastError();
        return false;
    }
    return setAccess(AccessRestricted, token);
}
