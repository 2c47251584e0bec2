#include "files/cab_file.h"

#include <algorithm>
#include <cstring>

namespace kiv {

unsigned ReadCabFile(HANDLE file, void* buffer, unsigned size) noexcept {
    DWORD read = 0;
    return ::ReadFile(file, buffer, size, &read, nullptr) ? read : kCabIoFailed;
}

unsigned WriteCabFile(HANDLE file, const void* bytes, unsigned size) noexcept {
    DWORD written = 0;
    return ::WriteFile(file, bytes, size, &written, nullptr) ? written : kCabIoFailed;
}

long SeekCabFile(HANDLE file, long distance, int origin) noexcept {
    return static_cast<long>(::SetFilePointer(file, distance, nullptr, static_cast<DWORD>(origin)));
}

ScopedFile OpenToRead(const char* path) noexcept {
    return ScopedFile(
        ::CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

CabinetFile::CabinetFile(HANDLE file) noexcept : m_file(file), m_size(0) {
    DWORD high = 0;
    const DWORD low = ::GetFileSize(file, &high);
    if (low != INVALID_FILE_SIZE || ::GetLastError() == NO_ERROR)
        m_size = static_cast<std::uint64_t>(high) << 32 | low;
}

bool CabinetFile::Read(std::uint64_t offset, void* buffer, std::size_t size) noexcept {
    return ReadSome(offset, buffer, static_cast<unsigned>(size)) == size;
}

unsigned CabinetFile::ReadSome(std::uint64_t offset, void* buffer, unsigned size) noexcept {
    unsigned done = 0;
    while (done < size) {
        const std::uint64_t at = offset + done;
        const bool isLoaded = at >= m_loadedAt && at < m_loadedAt + m_loaded;
        if (!isLoaded && !Load(at))
            return kCabIoFailed;
        if (m_loaded == 0)
            break;
        const auto skipped = static_cast<unsigned>(at - m_loadedAt);
        const unsigned part = std::min<unsigned>(size - done, m_loaded - skipped);
        std::memcpy(static_cast<char*>(buffer) + done, m_bytes + skipped, part);
        done += part;
    }
    return done;
}

bool CabinetFile::Load(std::uint64_t offset) noexcept {
    LONG high = static_cast<LONG>(offset >> 32);
    if (offset != m_loadedAt + m_loaded &&
        ::SetFilePointer(m_file, static_cast<LONG>(offset), &high, FILE_BEGIN) == INVALID_SET_FILE_POINTER &&
        ::GetLastError() != NO_ERROR)
        return false;
    m_loadedAt = offset;
    m_loaded = 0;
    return ::ReadFile(m_file, m_bytes, sizeof m_bytes, &m_loaded, nullptr) != FALSE;
}

}  // namespace kiv
