// A service that does not do what it should. Its start argument says how:
//
//     stops      stops when it is told to; this is also what it does without an argument
//     hangs      stays about to stop, with a wait hint of an hour
//     refuses    takes no stop
//     dies       ends its process while it is about to stop
//
// It takes pause and continue. Unless it stops, it ends by itself after some seconds, so that nothing is left of it.

#include "support/windows_api.h"

#include <winsvc.h>

#include <string>

namespace {

constexpr DWORD kLifeTime = 5000;  // milliseconds
constexpr DWORD kHour = 3600000;   // milliseconds

std::string g_behaviour = "stops";
SERVICE_STATUS_HANDLE g_handle = nullptr;

void Report(DWORD state) {
    const DWORD stop = g_behaviour != "refuses" ? SERVICE_ACCEPT_STOP : 0;
    SERVICE_STATUS status{SERVICE_WIN32_OWN_PROCESS, state, SERVICE_ACCEPT_PAUSE_CONTINUE | stop, 0, 0, 0, 0};
    if (state == SERVICE_STOP_PENDING)
        status.dwWaitHint = kHour;
    ::SetServiceStatus(g_handle, &status);
}

void WINAPI Control(DWORD code) {
    if (code == SERVICE_CONTROL_STOP) {
        Report(g_behaviour == "stops" ? SERVICE_STOPPED : SERVICE_STOP_PENDING);
        if (g_behaviour == "dies")
            ::TerminateProcess(::GetCurrentProcess(), 1);
    } else {
        Report(code == SERVICE_CONTROL_PAUSE ? SERVICE_PAUSED : SERVICE_RUNNING);
    }
}

void WINAPI Main(DWORD argc, char** argv) {
    if (argc > 1)
        g_behaviour = argv[1];
    g_handle = ::RegisterServiceCtrlHandlerA("", Control);
    Report(SERVICE_RUNNING);
    if (g_behaviour != "stops") {
        ::Sleep(kLifeTime);
        Report(SERVICE_STOPPED);
    }
}

}  // namespace

int main() {
    char name[] = "";
    const SERVICE_TABLE_ENTRYA table[] = {{name, Main}, {nullptr, nullptr}};
    return ::StartServiceCtrlDispatcherA(table) ? 0 : 1;
}
