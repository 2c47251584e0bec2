#include "tavkivut/tools.h"

#include <cstring>
#include <string_view>

#include "files/path_text.h"
#include "support/code_page.h"
#include "support/scoped_resource.h"

using kiv::IsAnsiLeadByte;

namespace {

int Fail(DWORD error) noexcept {
    ::SetLastError(error);
    return 0;
}

bool IsFolder(const char* path) noexcept {
    const DWORD attributes = ::GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Makes every folder of an absolute path from the root downwards. One that is there already, or that another
// process makes meanwhile, counts as made; one that cannot even be looked at may still hold the next. Returns
// the error of the first that could not be made, unless the whole path exists at the end.
DWORD MakeFolders(char* path, std::size_t length) noexcept {
    const std::string_view whole(path, length);
    DWORD firstError = NO_ERROR;
    bool stands = false;
    for (std::size_t end = kiv::RootLength(whole, IsAnsiLeadByte); end < length; ++end) {
        end = kiv::NextSeparator(whole, end, IsAnsiLeadByte);
        const char separator = path[end];
        path[end] = '\0';
        const DWORD error = ::CreateDirectoryA(path, nullptr) ? NO_ERROR : ::GetLastError();
        stands = error == NO_ERROR || IsFolder(path);
        path[end] = separator;
        if (!stands && firstError == NO_ERROR)
            firstError = error;
    }
    return stands ? NO_ERROR : firstError;
}

}  // namespace

int CKivTools::GetParentDirectory(const char* path, char* out, unsigned long outSize) noexcept {
    if (path == nullptr || path[0] == '\0' || out == nullptr)
        return Fail(ERROR_INVALID_PARAMETER);
    const std::string_view parent = kiv::ParentPath(path, IsAnsiLeadByte);
    if (parent.empty())
        return Fail(ERROR_BAD_PATHNAME);
    if (parent.size() >= outSize)
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    std::memmove(out, parent.data(), parent.size());
    out[parent.size()] = '\0';
    return 1;
}

int CKivTools::CreateDirectoryRecursive(const char* path) noexcept {
    if (path == nullptr || path[0] == '\0')
        return Fail(ERROR_INVALID_PARAMETER);
    char full[MAX_PATH];
    const DWORD length = ::GetFullPathNameA(path, sizeof full, full, nullptr);
    if (length == 0)
        return 0;
    if (length >= sizeof full)
        return Fail(ERROR_FILENAME_EXCED_RANGE);
    const std::size_t kept = kiv::WithoutTrailingSeparators({full, length}, IsAnsiLeadByte).size();
    full[kept] = '\0';
    if (IsFolder(full))
        return 1;
    if (kept <= kiv::RootLength({full, kept}, IsAnsiLeadByte))
        return Fail(ERROR_PATH_NOT_FOUND);  // a drive or share that is not there
    const DWORD error = MakeFolders(full, kept);
    return error == NO_ERROR ? 1 : Fail(error);
}
