#include "install/service_setup.h"

#include "install/service_call.h"
#include "network/computer.h"
#include "support/log.h"
#include "tavkivut/registry.h"
#include "tavkivut/security.h"

namespace kiv {
namespace {

struct AccountRight {
    const char* name;
    const char* granted;  // formats of the lines that tell, with the account
    const char* failed;
};

// In the order in which they are granted.
constexpr AccountRight kAccountRights[] = {
    {"SeServiceLogonRight", "Security : allowed %s to logon as service",
     "Security : failed to allow %s to logon as service"},
    {"SeInteractiveLogonRight", "Security : allowed %s to logon interactively",
     "Security : failed to allow %s to logon interactively"},
    {"SeTcbPrivilege", "Security : allowed %s to act as part of system",
     "Security : failed to allow %s to act as part of system"},
    {"SeAssignPrimaryTokenPrivilege", "Security : allowed %s to replace process-level token",
     "Security : failed to allow %s to replace process-level token"},
};

constexpr const char* kServicesKey = "HKLM\\SYSTEM\\CurrentControlSet\\Services";

// ".\user" is an account of the computer itself, which the look-up there knows by its bare name.
const char* BareAccount(const char* account) noexcept {
    return account[0] == '.' && account[1] == '\\' ? account + 2 : account;
}

}  // namespace

MachineArgument::MachineArgument(const char* computer) : m_server(ServerName(ComputerName(computer))) {}

std::string ServiceBinaryPath(const std::string& path) {
    return path.find(' ') == std::string::npos ? path : '"' + path + '"';
}

DWORD OpenInstalledService(SC_HANDLE manager, const char* name, CNTScmService& service) noexcept {
    SC_HANDLE handle = nullptr;
    const DWORD error = CallService(handle, Services().openService, manager, name, kServiceAccess);
    if (error == ERROR_SUCCESS)
        service.Attach(handle);
    return error;
}

DWORD ConfigureService(SC_HANDLE service, DWORD startType, const char* binaryPath, const char* account,
                       const char* password, const char* display) noexcept {
    return ServiceError(Services().changeConfig, service, kServiceType, startType, kServiceErrorControl, binaryPath,
                        nullptr, nullptr, kServiceDependencies, account, password, display);
}

DWORD CopyOver(const char* source, const char* target) noexcept {
    if (!::CopyFileA(source, target, FALSE))
        return ::GetLastError();
    const DWORD attributes = ::GetFileAttributesA(target);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
        ::SetFileAttributesA(target, attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    return ERROR_SUCCESS;
}

void GrantServiceRights(const char* machine, const char* account) noexcept {
    if (TextOrNull(account) == nullptr)
        return;
    for (const AccountRight& right : kAccountRights) {
        if (KivAddAccountPrivilege(machine, BareAccount(account), right.name) != 0)
            KIV_LOG(kLogMain, kLogInfo, right.granted, account);
        else
            KIV_LOG(kLogMain, kLogError, right.failed, account);
    }
}

void WriteServiceDescription(const char* machine, const char* name, const char* description) {
    CKivRegKey key(machine, nullptr, nullptr, KEY_SET_VALUE);
    if (!key.create(kServicesKey, name, KEY_SET_VALUE)) {
        KIV_LOG_WIN32_TEXT(key.getLastError(), "Failed to create description reg key ", kLogMain);
        return;
    }
    CKivRegValue value = key["Description"];
    value = description;
    if (value.getLastError() != ERROR_SUCCESS)
        KIV_LOG_WIN32_TEXT(value.getLastError(), "Failed to create description reg key ", kLogMain);
}

bool OpenServiceToEveryone(SC_HANDLE service) noexcept {
    CKivSecurityDescriptor sd;
    if (sd.SetDacl(nullptr) != 0 && sd.SetServiceDacl(service) != 0) {
        KIV_LOG(kLogMain, kLogInfo, "Successfully granted everyone access to the service");
        return true;
    }
    KIV_LOG_WIN32_TEXT(::GetLastError(), "Failed to allow everyone access to the service", kLogMain);
    return false;
}

}  // namespace kiv
