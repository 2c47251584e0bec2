// A service that takes pause and continue and stops when it is told to. With a start argument it hangs instead: it
// stays about to stop, with a wait hint of an hour, until it ends by itself after some seconds.

#include "support/windows_api.h"

#include <winsvc.h>

namespace {

constexpr DWORD kLifeTime = 5000;  // milliseconds
constexpr DWORD kHour = 3600000;   // milliseconds

bool g_hangs = false;
SERVICE_STATUS_HANDLE g_handle = nullptr;

void Report(DWORD state) {
    constexpr DWORD kAccepted = SERVICE_ACCEPT_PAUSE_CONTINUE | SERVICE_ACCEPT_STOP;
    SERVICE_STATUS status{SERVICE_WIN32_OWN_PROCESS, state, kAccepted, 0, 0, 0, kHour};
    ::SetServiceStatus(g_handle, &status);
}

void WINAPI Control(DWORD code) {
    if (code == SERVICE_CONTROL_STOP)
        Report(g_hangs ? SERVICE_STOP_PENDING : SERVICE_STOPPED);
    else
        Report(code == SERVICE_CONTROL_PAUSE ? SERVICE_PAUSED : SERVICE_RUNNING);
}

void WINAPI Main(DWORD argc, char**) {
    g_hangs = argc > 1;
    g_handle = ::RegisterServiceCtrlHandlerA("", Control);
    Report(SERVICE_RUNNING);
    if (g_hangs) {
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
