#ifndef KIV_REGISTRY_SETTING_VALUE_H
#define KIV_REGISTRY_SETTING_VALUE_H

#include "support/windows_api.h"

namespace kiv {

// Writes a setting as the number rule tells: REG_DWORD, else REG_SZ. A null handle gives ERROR_INVALID_HANDLE.
LONG WriteSettingValue(HKEY key, const char* name, const char* text) noexcept;

}  // namespace kiv

#endif
