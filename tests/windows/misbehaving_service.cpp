// A service that takes pause and continue and stops when it is told to. With a start argument it hangs instead: it
// stays about to stop, with a wait hint of an hour, until it ends by itself after some seconds.

#include "support/windows_api.h"

#include <winsvc.h>

namespace {

constexpr DWORD kLifeTime = 5000;  // milliseconds
constexpr DWORD kHour = 3600000;   // milliseconds
// The work of a stop, in milliseconds. Wine ends the program of a service that says at once that it has stopped, before
// it has answered the one who told it so.
constexpr DWORD kStopWork = 100;

bool g_hangs = false;
HANDLE g_stop = nullptr;
SERVICE_STATUS_HANDLE g_handle = nullptr;

void Report(DWORD state) {
    constexpr DWORD kAccepted = SERVICE_ACCEPT_PAUSE_CONTINUE | SERVICE_ACCEPT_STOP;
    SERVICE_STATUS status{SERVICE_WIN32_OWN_PROCESS, state, kAccepted, 0, 0, 0, g_hangs ? kHour : 0};
    ::SetServiceStatus(g_handle, &status);
}

void WINAPI Control(DWORD code) {
    if (code == SERVICE_CONTROL_STOP) {
        Report(SERVICE_STOP_PENDING);
        ::SetEvent(g_stop);
    } else {
        Report(code == SERVICE_CONTROL_PAUSE ? SERVICE_PAUSED : SERVICE_RUNNING);
    }
}

void WINAPI Main(DWORD argc, char**) {
    g_hangs = argc > 1;
    g_handle = ::RegisterServiceCtrlHandlerA("", Control);
    Report(SERVICE_RUNNING);
    if (!g_hangs)
        ::WaitForSingleObject(g_stop, INFINITE);
    ::Sleep(g_hangs ? kLifeTime : kStopWork);
    Report(SERVICE_STOPPED);
}

}  // namespace

int main() {
    g_stop = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    char name[] = "";
    const SERVICE_TABLE_ENTRYA table[] = {{name, Main}, {nullptr, nullptr}};
    return ::StartServiceCtrlDispatcherA(table) ? 0 : 1;
}
