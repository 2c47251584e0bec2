#include "network/workstation_base.h"

#include <string_view>

#include "files/path_text.h"
#include "install/server_paths.h"
#include "support/ascii.h"
#include "support/code_page.h"
#include "support/win32_error.h"
#include "tavkivut/registry.h"
#include "tavkivut/system.h"

namespace kiv {
namespace {

// Where the two families tell their Windows directory; another computer may be of either.
constexpr const char* kSystemKeys[] = {"HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion",
                                       "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion"};

// What names a computer's own Windows directory in a path of its registry.
constexpr std::string_view kWindowsVariables[] = {"%SystemRoot%", "%windir%"};

// Reads a text of another computer's registry, "" when there is none. Gives the status of a registry that cannot be
// reached.
DWORD ReadText(const char* computer, const char* path, const char* name, std::string& text) {
    CKivRegKey key(computer, path, nullptr, KEY_READ);
    const DWORD status = key.getLastError();
    if (IsNotFound(status))
        return NO_ERROR;
    if (status != NO_ERROR)
        return status;
    CKivRegValue value = key[name];
    const char* const found = value;
    text = found != nullptr ? found : "";
    return NO_ERROR;
}

DWORD WindowsDirectory(const char* computer, std::string& directory) {
    if (computer == nullptr) {
        const char* const own = CKivSystem::GetWinDir();
        directory = own != nullptr ? own : "";
        return NO_ERROR;
    }
    for (const char* const key : kSystemKeys) {
        if (const DWORD status = ReadText(computer, key, "SystemRoot", directory))
            return status;
        if (!directory.empty())
            break;
    }
    return NO_ERROR;
}

// This computer's own path with its variables' values; one that would be too long stays as it is.
std::string ExpandHere(const std::string& path) {
    char expanded[MAX_PATH];
    const DWORD length = ::ExpandEnvironmentStringsA(path.c_str(), expanded, sizeof expanded);
    return length != 0 && length <= sizeof expanded ? expanded : path;
}

// A path with the other computer's own Windows directory in place of its variable.
std::string ExpandThere(const std::string& path, const std::string& windows) {
    for (const std::string_view variable : kWindowsVariables) {
        if (StartsWithIgnoreCase(path, variable))
            return windows + path.substr(variable.size());
    }
    return path;
}

}  // namespace

DWORD FindWorkstationBase(const char* computer, std::string& directory) {
    const char* const machine = computer[0] != '\0' ? computer : nullptr;
    std::string windows;
    std::string configured;
    DWORD status = WindowsDirectory(machine, windows);
    if (status == NO_ERROR)
        status = ReadText(machine, kGeneralKeyPath, kWorkstationPathName, configured);
    if (status != NO_ERROR)
        return status;
    const std::string path = machine == nullptr ? ExpandHere(configured) : ExpandThere(configured, windows);
    directory = WithoutTrailingBackslash(path.empty() ? windows : std::string(ParentPath(path, IsAnsiLeadByte)));
    return IsDrivePath(directory) ? NO_ERROR : ERROR_BAD_PATHNAME;
}

}  // namespace kiv
