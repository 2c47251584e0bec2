#include "security/site_key.h"

#include <cstring>

#include "support/dynamic_function.h"
#include "support/log.h"
#include "support/scoped_resource.h"
#include "support/win32_error.h"

namespace kiv {
namespace {

constexpr char kKeyPath[] = "Software\\TAV\\TAVSetup";
constexpr char kValueName[] = "SiteKey";
constexpr std::size_t kShortestKey = 16;

// Everyone who has the library has this key.
constexpr char kBuiltInKey[] = "tavkivut built-in settings key: obfuscation only";

struct Wow64Api {
    decltype(&::IsWow64Process) isWow64Process;  // every 64-bit system has it

    void Load() noexcept { FindFunction(LoadSystemModule("kernel32.dll"), "IsWow64Process", isWow64Process); }
};

// What asks for the view of the registry that is not this process's own; 0 where the system has only one, and may not
// know the bits.
REGSAM OtherView() noexcept {
    if (sizeof(void*) == 8)
        return KEY_WOW64_32KEY;
    const auto isWow64Process = DynamicApi<Wow64Api>::Get().isWow64Process;
    BOOL isWow64 = FALSE;
    const bool known = isWow64Process != nullptr && isWow64Process(::GetCurrentProcess(), &isWow64);
    return known && isWow64 ? KEY_WOW64_64KEY : 0;
}

}  // namespace

SiteKey::~SiteKey() {
    WipeMemory(m_bytes, sizeof m_bytes);
}

DWORD SiteKey::Read() noexcept {
    DWORD status = ReadValue(0);
    const REGSAM otherView = IsNotFound(status) ? OtherView() : 0;
    if (otherView != 0)
        status = ReadValue(otherView);
    if (IsNotFound(status)) {
        m_size = sizeof kBuiltInKey - 1;
        std::memcpy(m_bytes, kBuiltInKey, m_size);
        return ERROR_SUCCESS;
    }
    if (status != ERROR_SUCCESS)
        KIV_LOG_WIN32(status, kLogError, "Encryption : cannot use the value '%s' of 'HKLM\\%s'", kValueName, kKeyPath);
    return status;
}

DWORD SiteKey::ReadValue(REGSAM view) noexcept {
    ScopedRegistryKey key;
    LONG status = ::RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKeyPath, 0, KEY_QUERY_VALUE | view, key.Receive());
    if (status != ERROR_SUCCESS)
        return static_cast<DWORD>(status);
    DWORD type = 0;
    DWORD size = sizeof m_bytes;
    status = ::RegQueryValueExA(key.Get(), kValueName, nullptr, &type, reinterpret_cast<BYTE*>(m_bytes), &size);
    if (status == ERROR_MORE_DATA)
        return ERROR_INVALID_DATA;
    if (status != ERROR_SUCCESS)
        return static_cast<DWORD>(status);
    m_size = size;
    if (type == REG_SZ)
        m_size = View().substr(0, View().find('\0')).size();
    const bool usable = (type == REG_SZ || type == REG_BINARY) && m_size >= kShortestKey && m_size <= kSettingKeyLimit;
    return usable ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

}  // namespace kiv
