#include "registry/value_data.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace kiv {
namespace {

constexpr DWORD kUsualSize = 512;  // most values fit, so one call reads them
constexpr DWORD kTerminators = 2;
constexpr int kAttempts = 16;  // each with at least twice the room of the one before

}  // namespace

ValueData::~ValueData() {
    std::free(m_bytes);
}

LONG ValueData::Read(HKEY key, const char* name, decltype(&::RegQueryValueExA) query) noexcept {
    char usual[kUsualSize];
    DWORD size = sizeof usual;
    LONG status = query(key, name, nullptr, &m_type, reinterpret_cast<BYTE*>(usual), &size);
    if (status == ERROR_SUCCESS)
        return Keep(usual, size);
    DWORD room = kUsualSize;
    for (int attempt = 0; status == ERROR_MORE_DATA && attempt < kAttempts; ++attempt) {
        room = std::max(room * 2, size);
        if (room > std::numeric_limits<DWORD>::max() - kTerminators)
            return ERROR_NOT_ENOUGH_MEMORY;
        std::free(m_bytes);
        m_bytes = static_cast<char*>(std::malloc(room + kTerminators));
        if (m_bytes == nullptr)
            return ERROR_NOT_ENOUGH_MEMORY;
        size = room;
        status = query(key, name, nullptr, &m_type, reinterpret_cast<BYTE*>(m_bytes), &size);
    }
    if (status != ERROR_SUCCESS)
        return status;
    m_size = size;
    std::memset(m_bytes + size, 0, kTerminators);
    return ERROR_SUCCESS;
}

LONG ValueData::Keep(const char* bytes, DWORD size) noexcept {
    m_bytes = static_cast<char*>(std::malloc(size + kTerminators));
    if (m_bytes == nullptr)
        return ERROR_NOT_ENOUGH_MEMORY;
    std::memcpy(m_bytes, bytes, size);
    std::memset(m_bytes + size, 0, kTerminators);
    m_size = size;
    return ERROR_SUCCESS;
}

char* ValueData::Release() noexcept {
    char* const block = m_bytes;
    m_bytes = nullptr;
    m_size = 0;
    return block;
}

}  // namespace kiv
