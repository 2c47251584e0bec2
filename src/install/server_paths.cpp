#include "install/server_paths.h"

#include <cstring>

#include "files/path_text.h"
#include "support/code_page.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/path.h"
#include "tavkivut/process.h"
#include "tavkivut/system.h"
#include "tavkivut/tools.h"

namespace kiv {

bool CopyServerPath(char* out, std::string_view path) noexcept {
    const bool fits = path.size() < kKivServerPathSize;
    const std::size_t length = fits ? path.size() : 0;
    std::memcpy(out, path.data(), length);
    out[length] = '\0';
    return fits;
}

std::string WithoutTrailingBackslash(std::string_view path) {
    return std::string(WithoutTrailingBackslash(path, IsAnsiLeadByte));
}

std::string UniversalPath(const std::string& path) {
    char universal[kKivServerPathSize];
    if (IsUncPath(path) || CKivPath::NetGetUniversalName(path.c_str(), universal, sizeof universal) == 0)
        return path;
    return universal;
}

std::string HostOfPath(const std::string& path) {
    const std::string universal = UniversalPath(path);
    if (!IsUncPath(universal))
        return CKivSystem::GetComputerNameA();
    return std::string(HostOfUncPath(universal, IsAnsiLeadByte));
}

std::string FallbackServerPath() {
    const char* const directory = CKivThisProcess::GetExeDir();
    char parent[kKivServerPathSize];
    return CKivTools::GetParentDirectory(directory, parent, sizeof parent) != 0 ? parent : directory;
}

}  // namespace kiv
