#include "support/log.h"
#include "support/process_end.h"

// Runs under the loader lock: it writes its log lines, remembers the end of the process for the static objects that are
// destroyed behind it, and does nothing else. All other state is made on first use.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID processEnds) {
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        // Fails for a module with a TLS directory, which this toolchain always makes; the thread notifications that
        // then still arrive are ignored below.
        ::DisableThreadLibraryCalls(instance);
        KivStartLog(::GetCurrentThreadId(), nullptr, nullptr, 0);
        KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Utilities Library initialized (%s %s build)", "ANSI", "Release");
        break;
    case DLL_PROCESS_DETACH:
        if (processEnds != nullptr)
            kiv::NoteProcessEnd();
        KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Utilities Library shutdown");
        KivStopLog(::GetCurrentThreadId());
        break;
    default:
        break;
    }
    return TRUE;
}
