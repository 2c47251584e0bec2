#include "support/windows_api.h"

#include <string>

#include "install/service_call.h"
#include "install/service_setup.h"
#include "support/log.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/install_service.h"
#include "tavkivut/process.h"
#include "tavkivut/tools.h"

namespace {

bool OpenManager(CNTServiceControlManager& manager) noexcept {
    SC_HANDLE handle = nullptr;
    const DWORD error =
        kiv::CallManager(handle, kiv::Services().openManager, nullptr, SERVICES_ACTIVE_DATABASEA, kiv::kManagerAccess);
    if (error == ERROR_SUCCESS)
        manager.Attach(handle);
    return kiv::FinishServiceCall(error, "Cannot open SCM");
}

// So that the files are free. Whether it runs at all, and when it will have stopped, does not matter here.
void StopInstalled(const CNTServiceControlManager& manager) noexcept {
    CNTScmService service;
    SERVICE_STATUS status;
    if (kiv::OpenInstalledService(manager, kKivInstallServiceName, service) == ERROR_SUCCESS)
        kiv::ServiceError(kiv::Services().controlService, service, static_cast<DWORD>(SERVICE_CONTROL_STOP), &status);
}

void CopyBinary(const std::string& sourceDirectory, const std::string& targetDirectory, const char* name) {
    const std::string source = sourceDirectory + "\\" + name;
    const std::string target = targetDirectory + "\\" + name;
    if (const DWORD error = kiv::CopyOver(source.c_str(), target.c_str()))
        KIV_LOG_WIN32(error, kiv::kLogError, "Failed to copy service binary '%s' to '%s'", source.c_str(),
                      target.c_str());
}

DWORD CreateNew(const CNTServiceControlManager& manager, const char* binaryPath, const char* account,
                const char* password, CNTScmService& service) noexcept {
    SC_HANDLE handle = nullptr;
    const DWORD error = kiv::CallService(handle, kiv::Services().createService, SC_HANDLE(manager),
                                         kKivInstallServiceName, kKivInstallServiceDisplay, kiv::kServiceAccess,
                                         kiv::kServiceType, DWORD{SERVICE_DEMAND_START}, kiv::kServiceErrorControl,
                                         binaryPath, nullptr, nullptr, kiv::kServiceDependencies, account, password);
    if (error == ERROR_SUCCESS)
        service.Attach(handle);
    return error;
}

// False when there is no service afterwards. One that cannot be configured stays as it is.
bool CreateOrConfigure(const CNTServiceControlManager& manager, const char* binaryPath, const char* account,
                       const char* password, CNTScmService& service) noexcept {
    const DWORD notCreated = CreateNew(manager, binaryPath, account, password, service);
    if (notCreated == ERROR_SUCCESS)
        return true;
    KIV_LOG_WIN32_TEXT(notCreated, "Cannot create service", kiv::kLogMain);
    if (kiv::OpenInstalledService(manager, kKivInstallServiceName, service) != ERROR_SUCCESS)
        return false;
    const DWORD notConfigured =
        kiv::ConfigureService(service, SERVICE_DEMAND_START, binaryPath, account, password, kKivInstallServiceDisplay);
    if (notConfigured != ERROR_SUCCESS)
        KIV_LOG_WIN32_TEXT(notConfigured, "Cannot configure service", kiv::kLogMain);
    return true;
}

}  // namespace

int KIV_CALL CreateInstallationService(const char* account, const char* password) noexcept {
    CNTServiceControlManager manager;
    if (!OpenManager(manager))
        return 0;
    StopInstalled(manager);

    const std::string source = CKivThisProcess::GetExeDir();
    const std::string target = KivGetTavWkstaPath(nullptr, nullptr);
    if (target.empty()) {
        KIV_LOG_WIN32_TEXT(ERROR_FILENAME_EXCED_RANGE, "Installation service : no workstation directory",
                           kiv::kLogMain);
        return 0;
    }
    CKivTools::CreateDirectoryRecursive(target.c_str());
    CopyBinary(source, target, kKivInstallServiceLog);
    CopyBinary(source, target, kKivInstallServiceExe);
    kiv::GrantServiceRights(nullptr, account);

    CNTScmService service;
    const std::string binaryPath = kiv::ServiceBinaryPath(target + "\\" + kKivInstallServiceExe);
    if (!CreateOrConfigure(manager, binaryPath.c_str(), kiv::TextOrNull(account), password, service))
        return 0;
    kiv::WriteServiceDescription(nullptr, kKivInstallServiceName, kKivInstallServiceDesc);
    return kiv::OpenServiceToEveryone(service) ? 1 : 0;
}
