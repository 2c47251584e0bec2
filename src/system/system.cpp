#include "tavkivut/system.h"

#include "support/windows_api.h"

#include "support/hresult.h"
#include "system/system_caches.h"

using kiv::Caches;
using kiv::OsFamily;

long CKivSystem::IsNT() noexcept {
    OsFamily family = Caches().family.load(std::memory_order_relaxed);
    if (family == OsFamily::kNotAsked) {
        OSVERSIONINFOA version{};
        version.dwOSVersionInfoSize = sizeof version;
        if (!::GetVersionExA(&version))
            return kiv::kStatusFalse;
        family = version.dwPlatformId == VER_PLATFORM_WIN32_NT ? OsFamily::kNt : OsFamily::k9x;
        Caches().family.store(family, std::memory_order_relaxed);
    }
    return family == OsFamily::kNt ? kiv::kStatusOk : kiv::kStatusFalse;
}

const char* CKivSystem::GetComputerNameA() noexcept {
    if (const char* known = Caches().computerName.Find())
        return known;
    char name[MAX_COMPUTERNAME_LENGTH + 2];
    DWORD size = sizeof name;
    return ::GetComputerNameA(name, &size) ? Caches().computerName.Keep(name) : "";
}
