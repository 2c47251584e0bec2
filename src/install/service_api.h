#ifndef KIV_INSTALL_SERVICE_API_H
#define KIV_INSTALL_SERVICE_API_H

#include "support/dynamic_function.h"

#include <winsvc.h>

namespace kiv {

// The service control manager's functions, which the whole NT family has and the Windows 95 family cannot do.
struct ServiceApi {
    decltype(&::OpenSCManagerA) openManager;
    decltype(&::CloseServiceHandle) closeHandle;
    decltype(&::LockServiceDatabase) lockDatabase;
    decltype(&::UnlockServiceDatabase) unlockDatabase;
    decltype(&::QueryServiceLockStatusA) queryLockStatus;
    decltype(&::EnumServicesStatusA) enumServices;
    decltype(&::OpenServiceA) openService;
    decltype(&::CreateServiceA) createService;
    decltype(&::DeleteService) deleteService;
    decltype(&::StartServiceA) startService;
    decltype(&::ControlService) controlService;
    decltype(&::QueryServiceStatus) queryStatus;
    decltype(&::QueryServiceConfigA) queryConfig;
    decltype(&::ChangeServiceConfigA) changeConfig;
    decltype(&::QueryServiceObjectSecurity) queryObjectSecurity;
    decltype(&::SetServiceObjectSecurity) setObjectSecurity;
    decltype(&::EnumDependentServicesA) enumDependents;

    void Load() noexcept;
};

// What came with Windows 2000.
struct AdvancedServiceApi {
    decltype(&::QueryServiceConfig2A) queryConfig2;
    decltype(&::ChangeServiceConfig2A) changeConfig2;
    decltype(&::RegisterServiceCtrlHandlerExA) registerHandlerEx;
    decltype(&::EnumServicesStatusExA) enumServicesEx;
    decltype(&::QueryServiceStatusEx) queryStatusEx;

    void Load() noexcept;
    void LoadFrom(HMODULE advapi) noexcept;  // null is said in the log
};

inline const ServiceApi& Services() noexcept {
    return DynamicApi<ServiceApi>::Get();
}

inline const AdvancedServiceApi& AdvancedServices() noexcept {
    return DynamicApi<AdvancedServiceApi>::Get();
}

}  // namespace kiv

#endif
