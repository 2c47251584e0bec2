#include "files/cab_file.h"

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
    const bool isLoaded = offset >= m_loadedAt && offset + size <= m_loadedAt + m_loaded;
    if (!isLoaded && (size > sizeof m_bytes || !Load(offset) || size > m_loaded))
        return false;
    std::memcpy(buffer, m_bytes + (offset - m_loadedAt), size);
    return true;
}

bool CabinetFile::Load(std::uint64_t offset) noexcept {
    LONG high = static_cast<LONG>(offset >> 32);
    m_loadedAt = offset;
    m_loaded = 0;
    if (::SetFilePointer(m_file, static_cast<LONG>(offset), &high, FILE_BEGIN) == INVALID_SET_FILE_POINTER &&
        ::GetLastError() != NO_ERROR)
        return false;
    return ::ReadFile(m_file, m_bytes, sizeof m_bytes, &m_loaded, nullptr) != FALSE;
}

}  // namespace kiv
