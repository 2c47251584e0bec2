#include "support/windows_api.h"

#include "files/file_type.h"
#include "support/hresult.h"
#include "support/scoped_resource.h"
#include "tavkivut/file.h"

namespace {

constexpr unsigned long kCreationTime = 0;
constexpr unsigned long kAccessTime = 1;
constexpr unsigned long kWriteTime = 2;

long LastStatus() {
    return kiv::StatusFromWin32(::GetLastError());
}

kiv::ScopedFile OpenForReading(const char* path) {
    if (path == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return kiv::ScopedFile();
    }
    return kiv::ScopedFile(
        ::CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

BOOL ReadTime(HANDLE file, unsigned long which, FILETIME& time) {
    return ::GetFileTime(file, which == kCreationTime ? &time : nullptr, which == kAccessTime ? &time : nullptr,
                         which == kWriteTime ? &time : nullptr);
}

}  // namespace

int CKivFile::DoesExist(const char* path) noexcept {
    if (path == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    WIN32_FIND_DATAA found;
    const kiv::ScopedFileSearch search(::FindFirstFileA(path, &found));
    return search ? 1 : 0;
}

unsigned long CKivFile::GetType(const char* path) noexcept {
    return kiv::FileTypeOf(path == nullptr ? "" : path);
}

long CKivFile::GetSize(const char* path, unsigned long& size) noexcept {
    size = INVALID_FILE_SIZE;
    const kiv::ScopedFile file = OpenForReading(path);
    if (!file)
        return LastStatus();
    size = ::GetFileSize(file.Get(), nullptr);
    return size != INVALID_FILE_SIZE ? kiv::kStatusOk : LastStatus();
}

long CKivFile::GetTimeStamp(const char* path, FILETIME& time, unsigned long which) noexcept {
    time = FILETIME{};
    const kiv::ScopedFile file = OpenForReading(path);
    // Opening leaves 0 as last error, so a `which` out of range succeeds with a zero time.
    if (!file || which > kWriteTime)
        return LastStatus();
    FILETIME utc{};
    FILETIME local{};
    if (!ReadTime(file.Get(), which, utc) || !::FileTimeToLocalFileTime(&utc, &local))
        return LastStatus();
    time = local;
    return kiv::kStatusOk;
}

long CKivFile::GetTimeStamp(const char* path, SYSTEMTIME& time, unsigned long which) noexcept {
    time = SYSTEMTIME{};
    FILETIME local;
    const long status = GetTimeStamp(path, local, which);
    if (!kiv::Failed(status))
        ::FileTimeToSystemTime(&local, &time);
    return status;
}
