#include "support/windows_api.h"

#include "system/system_caches.h"
#include "tavkivut/system.h"

using kiv::Caches;

const char* CKivSystem::GetSysDir() noexcept {
    if (const char* known = Caches().systemFolder.Find())
        return known;
    char folder[MAX_PATH];
    const UINT length = ::GetSystemDirectoryA(folder, sizeof folder);
    return length == 0 || length >= sizeof folder ? nullptr : Caches().systemFolder.Keep(folder);
}

const char* CKivSystem::GetWinDir() noexcept {
    if (const char* known = Caches().windowsFolder.Find())
        return known;
    char folder[MAX_PATH];
    const UINT length = ::GetWindowsDirectoryA(folder, sizeof folder);
    return length == 0 || length >= sizeof folder ? nullptr : Caches().windowsFolder.Keep(folder);
}
