// A service that does not do what it should. Its first start argument says how:
//
//     stops      stops when it is told to; this is also what it does without an argument
//     hangs      stays about to stop; the second argument is its wait hint, in milliseconds
//     refuses    takes no stop
//     dies       ends its process while it is about to stop

#include "support/windows_api.h"

#include <winsvc.h>

#include <cstdlib>
#include <string>

namespace {

struct Behaviour {
    std::string name = "stops";
    DWORD waitHint = 0;
};

Behaviour g_behaviour;
SERVICE_STATUS_HANDLE g_handle = nullptr;
SERVICE_STATUS g_status{SERVICE_WIN32_OWN_PROCESS, SERVICE_RUNNING, 0, NO_ERROR, 0, 0, 0};

void Report(DWORD state) {
    g_status.dwCurrentState = state;
    g_status.dwWaitHint = state == SERVICE_STOP_PENDING ? g_behaviour.waitHint : 0;
    ::SetServiceStatus(g_handle, &g_status);
}

void Stop() {
    Report(SERVICE_STOP_PENDING);
    if (g_behaviour.name == "dies")
        ::TerminateProcess(::GetCurrentProcess(), 1);
    if (g_behaviour.name == "stops")
        Report(SERVICE_STOPPED);
}

void WINAPI Control(DWORD code) {
    if (code == SERVICE_CONTROL_STOP)
        Stop();
    else if (code == SERVICE_CONTROL_PAUSE)
        Report(SERVICE_PAUSED);
    else
        Report(SERVICE_RUNNING);
}

void WINAPI Main(DWORD argc, char** argv) {
    if (argc > 1)
        g_behaviour.name = argv[1];
    if (argc > 2)
        g_behaviour.waitHint = std::strtoul(argv[2], nullptr, 10);
    g_status.dwControlsAccepted = SERVICE_ACCEPT_PAUSE_CONTINUE | SERVICE_ACCEPT_SHUTDOWN;
    if (g_behaviour.name != "refuses")
        g_status.dwControlsAccepted |= SERVICE_ACCEPT_STOP;
    g_handle = ::RegisterServiceCtrlHandlerA("", Control);
    Report(SERVICE_RUNNING);
}

}  // namespace

int main() {
    char name[] = "";
    const SERVICE_TABLE_ENTRYA table[] = {{name, Main}, {nullptr, nullptr}};
    return ::StartServiceCtrlDispatcherA(table) ? 0 : 1;
}
