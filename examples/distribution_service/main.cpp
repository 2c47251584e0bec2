// The other end of the distribution client's pipe: a service that takes job descriptors, one at a time, and plays
// their jobs. docs/distribution.md tells the protocol.
//
//     distribution_service /console    runs until Ctrl+C is pressed, or a line is typed
//     distribution_service             is what the service manager starts
//
// As a service it is made with any name:
//
//     sc create Distribution binPath= "C:\TAV\distribution_service.exe"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "job_queue.h"
#include "pipe_server.h"
#include "report.h"
#include "tavkivlg/tavkivlg.h"

namespace {

constexpr DWORD kStopHint = 5000;

char g_name[] = "Distribution";  // a service that has its process to itself may be called by any
HANDLE g_stop;
bool g_onConsole;
SERVICE_STATUS_HANDLE g_service;
SERVICE_STATUS g_status;

void TellState(DWORD state, DWORD exitCode = NO_ERROR) {
    g_status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    g_status.dwCurrentState = state;
    g_status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
    g_status.dwWin32ExitCode = exitCode;
    g_status.dwWaitHint = state == SERVICE_STOP_PENDING ? kStopHint : 0;
    if (g_service != nullptr)
        ::SetServiceStatus(g_service, &g_status);
}

// Serves clients until it is to stop. The Win32 error of what failed.
DWORD Run() {
    PipeServer server(g_stop);
    if (!server.Open()) {
        const DWORD error = ::GetLastError();
        Report("the pipe cannot be made: error %lu", error);
        return error;
    }
    JobQueue queue;
    TellState(SERVICE_RUNNING);
    Report("the distribution service is ready");
    const DWORD error = server.Serve(queue) ? NO_ERROR : ::GetLastError();
    TellState(SERVICE_STOP_PENDING);
    Report("the distribution service ends");
    return error;
}

void WINAPI Control(DWORD code) {
    if (code == SERVICE_CONTROL_STOP || code == SERVICE_CONTROL_SHUTDOWN) {
        TellState(SERVICE_STOP_PENDING);
        ::SetEvent(g_stop);
    } else {
        TellState(g_status.dwCurrentState);
    }
}

void WINAPI ServiceMain(DWORD, char**) {
    g_service = ::RegisterServiceCtrlHandlerA(g_name, &Control);
    if (g_service == nullptr)
        return;
    TellState(SERVICE_START_PENDING);
    TellState(SERVICE_STOPPED, Run());
}

BOOL WINAPI StopOnConsole(DWORD) {
    ::SetEvent(g_stop);
    return TRUE;
}

DWORD WINAPI StopOnInput(void*) {
    std::getchar();
    ::SetEvent(g_stop);
    return 0;
}

int RunOnConsole() {
    g_onConsole = true;
    ::SetConsoleCtrlHandler(&StopOnConsole, TRUE);
    ::CloseHandle(::CreateThread(nullptr, 0, &StopOnInput, nullptr, 0, nullptr));
    return Run() == NO_ERROR ? 0 : 1;
}

}  // namespace

void Report(const char* format, ...) {
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    KivWriteLogSetEnv(::GetCurrentThreadId(), "TavKivDs", 1, ' ');
    KivWriteLogEnv("%s", line);
    if (g_onConsole) {
        std::printf("%s\n", line);
        std::fflush(stdout);
    }
}

int main(int argc, char** argv) {
    g_stop = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (argc > 1 && std::strcmp(argv[1], "/console") == 0)
        return RunOnConsole();
    const SERVICE_TABLE_ENTRYA services[] = {{g_name, &ServiceMain}, {nullptr, nullptr}};
    if (::StartServiceCtrlDispatcherA(services))
        return 0;
    std::fprintf(stderr, "distribution_service: start it with /console, or as a service (error %lu)\n",
                 ::GetLastError());
    return 2;
}
