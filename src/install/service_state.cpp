// One service: its handle, controls and state.

#include <algorithm>

#include "install/service_call.h"
#include "support/clock.h"
#include "tavkivut/service_control.h"

namespace {

using kiv::AdvancedServices;
using kiv::FinishServiceCall;
using kiv::ServiceError;
using kiv::Services;

constexpr DWORD kShortestPoll = 10;  // milliseconds, where the service's wait hint is shorter

DWORD SendControl(SC_HANDLE service, DWORD code) noexcept {
    SERVICE_STATUS status;
    return ServiceError(Services().controlService, service, code, &status);
}

bool HasNullArgument(unsigned long argc, const char** argv) noexcept {
    return argc != 0 && (argv == nullptr || std::find(argv, argv + argc, nullptr) != argv + argc);
}

// How long to sleep before the service is asked again: its own hint, within what is left of the time.
DWORD NextPoll(DWORD waitHint, DWORD elapsed, DWORD timeout) noexcept {
    const DWORD poll = std::max(waitHint, kShortestPoll);
    if (timeout == INFINITE)
        return poll;
    return std::min(poll, timeout - std::min(elapsed, timeout));
}

bool FindControl(const CNTScmService& service, DWORD control, bool& accepts, const char* failure) noexcept {
    SERVICE_STATUS status;
    if (!service.QueryStatus(status))
        return FinishServiceCall(::GetLastError(), failure);
    accepts = (status.dwControlsAccepted & control) != 0;
    return true;
}

}  // namespace

CNTScmService::CNTScmService() noexcept : m_service(nullptr) {}

CNTScmService::CNTScmService(const CNTScmService& other) noexcept : m_service(other.m_service) {}

CNTScmService& CNTScmService::operator=(const CNTScmService& other) noexcept {
    Attach(other.m_service);
    return *this;
}

CNTScmService::~CNTScmService() {
    Close();
}

CNTScmService::operator SC_HANDLE() const noexcept {
    return m_service;
}

void CNTScmService::Attach(SC_HANDLE service) noexcept {
    if (service == m_service)
        return;
    Close();
    m_service = service;
}

SC_HANDLE CNTScmService::Detach() noexcept {
    const SC_HANDLE service = m_service;
    m_service = nullptr;
    return service;
}

void CNTScmService::Close() noexcept {
    ServiceError(Services().closeHandle, Detach());
}

bool CNTScmService::Control(unsigned long code) noexcept {
    return FinishServiceCall(SendControl(m_service, code), "Failed in call to ControlService in Control");
}

bool CNTScmService::Stop() const noexcept {
    return FinishServiceCall(SendControl(m_service, SERVICE_CONTROL_STOP), "Failed in call to ControlService in Stop");
}

bool CNTScmService::Pause() const noexcept {
    return FinishServiceCall(SendControl(m_service, SERVICE_CONTROL_PAUSE),
                             "Failed in call to ControlService in Pause");
}

bool CNTScmService::Continue() const noexcept {
    return FinishServiceCall(SendControl(m_service, SERVICE_CONTROL_CONTINUE),
                             "Failed in call to ControlService in Continue");
}

bool CNTScmService::Interrogate() const noexcept {
    return FinishServiceCall(SendControl(m_service, SERVICE_CONTROL_INTERROGATE),
                             "Failed in call to ControlService in Interrogate");
}

bool CNTScmService::WaitForStop(unsigned long timeoutMs) noexcept {
    const DWORD start = kiv::Clock().tickCount();
    SERVICE_STATUS status;
    if (!QueryStatus(status))
        return false;
    DWORD elapsed = 0;
    while (status.dwCurrentState == SERVICE_STOP_PENDING) {
        kiv::Clock().sleep(NextPoll(status.dwWaitHint, elapsed, timeoutMs));
        if (!QueryStatus(status))
            return false;
        elapsed = kiv::MillisecondsSince(start);
        // The end of the time counts also where the service went back to another state.
        if (status.dwCurrentState != SERVICE_STOPPED && timeoutMs != INFINITE && elapsed >= timeoutMs) {
            ::SetLastError(ERROR_TIMEOUT);
            return false;
        }
    }
    return true;
}

bool CNTScmService::Start(unsigned long argc, const char** argv) const noexcept {
    const DWORD error = HasNullArgument(argc, argv) ? DWORD{ERROR_INVALID_PARAMETER}
                                                    : ServiceError(Services().startService, m_service, argc, argv);
    return FinishServiceCall(error, "Failed in call to ControlService in Start");
}

bool CNTScmService::AcceptStop(bool& accepts) noexcept {
    return FindControl(*this, SERVICE_ACCEPT_STOP, accepts, "Failed in call to QueryStatus in AcceptStop");
}

bool CNTScmService::AcceptPauseContinue(bool& accepts) noexcept {
    return FindControl(*this, SERVICE_ACCEPT_PAUSE_CONTINUE, accepts,
                       "Failed in call to QueryStatus in AcceptPauseContinue");
}

bool CNTScmService::AcceptShutdown(bool& accepts) noexcept {
    return FindControl(*this, SERVICE_ACCEPT_SHUTDOWN, accepts, "Failed in call to QueryStatus in AcceptShutdown");
}

bool CNTScmService::QueryStatus(SERVICE_STATUS& status) const noexcept {
    SERVICE_STATUS answer;
    const DWORD error = ServiceError(Services().queryStatus, m_service, &answer);
    if (error == ERROR_SUCCESS)
        status = answer;
    return FinishServiceCall(error, "Failed in call to QueryServiceStatus in QueryStatus");
}

bool CNTScmService::QueryStatus(SERVICE_STATUS_PROCESS& status) const noexcept {
    const auto queryStatusEx = AdvancedServices().queryStatusEx;
    if (queryStatusEx == nullptr)
        return FinishServiceCall(ERROR_CALL_NOT_IMPLEMENTED,
                                 "QueryServiceStatusEx function is not supported on this OS. "
                                 "You need to be running at least Windows 2000 to use this function\n");
    SERVICE_STATUS_PROCESS answer;
    DWORD needed = 0;
    const DWORD error = ServiceError(queryStatusEx, m_service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&answer),
                                     DWORD{sizeof answer}, &needed);
    if (error == ERROR_SUCCESS)
        status = answer;
    return FinishServiceCall(error, "Failed in call to QueryServiceStatusEx");
}
