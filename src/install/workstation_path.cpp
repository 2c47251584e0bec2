#include <string>

#include "support/windows_api.h"

#include "install/server_paths.h"
#include "support/scoped_resource.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/registry.h"
#include "tavkivut/system.h"
#include "tavkivut/tools.h"

namespace {

constexpr const char* kMarkerFile = "__TAV.DIR";

// The registry's own path for the directory, "" when it has none. False when it has one that does not fit.
bool ReadConfiguredPath(CKivRegKey& key, std::string& path) {
    if (!key.open(kiv::kGeneralKeyPath, KEY_READ))
        return true;
    CKivRegValue value = key[kiv::kWorkstationPathName];
    const char* const text = value;
    if (text == nullptr)
        return true;
    char expanded[kKivServerPathSize];
    const DWORD length = ::ExpandEnvironmentStringsA(text, expanded, sizeof expanded);
    if (length == 0 || length > sizeof expanded)
        return false;
    path = kiv::WithoutTrailingBackslash(expanded);
    return true;
}

void Hide(const char* path) noexcept {
    const DWORD attributes = ::GetFileAttributesA(path);
    if (attributes != INVALID_FILE_ATTRIBUTES)
        ::SetFileAttributesA(path, attributes | FILE_ATTRIBUTE_HIDDEN);
}

// Marks the directory as the installer's own and remembers it. A marker that is there already stays as it is.
void Claim(const std::string& directory, CKivRegKey& key) {
    Hide(directory.c_str());
    const kiv::ScopedFile marker(::CreateFileA((directory + "\\" + kMarkerFile).c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                               nullptr, CREATE_NEW, FILE_ATTRIBUTE_HIDDEN, nullptr));
    if (key.create(kiv::kGeneralKeyPath, KEY_ALL_ACCESS, 0, nullptr))
        key[kiv::kWorkstationPathName] = directory.c_str();
}

std::string DefaultPath(const char* baseDir) {
    const char* const base = baseDir != nullptr ? baseDir : CKivSystem::GetWinDir();
    if (base == nullptr || base[0] == '\0')
        return {};
    return kiv::WithoutTrailingBackslash(base) + "\\" + kiv::kWorkstationDirectory;
}

std::string PrepareWorkstationPath(const char* machine, const char* baseDir) {
    CKivRegKey key(machine, nullptr, nullptr, KEY_READ);
    std::string path;
    if (!ReadConfiguredPath(key, path))
        return {};
    const bool isDefault = path.empty();
    if (isDefault)
        path = DefaultPath(baseDir);
    if (path.empty() || path.size() >= kKivServerPathSize)
        return {};
    const bool stands = CKivTools::CreateDirectoryRecursive(path.c_str()) != 0;
    if (isDefault && stands)
        Claim(path, key);
    return path;
}

}  // namespace

const char* KIV_CALL KivGetTavWkstaPath(const char* machine, const char* baseDir) noexcept {
    static char result[kKivServerPathSize];
    kiv::CopyServerPath(result, PrepareWorkstationPath(machine, baseDir));
    return result;
}
