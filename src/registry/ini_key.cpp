#include <cstring>

#include "registry/ini_text.h"
#include "support/heap_text.h"
#include "support/windows_api.h"
#include "tavkivlg/tavkivlg.h"
#include "tavkivut/ini.h"

namespace {

// Given as the default of a read, it tells a missing entry from an empty one.
constexpr char kMissing[] = "{FC0095B9-AF80-4ffd-91CF-47209395C98F}";

}  // namespace

CIniKey::CIniKey(const char* iniFile, const char* section, const char* key) noexcept
    : m_iniFile(kiv::DuplicateText(iniFile)), m_section(kiv::DuplicateText(section)), m_key(kiv::DuplicateText(key)) {}

CIniKey::CIniKey(const CIniKey& other) noexcept : CIniKey(other.m_iniFile, other.m_section, other.m_key) {}

CIniKey& CIniKey::operator=(const CIniKey& other) noexcept {
    if (this == &other)
        return *this;
    kiv::ReplaceText(m_iniFile, other.m_iniFile);
    kiv::ReplaceText(m_section, other.m_section);
    kiv::ReplaceText(m_key, other.m_key);
    return *this;
}

CIniKey::~CIniKey() {
    kiv::FreeText(m_iniFile);
    kiv::FreeText(m_section);
    kiv::FreeText(m_key);
}

void CIniKey::SetIniFile(const char* iniFile) noexcept {
    kiv::ReplaceText(m_iniFile, iniFile);
}

void CIniKey::SetSectionName(const char* section) noexcept {
    kiv::ReplaceText(m_section, section);
}

void CIniKey::SetKeyName(const char* key) noexcept {
    kiv::ReplaceText(m_key, key);
}

const char* CIniKey::GetIniFile() const noexcept {
    return m_iniFile;
}

const char* CIniKey::GetSectionName() const noexcept {
    return m_section;
}

const char* CIniKey::GetKeyName() const noexcept {
    return m_key;
}

int CIniKey::Exist() const noexcept {
    if (m_iniFile == nullptr || m_section == nullptr || m_key == nullptr)
        return 0;
    char value[256];
    KivGetPrivateProfileStringA(m_section, m_key, kMissing, value, sizeof value, m_iniFile);
    return std::strcmp(value, kMissing) != 0 ? 1 : 0;
}

int CIniKey::GetValue(char* buffer, unsigned int size) const noexcept {
    if (m_iniFile == nullptr || m_section == nullptr || m_key == nullptr)
        return 0;
    if (size == 0)
        return 1;
    if (buffer == nullptr)
        return 0;
    return KivGetPrivateProfileStringA(m_section, m_key, "", buffer, size, m_iniFile) != size - 1 ? 1 : 0;
}

// The one place that writes an entry; null deletes it.
int CIniKey::Write(const char* value) noexcept {
    if (m_iniFile == nullptr || m_section == nullptr || m_key == nullptr)
        return 0;
    if (kiv::HasLineBreak(m_section) || kiv::HasLineBreak(m_key) || (value != nullptr && kiv::HasLineBreak(value))) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    return ::WritePrivateProfileStringA(m_section, m_key, value, m_iniFile) ? 1 : 0;
}

int CIniKey::SetValue(const char* value) noexcept {
    return Write(value);
}

int CIniKey::Remove() noexcept {
    if (Write(nullptr) == 0)
        return 0;
    char rest[256];
    if (::GetPrivateProfileSectionA(m_section, rest, 255, m_iniFile) == 0)
        ::WritePrivateProfileStringA(m_section, nullptr, nullptr, m_iniFile);
    return 1;
}
