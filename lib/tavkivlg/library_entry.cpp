#include "support/windows_api.h"
#include "tavkivlg/log_sink.h"

// Runs under the loader lock and loads nothing. What the library holds is released by its static objects when it is
// unloaded; they leave it able to take lines, since other modules may write on their way out.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        // Fails for a module with a TLS directory, which this toolchain always makes; the thread notifications that
        // then still arrive are ignored.
        ::DisableThreadLibraryCalls(instance);
        kivlg::StartSink();
    }
    return TRUE;
}
