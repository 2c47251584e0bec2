#include "support/windows_api.h"

#include <cstring>
#include <optional>

#include "support/hresult.h"
#include "support/nt_family.h"
#include "system/os_release.h"
#include "system/system_api.h"
#include "system/system_caches.h"
#include "tavkivut/file.h"
#include "tavkivut/system.h"

namespace {

using kiv::Caches;
using kiv::DriveKind;
using kiv::OsFamily;
using kiv::OsVersion;

// The plain record: the extended one is refused by Windows 95, 98 and early NT 4.
std::optional<OsVersion> AskOsVersion() noexcept {
    OSVERSIONINFOA record{};
    record.dwOSVersionInfoSize = sizeof record;
    if (!kiv::DynamicApi<kiv::VersionApi>::Get().getVersionEx(&record))
        return std::nullopt;
    return OsVersion{record.dwPlatformId, record.dwMajorVersion, record.dwMinorVersion, record.dwBuildNumber};
}

// The version of the module that tells the browser's release.
long ReadBrowserVersion(CKivFileVersion& version) noexcept {
    constexpr char kModule[] = "\\Shdocvw.dll";
    const char* folder = CKivSystem::GetSysDir();
    if (folder == nullptr)
        return kiv::kStatusFail;
    char path[MAX_PATH + sizeof kModule];
    std::strcpy(path, folder);
    std::strcat(path, kModule);
    return CKivFile::GetVersion(path, version);
}

// What the system says about a drive; nothing is kept for one that does not exist.
long AskDrive(const char* path) noexcept {
    char root[4] = {};
    std::strncpy(root, path, 3);
    switch (kiv::DynamicApi<kiv::FolderApi>::Get().getDriveType(root)) {
    case DRIVE_REMOVABLE:
    case DRIVE_FIXED:
    case DRIVE_CDROM:
    case DRIVE_RAMDISK:
        Caches().driveLetters.Keep(*path, DriveKind::kLocal);
        return kiv::kStatusFalse;
    case DRIVE_REMOTE:
        Caches().driveLetters.Keep(*path, DriveKind::kNetwork);
        return kiv::kStatusOk;
    case DRIVE_UNKNOWN:
        // A failure this time, a network drive from the next: callers rely on the second answer.
        Caches().driveLetters.Keep(*path, DriveKind::kNetwork);
        return kiv::kStatusFail;
    default:
        return kiv::kStatusFail;
    }
}

}  // namespace

CKivSystem& CKivSystem::operator=(const CKivSystem&) noexcept {
    return *this;
}

long CKivSystem::IsNT() noexcept {
    OsFamily family = Caches().family.load(std::memory_order_relaxed);
    if (family == OsFamily::kNotAsked) {
        const std::optional<OsVersion> version = AskOsVersion();
        if (!version)
            return kiv::kStatusFalse;
        family = version->platform == OsVersion::kPlatformNt ? OsFamily::kNt : OsFamily::k9x;
        Caches().family.store(family, std::memory_order_relaxed);
    }
    return family == OsFamily::kNt ? kiv::kStatusOk : kiv::kStatusFalse;
}

long CKivSystem::CheckOS(enumCheckOS which) noexcept {
    const bool nt = kiv::IsNtFamily();
    const long byFamily = kiv::CheckOsRelease(nt, which, nullptr);
    if (!kiv::Failed(byFamily))
        return byFamily;
    const std::optional<OsVersion> version = AskOsVersion();
    return kiv::CheckOsRelease(nt, which, version ? &*version : nullptr);
}

const char* CKivSystem::GetOsVersionString() noexcept {
    if (const char* known = Caches().osVersion.Find())
        return known;
    const bool nt = kiv::IsNtFamily();
    const std::optional<OsVersion> version = AskOsVersion();
    char text[100];
    kiv::FormatOsVersion(text, sizeof text, nt, version ? &*version : nullptr);
    return Caches().osVersion.Keep(text);
}

long CKivSystem::CheckIE(enumCheckIE which) noexcept {
    CKivFileVersion version;
    const long status = ReadBrowserVersion(version);
    return kiv::Failed(status) ? status : kiv::CheckIeRelease(which, version);
}

const char* CKivSystem::GetIeVersionString() noexcept {
    if (const char* known = Caches().ieVersion.Find())
        return known;
    CKivFileVersion version;
    if (kiv::Failed(ReadBrowserVersion(version)))
        return "";
    char text[100];
    kiv::FormatIeVersion(text, sizeof text, version);
    return Caches().ieVersion.Keep(text);
}

long CKivSystem::IsNetworkDrive(const char* path) noexcept {
    if (path == nullptr || *path == '\0')
        return kiv::kStatusFail;
    if (path[0] == '\\' && path[1] == '\\')
        return kiv::kStatusOk;
    switch (Caches().driveLetters.Find(*path)) {
    case DriveKind::kLocal:
        return kiv::kStatusFalse;
    case DriveKind::kNetwork:
        return kiv::kStatusOk;
    default:
        return AskDrive(path);
    }
}

const char* CKivSystem::GetComputerNameA() noexcept {
    if (const char* known = Caches().computerName.Find())
        return known;
    char name[MAX_COMPUTERNAME_LENGTH + 2];
    DWORD size = sizeof name;
    return ::GetComputerNameA(name, &size) ? Caches().computerName.Keep(name) : "";
}

bool KIV_CALL GetGeneralSystemInfo(GENERAL_SYSTEM_INFO* info) noexcept {
    if (info == nullptr || info->cbSize < sizeof *info)
        return false;
    info->pszOsVersion = CKivSystem::GetOsVersionString();
    info->pszIeVersion = CKivSystem::GetIeVersionString();
    info->bIsLocalAdmin = CKivSystem::IsCurrentUserLocalAdmin() == kiv::kStatusOk;
    CKivFileVersion version;
    if (kiv::Failed(ReadBrowserVersion(version)))
        info->bIe401OrLater = false;
    else if (version.Major > 4 || (version.Major == 4 && version.Minor >= 72))
        info->bIe401OrLater = true;
    return true;
}
