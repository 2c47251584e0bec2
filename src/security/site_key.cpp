#include "security/site_key.h"

#include <cstring>

#include "support/log.h"
#include "support/scoped_resource.h"

namespace kiv {
namespace {

constexpr char kKeyPath[] = "Software\\TAV\\TAVSetup";
constexpr char kValueName[] = "SiteKey";
constexpr std::size_t kShortestKey = 16;

// Everyone who has the library has this key.
constexpr char kBuiltInKey[] = "tavkivut built-in settings key: obfuscation only";

}  // namespace

SiteKey::~SiteKey() {
    WipeMemory(m_bytes, sizeof m_bytes);
}

DWORD SiteKey::Read() noexcept {
    const DWORD status = ReadValue();
    if (status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND) {
        m_size = sizeof kBuiltInKey - 1;
        std::memcpy(m_bytes, kBuiltInKey, m_size);
        return ERROR_SUCCESS;
    }
    if (status != ERROR_SUCCESS)
        KIV_LOG_WIN32(status, kLogError, "Encryption : cannot use the value '%s' of 'HKLM\\%s'", kValueName, kKeyPath);
    return status;
}

DWORD SiteKey::ReadValue() noexcept {
    ScopedRegistryKey key;
    LONG status = ::RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKeyPath, 0, KEY_QUERY_VALUE, key.Receive());
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
