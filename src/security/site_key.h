#ifndef KIV_SECURITY_SITE_KEY_H
#define KIV_SECURITY_SITE_KEY_H

#include <cstddef>
#include <string_view>

#include "security/setting_cipher.h"
#include "support/windows_api.h"

namespace kiv {

// The key that encrypts settings, read for one operation and wiped after it: the value "SiteKey" of
// HKLM\Software\TAV\TAVSetup, REG_BINARY or REG_SZ (its characters without the terminator), 16 to 1024 bytes; on 64-bit
// systems that of the other view of the registry when the process's own has none. Without such a value it is a key
// built into the library, which keeps a setting from being read at a glance and no more.
class SiteKey {
public:
    SiteKey() noexcept = default;
    ~SiteKey();
    SiteKey(const SiteKey&) = delete;
    SiteKey& operator=(const SiteKey&) = delete;

    // Gives the Win32 status. A value that is there but cannot be used is a failure, logged: an administrator who set a
    // key must not get the built-in one instead.
    DWORD Read() noexcept;

    std::string_view View() const noexcept { return {m_bytes, m_size}; }

private:
    DWORD ReadValue(REGSAM view) noexcept;

    char m_bytes[kSettingKeyLimit + 1] = {};  // a text of the full length and its terminator
    std::size_t m_size = 0;
};

}  // namespace kiv

#endif
