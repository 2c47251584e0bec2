#include "support/windows_api.h"

#include <cstring>
#include <string>

#include "install/service_setup.h"
#include "registry/config_files.h"
#include "support/log.h"
#include "tavkivut/crypt.h"
#include "tavkivut/install_service.h"
#include "tavkivut/registry.h"
#include "tavkivut/security.h"

namespace {

constexpr const char* kCredentialsFailed = "Failed to write service user data! THIS IS A CRITICAL ERROR";
constexpr const char* kServerListFailed = "Failed to write the list of supported Servers! THIS IS A CRITICAL ERROR";

bool Fail(DWORD error, const char* text) noexcept {
    KIV_LOG_WIN32_TEXT(error, text, kiv::kLogMain);
    ::SetLastError(error);
    return false;
}

bool IsProperPassword(const char* password) noexcept {
    if (password == nullptr)
        return false;
    const std::size_t length = std::strlen(password);
    return length >= 1 && length <= kKivClearTextLimit;
}

bool Write(CKivRegKey& key, const char* name, const char* text, const char* failure) noexcept {
    CKivRegValue value = key[name];
    value = text;
    return value.getLastError() == ERROR_SUCCESS || Fail(value.getLastError(), failure);
}

// Whoever is in the Administrators alias may do everything, as the services of the system account are; nobody else
// anything.
bool RestrictToAdministrators(HKEY key) noexcept {
    CKivSid administrators;
    administrators = CKivSid::WKS_ADMINISTRATORS;
    CKivAcl acl;
    CKivSecurityDescriptor sd;
    return acl.AddAce(CKivAce(administrators, GENERIC_ALL, 1)) != 0 && sd.SetDacl(acl) != 0 &&
           sd.SetRegKeyDacl(key) != 0;
}

}  // namespace

bool KIV_CALL SaveServiceUserCredentials(const char* computer, const char* user, char* password) noexcept {
    if (user == nullptr || !IsProperPassword(password)) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    char sealedUser[kKivEncryptedTextLimit + 1];
    char sealedPassword[kKivEncryptedTextLimit + 1];
    if (CKivEncryptData::Encrypt(user, kKivEncryptedBlock, sealedUser, sizeof sealedUser) == 0 ||
        CKivEncryptData::Encrypt(password, kKivEncryptedBlock, sealedPassword, sizeof sealedPassword) == 0)
        return Fail(::GetLastError(), kCredentialsFailed);
    CKivRegKey key(kiv::MachineArgument{computer});
    if (!key.create(kiv::kConfigRootKey, "tavkivds\\UData"))
        return Fail(key.getLastError(), kCredentialsFailed);
    if (!Write(key, "down", sealedUser, kCredentialsFailed) || !Write(key, "dopw", sealedPassword, kCredentialsFailed))
        return false;
    if (!RestrictToAdministrators(key))
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Could not change reg key security for Service Credentials");
    return true;
}

bool KIV_CALL Save_DS_SupportedServerList(const char* computer, const char* list) noexcept {
    if (list == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    CKivRegKey key(kiv::MachineArgument{computer});
    if (!key.create(kiv::kConfigRootKey, "tavkivds\\ServerList"))
        return Fail(key.getLastError(), kServerListFailed);
    if (!Write(key, "ServerList", list, kServerListFailed))
        return false;
    if (!RestrictToAdministrators(key))
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Could not change reg key security");
    return true;
}
