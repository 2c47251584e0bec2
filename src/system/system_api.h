#ifndef KIV_SYSTEM_SYSTEM_API_H
#define KIV_SYSTEM_SYSTEM_API_H

#include "support/dynamic_function.h"
#include "support/windows_api.h"

#include <lmcons.h>  // before the others of its family

#include <lmapibuf.h>
#include <lmwksta.h>
#include <shlobj.h>
#include <userenv.h>

// The system's functions that tell facts about it. A null member is one that the running system lacks; those that
// every system has stand here so that a test can answer in their place.

namespace kiv {

struct VersionApi {
    decltype(&::GetVersionExA) getVersionEx;
    decltype(&::GetVersion) getVersion;

    void Load() noexcept;
};

struct SuiteApi {
    decltype(&::VerSetConditionMask) setConditionMask;
    decltype(&::VerifyVersionInfoA) verifyVersionInfo;

    void Load() noexcept;
};

struct SessionApi {
    decltype(&::ProcessIdToSessionId) processIdToSessionId;

    void Load() noexcept;
};

struct FolderApi {
    decltype(&::GetSystemDirectoryA) getSystemDirectory;
    decltype(&::GetWindowsDirectoryA) getWindowsDirectory;
    decltype(&::GetDriveTypeA) getDriveType;

    void Load() noexcept;
};

struct ShellApi {
    decltype(&::SHGetSpecialFolderLocation) getFolderLocation;
    decltype(&::SHGetPathFromIDListA) getPathFromIdList;
    decltype(&::SHGetMalloc) getMalloc;
    decltype(&::SHGetSpecialFolderPathA) getFolderPath;

    void Load() noexcept;
};

struct ProfileApi {
    decltype(&::GetUserProfileDirectoryA) getProfileDirectory;

    void Load() noexcept;
};

struct WorkstationApi {
    decltype(&::NetWkstaUserGetInfo) getUser;
    decltype(&::NetApiBufferFree) freeBuffer;

    void Load() noexcept;
};

}  // namespace kiv

#endif
