// The frame of the installer service, tavkivis.exe: what the deployment (tavkivut/install_service.h) puts onto a
// workstation, starts and stops. It leans on tavkivlg.dll only, which is deployed with it.
//
//     /work:MILLISECONDS     how long the work in hand still takes when the service is told to stop (default 0,
//                            at most 60000)
//
// Options are start arguments: CKivInstallService::StartServiceA("/work:500"), kivctl deploy start --arguments. Started
// from a command line, the program says what it is and ends.

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tavkivlg/tavkivlg.h"

namespace {

char g_serviceName[] = "TAVInstallerSvc";
constexpr char kComponent[] = "TavKivIs";
constexpr char kWorkOption[] = "/work:";
constexpr DWORD kStep = 100;  // milliseconds of work between two signs of life
constexpr unsigned long kLongestWork = 60000;

struct Service {
    SERVICE_STATUS_HANDLE handle;
    HANDLE stop;  // signalled when the service is told to stop
    DWORD work;
};
Service g_service;

template <class... Arguments>
void Log(char kind, const char* format, Arguments... arguments) {
    KivWriteLogSetEnv(::GetCurrentThreadId(), kComponent, 1, kind);
    KivWriteLogEnv(format, arguments...);
}

// A pending state tells how far it is and when the next sign of life is due; other states take controls.
void Report(DWORD state, DWORD checkPoint = 0, DWORD waitHint = 0) {
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
    status.dwCheckPoint = checkPoint;
    status.dwWaitHint = waitHint;
    ::SetServiceStatus(g_service.handle, &status);
}

void WINAPI HandleControl(DWORD control) {
    if (control != SERVICE_CONTROL_STOP && control != SERVICE_CONTROL_SHUTDOWN)
        return;
    Log(' ', "Installer service : told to stop");
    Report(SERVICE_STOP_PENDING, 1, kStep);
    ::SetEvent(g_service.stop);
}

void ReadOptions(DWORD argc, char** argv) {
    for (DWORD i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], kWorkOption, sizeof kWorkOption - 1) == 0)
            g_service.work = std::min(std::strtoul(argv[i] + sizeof kWorkOption - 1, nullptr, 10), kLongestWork);
        else
            Log('W', "Installer service : unknown argument '%s'", argv[i]);
    }
}

// An installation is never left half done: it goes on to its end, with signs of life.
void FinishWork() {
    DWORD checkPoint = 1;
    for (DWORD done = 0; done < g_service.work; done += kStep) {
        Report(SERVICE_STOP_PENDING, ++checkPoint, 2 * kStep);
        ::Sleep(kStep);
    }
}

// The first argument is the name under which the service was installed.
void WINAPI RunService(DWORD argc, char** argv) {
    g_service.handle = ::RegisterServiceCtrlHandlerA(argc > 0 ? argv[0] : g_serviceName, HandleControl);
    if (g_service.handle == nullptr) {
        Log('E', "Installer service : no control handler (%lu)", ::GetLastError());
        return;
    }
    Report(SERVICE_START_PENDING, 1, 1000);
    ReadOptions(argc, argv);
    Log(' ', "Installer service : started, %lu argument(s)", argc > 0 ? argc - 1 : 0);
    Report(SERVICE_RUNNING);
    ::WaitForSingleObject(g_service.stop, INFINITE);
    FinishWork();
    Log(' ', "Installer service : stopped");
    Report(SERVICE_STOPPED);
}

}  // namespace

int main() {
    g_service.stop = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const SERVICE_TABLE_ENTRYA services[] = {{g_serviceName, RunService}, {nullptr, nullptr}};
    if (!::StartServiceCtrlDispatcherA(services)) {
        std::fprintf(stderr, "tavkivis: a service; the service manager starts it (kivctl deploy start)\n");
        return 1;
    }
    ::CloseHandle(g_service.stop);
    return 0;
}
