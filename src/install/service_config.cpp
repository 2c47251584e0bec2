// One service: its making and removal, configuration, security and dependents.

#include <algorithm>

#include "install/service_call.h"
#include "tavkivut/service_control.h"

namespace {

using kiv::FinishServiceCall;
using kiv::ServiceError;
using kiv::Services;

}  // namespace

bool CNTScmService::ChangeConfig(unsigned long type, unsigned long startType, unsigned long errorControl,
                                 const char* binaryPath, const char* loadOrderGroup, unsigned long* tagId,
                                 const char* dependencies, const char* startName, const char* password,
                                 const char* displayName) noexcept {
    const DWORD error = ServiceError(Services().changeConfig, m_service, type, startType, errorControl, binaryPath,
                                     loadOrderGroup, tagId, dependencies, startName, password, displayName);
    return FinishServiceCall(error, "Failed in call to ChangeServiceConfig in ChangeConfig");
}

bool CNTScmService::QueryConfig(QUERY_SERVICE_CONFIGA*& config) const noexcept {
    const DWORD error = kiv::QueryRecord(config, [this](void* data, DWORD size, DWORD& needed) {
        return ServiceError(Services().queryConfig, m_service, static_cast<QUERY_SERVICE_CONFIGA*>(data), size,
                            &needed);
    });
    return FinishServiceCall(error, "Failed in call to QueryServiceConfig in QueryConfig");
}

bool CNTScmService::Create(CNTServiceControlManager& manager, const char* name, const char* displayName,
                           unsigned long access, unsigned long type, unsigned long startType,
                           unsigned long errorControl, const char* binaryPath, const char* loadOrderGroup,
                           unsigned long* tagId, const char* dependencies, const char* startName,
                           const char* password) noexcept {
    SC_HANDLE service = nullptr;
    DWORD error = ERROR_INVALID_PARAMETER;
    if (name != nullptr && binaryPath != nullptr)
        error = kiv::CallService(service, Services().createService, manager, name, displayName, access, type, startType,
                                 errorControl, binaryPath, loadOrderGroup, tagId, dependencies, startName, password);
    if (error == ERROR_SUCCESS)
        Attach(service);
    return FinishServiceCall(error, "Failed in call to CreateService in Create");
}

bool CNTScmService::Delete() const noexcept {
    return FinishServiceCall(ServiceError(Services().deleteService, m_service),
                             "Failed in call to DeleteService in Delete");
}

bool CNTScmService::SetObjectSecurity(unsigned long info, void* descriptor) const noexcept {
    DWORD error = ERROR_INVALID_PARAMETER;
    if (descriptor != nullptr)
        error = ServiceError(Services().setObjectSecurity, m_service, info, descriptor);
    return FinishServiceCall(error, "Failed in call to SetServiceObjectSecurity in SetObjectSecurity");
}

bool CNTScmService::QueryObjectSecurity(unsigned long info, void*& descriptor) const noexcept {
    const DWORD error = kiv::QueryRecord(descriptor, [this, info](void* data, DWORD size, DWORD& needed) {
        SECURITY_DESCRIPTOR none;  // some systems refuse a null pointer even for a size of 0
        return ServiceError(Services().queryObjectSecurity, m_service, info, data != nullptr ? data : &none, size,
                            &needed);
    });
    return FinishServiceCall(error, "Failed in call to QueryServiceObjectSecurity in QueryObjectSecurity");
}

bool CNTScmService::EnumDependents(unsigned long state, unsigned long data,
                                   bool (*callback)(unsigned long data, ENUM_SERVICE_STATUSA& service)) const noexcept {
    constexpr const char* kFailure = "Failed in call to EnumDependentServices in EnumDependents";
    if (callback == nullptr)
        return FinishServiceCall(ERROR_INVALID_PARAMETER, kFailure);
    kiv::AnswerBuffer buffer;
    DWORD count = 0;
    const DWORD error = kiv::QueryWhole(buffer, [&](void* block, DWORD size, DWORD& needed) {
        return ServiceError(Services().enumDependents, m_service, state, static_cast<ENUM_SERVICE_STATUSA*>(block),
                            size, &needed, &count);
    });
    if (error != ERROR_SUCCESS)
        return FinishServiceCall(error, kFailure);
    auto* const services = static_cast<ENUM_SERVICE_STATUSA*>(buffer.Data());
    count = std::min<DWORD>(count, buffer.Size() / sizeof *services);
    for (DWORD i = 0; i < count && callback(data, services[i]); ++i) {
    }
    return true;
}
