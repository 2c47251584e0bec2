#include "files/file_contents.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "files/kept_attributes.h"
#include "support/scoped_resource.h"
#include "support/win32_error.h"

namespace kiv {
namespace {

// Old systems refuse calls of about 64 MB and more on network drives.
constexpr DWORD kMostPerCall = 16 * 1024 * 1024;

constexpr DWORD kZerosBehind = 64;

// Gives the system's error. A file that is not there has no contents.
DWORD ReadOldContents(const char* path, HeapBuffer<char>& contents) noexcept {
    const ScopedFile file(::CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!file) {
        const DWORD error = ::GetLastError();
        return IsNotFound(error) ? NO_ERROR : error;
    }
    switch (ReadContents(file.Get(), contents)) {
    case Reading::kDone:
        return NO_ERROR;
    case Reading::kNoRoom:
        return ERROR_NOT_ENOUGH_MEMORY;
    default:
        return ::GetLastError();
    }
}

DWORD WriteAndFlush(HANDLE file, std::string_view contents) noexcept {
    if (const DWORD error = WriteContents(file, contents))
        return error;
    return ::FlushFileBuffers(file) ? NO_ERROR : ::GetLastError();
}

void PutBack(HANDLE file, std::string_view contents) noexcept {
    if (::SetFilePointer(file, 0, nullptr, FILE_BEGIN) == 0 && ::SetEndOfFile(file))
        WriteAndFlush(file, contents);
}

}  // namespace

void ContentsApi::Load() noexcept {
    read = ::ReadFile;
    write = ::WriteFile;
}

Reading ReadContents(HANDLE file, HeapBuffer<char>& contents) noexcept {
    DWORD high = 0;
    const DWORD size = ::GetFileSize(file, &high);
    if (high != 0 || size > std::numeric_limits<DWORD>::max() - kZerosBehind || !contents.Reserve(size + kZerosBehind))
        return Reading::kNoRoom;
    std::size_t total = 0;
    for (DWORD read = 1; read != 0 && total < size; total += read) {
        const DWORD wanted = std::min(size - static_cast<DWORD>(total), kMostPerCall);
        if (!DynamicApi<ContentsApi>::Get().read(file, contents.Data() + total, wanted, &read, nullptr))
            return Reading::kFailed;
    }
    std::memset(contents.Data() + total, 0, kZerosBehind);
    contents.SetSize(total);
    return Reading::kDone;
}

DWORD WriteContents(HANDLE file, std::string_view contents) noexcept {
    while (!contents.empty()) {
        const DWORD wanted = static_cast<DWORD>(std::min<std::size_t>(contents.size(), kMostPerCall));
        DWORD written = 0;
        if (!DynamicApi<ContentsApi>::Get().write(file, contents.data(), wanted, &written, nullptr))
            return ::GetLastError();
        if (written != wanted)
            return ERROR_DISK_FULL;
        contents.remove_prefix(written);
    }
    return NO_ERROR;
}

DWORD ReplaceContents(const char* path, std::string_view contents) noexcept {
    HeapBuffer<char> old;
    if (const DWORD unread = ReadOldContents(path, old))
        return unread;  // nothing could be put back
    ScopedFile file(
        ::CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, KeptAttributes(path), nullptr));
    const DWORD created = ::GetLastError();
    if (!file)
        return created;
    const DWORD error = WriteAndFlush(file.Get(), contents);
    if (error == NO_ERROR)
        return NO_ERROR;
    PutBack(file.Get(), old.Text());
    file.Reset();
    if (created != ERROR_ALREADY_EXISTS)
        ::DeleteFileA(path);
    return error;
}

}  // namespace kiv
