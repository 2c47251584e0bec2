#include "support/dynamic_function.h"

#include <cstring>

namespace kiv {

HMODULE LoadSystemModule(const char* fileName) noexcept {
    char path[MAX_PATH];
    const UINT folder = ::GetSystemDirectoryA(path, sizeof path);
    if (folder == 0 || folder + 1 + std::strlen(fileName) >= sizeof path)
        return nullptr;
    path[folder] = '\\';
    std::strcpy(path + folder + 1, fileName);
    return ::LoadLibraryA(path);
}

}  // namespace kiv
