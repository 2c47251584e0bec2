#include "install/service_api.h"

#include "support/log.h"

namespace kiv {
namespace {

// The library imports other functions of it, so it is in every process.
HMODULE Advapi() noexcept {
    return ::GetModuleHandleA("ADVAPI32.DLL");
}

}  // namespace

void ServiceApi::Load() noexcept {
    const HMODULE advapi = Advapi();
    FindFunction(advapi, "OpenSCManagerA", openManager);
    FindFunction(advapi, "CloseServiceHandle", closeHandle);
    FindFunction(advapi, "LockServiceDatabase", lockDatabase);
    FindFunction(advapi, "UnlockServiceDatabase", unlockDatabase);
    FindFunction(advapi, "QueryServiceLockStatusA", queryLockStatus);
    FindFunction(advapi, "EnumServicesStatusA", enumServices);
    FindFunction(advapi, "OpenServiceA", openService);
    FindFunction(advapi, "CreateServiceA", createService);
    FindFunction(advapi, "DeleteService", deleteService);
    FindFunction(advapi, "StartServiceA", startService);
    FindFunction(advapi, "ControlService", controlService);
    FindFunction(advapi, "QueryServiceStatus", queryStatus);
    FindFunction(advapi, "QueryServiceConfigA", queryConfig);
    FindFunction(advapi, "ChangeServiceConfigA", changeConfig);
    FindFunction(advapi, "QueryServiceObjectSecurity", queryObjectSecurity);
    FindFunction(advapi, "SetServiceObjectSecurity", setObjectSecurity);
    FindFunction(advapi, "EnumDependentServicesA", enumDependents);
}

void AdvancedServiceApi::Load() noexcept {
    LoadFrom(Advapi());
}

void AdvancedServiceApi::LoadFrom(HMODULE advapi) noexcept {
    if (advapi == nullptr)
        KIV_LOG(kLogMain, kLogError, "_NTSERV_DATA const: advanced api dll could not be loaded");
    FindFunction(advapi, "QueryServiceConfig2A", queryConfig2);
    FindFunction(advapi, "ChangeServiceConfig2A", changeConfig2);
    FindFunction(advapi, "RegisterServiceCtrlHandlerExA", registerHandlerEx);
    FindFunction(advapi, "EnumServicesStatusExA", enumServicesEx);
    FindFunction(advapi, "QueryServiceStatusEx", queryStatusEx);
}

}  // namespace kiv
