#include "system/system_api.h"

namespace kiv {

void VersionApi::Load() noexcept {
    getVersionEx = ::GetVersionExA;
    getVersion = ::GetVersion;
}

void SuiteApi::Load() noexcept {
    FindFunction(LoadSystemModule("ntdll.dll"), "VerSetConditionMask", setConditionMask);
    FindFunction(LoadSystemModule("kernel32.dll"), "VerifyVersionInfoA", verifyVersionInfo);
}

void SessionApi::Load() noexcept {
    FindFunction(LoadSystemModule("kernel32.dll"), "ProcessIdToSessionId", processIdToSessionId);
}

void FolderApi::Load() noexcept {
    getSystemDirectory = ::GetSystemDirectoryA;
    getWindowsDirectory = ::GetWindowsDirectoryA;
    getDriveType = ::GetDriveTypeA;
}

// Loaded on first use: few processes ask, and the shell brings half of the system with it.
void ShellApi::Load() noexcept {
    const HMODULE shell = LoadSystemModule("shell32.dll");
    FindFunction(shell, "SHGetSpecialFolderLocation", getFolderLocation);
    FindFunction(shell, "SHGetPathFromIDListA", getPathFromIdList);
    FindFunction(shell, "SHGetMalloc", getMalloc);
    FindFunction(shell, "SHGetSpecialFolderPathA", getFolderPath);
}

void ProfileApi::Load() noexcept {
    FindFunction(LoadSystemModule("userenv.dll"), "GetUserProfileDirectoryA", getProfileDirectory);
}

void WorkstationApi::Load() noexcept {
    const HMODULE network = LoadSystemModule("netapi32.dll");
    FindFunction(network, "NetWkstaUserGetInfo", getUser);
    FindFunction(network, "NetApiBufferFree", freeBuffer);
}

}  // namespace kiv
