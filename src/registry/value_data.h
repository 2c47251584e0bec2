#ifndef KIV_REGISTRY_VALUE_DATA_H
#define KIV_REGISTRY_VALUE_DATA_H

#include <string_view>

#include "support/windows_api.h"

namespace kiv {

// The data of a registry value, in a block of its own with two terminators behind it.
class ValueData {
public:
    ValueData() noexcept = default;
    ~ValueData();
    ValueData(const ValueData&) = delete;
    ValueData& operator=(const ValueData&) = delete;

    // Type, size and data belong together: a value that grows while it is read is read again, and one that never
    // holds still ends with ERROR_MORE_DATA. Returns the Win32 status. `query` stands for the system's call in tests.
    LONG Read(HKEY key, const char* name, decltype(&::RegQueryValueExA) query = &::RegQueryValueExA) noexcept;

    DWORD Type() const noexcept { return m_type; }
    std::string_view Bytes() const noexcept { return {m_bytes, m_size}; }

    // The block, which the caller frees from now on.
    char* Release() noexcept;

private:
    LONG Keep(const char* bytes, DWORD size) noexcept;

    char* m_bytes = nullptr;
    DWORD m_size = 0;
    DWORD m_type = REG_NONE;
};

}  // namespace kiv

#endif
