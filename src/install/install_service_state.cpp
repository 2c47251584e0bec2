#include "install/service_call.h"
#include "install/service_setup.h"
#include "support/clock.h"
#include "support/hresult.h"
#include "support/log.h"
#include "tavkivut/frame.h"
#include "tavkivut/install_service.h"

namespace {

constexpr int kStopPolls = 25;
constexpr DWORD kStopPollInterval = 300;  // milliseconds
constexpr int kStartRetries = 10;
constexpr DWORD kStartRetryInterval = 1000;  // milliseconds

// Sends stop and asks until the service has stopped or was asked often enough. False when it cannot be asked. What
// becomes of the stop itself shows in the state: a service can have stopped by itself. One that is only about to run
// takes no control; it gets its stop once it runs.
bool StopAndPoll(const CNTScmService& service, SERVICE_STATUS& status) noexcept {
    bool isTooEarly = !service.Stop() && ::GetLastError() == ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
    for (int poll = 0; poll < kStopPolls; ++poll) {
        kiv::Clock().sleep(kStopPollInterval);
        if (!service.QueryStatus(status))
            return false;
        if (status.dwCurrentState == SERVICE_STOPPED)
            break;
        if (isTooEarly && status.dwCurrentState == SERVICE_RUNNING) {
            isTooEarly = false;
            service.Stop();
        }
    }
    return true;
}

// A command line in its arguments, for as long as this lives.
class Arguments {
public:
    explicit Arguments(const char* commandLine) noexcept : m_arguments(::CommandLineToArgv(commandLine, &m_count)) {}
    ~Arguments() { ::ReleaseArgs(m_arguments); }
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    DWORD Start(SC_HANDLE service) noexcept {
        return kiv::ServiceError(kiv::Services().startService, service, static_cast<DWORD>(m_count),
                                 const_cast<const char**>(m_arguments));
    }

private:
    int m_count = 0;  // stays so without a command line
    char** m_arguments;
};

}  // namespace

long CKivInstallService::IsInstalled() noexcept {
    CNTScmService service;
    return kiv::StatusFromWin32(OpenTarget(service));
}

long CKivInstallService::IsStopped() noexcept {
    CNTScmService service;
    if (OpenTarget(service) != ERROR_SUCCESS)
        return kiv::kStatusFail;
    SERVICE_STATUS status;
    if (!service.QueryStatus(status))
        return kiv::StatusFromWin32(::GetLastError());
    if (status.dwCurrentState != SERVICE_STOPPED && !StopAndPoll(service, status))
        return kiv::StatusFromWin32(::GetLastError());
    if (status.dwCurrentState != SERVICE_STOPPED) {
        KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Serivce status is ! NOT ! STOPPED");
        return kiv::kStatusFalse;
    }
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Serivce status is STOPPED");
    return kiv::kStatusOk;
}

long CKivInstallService::AllowEveryoneToStartService() noexcept {
    CNTScmService service;
    if (const DWORD error = OpenTarget(service)) {
        KIV_LOG_WIN32_TEXT(error, "Failed to allow everyone access to the service", kiv::kLogMain);
        return kiv::StatusFromWin32(error);
    }
    return kiv::OpenServiceToEveryone(service) ? kiv::kStatusOk : kiv::StatusFromWin32(::GetLastError());
}

long CKivInstallService::StartServiceA(const char* arguments) noexcept {
    CNTScmService service;
    if (OpenTarget(service) != ERROR_SUCCESS) {
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Could not start service, when it is not installed");
        return kiv::kStatusFail;
    }
    Arguments split(arguments);
    DWORD error = split.Start(service);
    if (error != ERROR_SUCCESS)
        KIV_LOG_WIN32_TEXT(error, "Installation service : failed to start service", kiv::kLogMain);
    for (int retry = 0; retry < kStartRetries && error == ERROR_SERVICE_DATABASE_LOCKED; ++retry) {
        kiv::Clock().sleep(kStartRetryInterval);
        error = split.Start(service);
    }
    if (error == ERROR_SUCCESS) {
        KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Successfully started service using \"%s\"",
                arguments != nullptr ? arguments : "");
        return kiv::kStatusOk;
    }
    if (error == ERROR_SERVICE_DATABASE_LOCKED)
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Installation service : service database locked, 10000ms timeout");
    return kiv::kStatusFail;
}
