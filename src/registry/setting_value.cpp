#include "registry/setting_value.h"

#include <cstring>

#include "registry/number_rule.h"

namespace kiv {

LONG WriteSettingValue(HKEY key, const char* name, const char* text) noexcept {
    const std::size_t length = std::strlen(text);
    const DWORD number = NumberOfSetting({text, length});
    if (number != kNotANumber)
        return ::RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
    return ::RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), static_cast<DWORD>(length) + 1);
}

}  // namespace kiv
