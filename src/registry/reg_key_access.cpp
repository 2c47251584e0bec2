#include "support/windows_api.h"

#include "tavkivut/registry.h"

// The library has no access lists and tokens yet, so access is never set and the callers are told so.

bool CKivRegKey::setAccess(AccessType, void*) noexcept {
    return false;
}

bool CKivRegKey::setEveryoneAccess() noexcept {
    return setAccess(AccessEveryone, nullptr);
}

bool CKivRegKey::setRestrictedAccess() noexcept {
    return false;
}
