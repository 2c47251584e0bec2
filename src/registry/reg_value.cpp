#include <cstring>
#include <string>

#include "support/windows_api.h"

#include "registry/key_access.h"
#include "registry/key_elements.h"
#include "registry/value_data.h"
#include "registry/value_text.h"
#include "support/heap_text.h"
#include "tavkivut/registry.h"

using kiv::ElementKind;

namespace {

// The number that a value's data holds; more than four bytes of REG_DWORD are no number.
LONG NumberFromData(const kiv::ValueData& data, std::uint32_t& number) {
    if (data.Type() != REG_DWORD) {
        number = kiv::NumberFromText(data.Bytes());
        return ERROR_SUCCESS;
    }
    if (data.Bytes().size() > sizeof number)
        return ERROR_MORE_DATA;
    number = kiv::NumberFromBytes(data.Bytes());
    return ERROR_SUCCESS;
}

}  // namespace

CKivRegValue::CKivRegValue(const char* wksta, const char* key, const char* name, unsigned long permissions) noexcept
    : m_key(new CKivRegKey), m_name(nullptr), m_text(nullptr), m_lastError(ERROR_SUCCESS), m_permissions(permissions),
      m_position(kiv::kNoPosition) {
    open(wksta, key, name, permissions);
    m_lastError = ERROR_SUCCESS;
}

// A value on a walk.
CKivRegValue::CKivRegValue(KivSharedKey* walked, const CKivRegKey::iterator& position) noexcept
    : m_key(new CKivRegKey), m_name(kiv::DuplicateText(position.getName())), m_text(nullptr),
      m_lastError(ERROR_SUCCESS), m_permissions(position.getPermissions()), m_position(kiv::kNoPosition) {
    m_key->Share(walked, position);
}

CKivRegValue::CKivRegValue(const CKivRegValue& other) noexcept
    : CKivRegValue(other.m_key->getWksta(), other.m_key->getKey(), other.m_name, other.m_permissions) {}

// Assigned to itself the value is opened anew; open copies its arguments before it frees anything.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
CKivRegValue& CKivRegValue::operator=(const CKivRegValue& other) noexcept {
    open(other.m_key->getWksta(), other.m_key->getKey(), other.m_name, other.m_permissions);
    return *this;
}

CKivRegValue::~CKivRegValue() {
    close();
    kiv::FreeText(m_text);
    delete m_key;
}

bool CKivRegValue::open(const char* wksta, const char* key, const char* name, unsigned long permissions) noexcept {
    char* const newName = kiv::DuplicateText(name);
    char* newKey = kiv::DuplicateText(key);
    m_key->connectTo(wksta);
    if (newKey != nullptr)
        m_key->open(newKey, permissions);
    kiv::FreeText(newKey);
    kiv::FreeText(m_name);
    m_name = newName;
    m_permissions = permissions;
    m_position = kiv::kNoPosition;
    return true;
}

bool CKivRegValue::close() noexcept {
    m_key->close();
    kiv::FreeText(m_name);
    m_position = kiv::kNoPosition;
    return true;
}

bool CKivRegValue::Usable() const noexcept {
    return m_key->m_handle != nullptr && m_name != nullptr;
}

bool CKivRegValue::Keep(long status) noexcept {
    m_lastError = static_cast<unsigned long>(status);
    return status == ERROR_SUCCESS;
}

bool CKivRegValue::exist() noexcept {
    Keep(ERROR_SUCCESS);
    return Usable() && Keep(::RegQueryValueExA(m_key->m_handle, m_name, nullptr, nullptr, nullptr, nullptr));
}

unsigned long CKivRegValue::getType() const noexcept {
    DWORD type = 0;
    if (!Usable() || ::RegQueryValueExA(m_key->m_handle, m_name, nullptr, &type, nullptr, nullptr) != ERROR_SUCCESS)
        return 0;
    return type;
}

bool CKivRegValue::remove() noexcept {
    Keep(ERROR_SUCCESS);
    return Usable() && Keep(::RegDeleteValueA(m_key->m_handle, m_name)) && close();
}

void CKivRegValue::Write(unsigned long type, const void* data, size_t size) noexcept {
    Keep(::RegSetValueExA(m_key->m_handle, m_name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)));
}

CKivRegValue& CKivRegValue::operator=(const char* text) noexcept {
    Keep(ERROR_SUCCESS);
    if (Usable() && text != nullptr)
        Write(REG_SZ, text, std::strlen(text) + 1);
    return *this;
}

CKivRegValue& CKivRegValue::operator=(unsigned long number) noexcept {
    Keep(ERROR_SUCCESS);
    if (Usable())
        Write(REG_DWORD, &number, sizeof number);
    return *this;
}

// Whether what the last conversion gave may be the base of a new value: it was read, or the value does not exist yet.
bool CKivRegValue::Changeable() const noexcept {
    return Usable() && (m_lastError == ERROR_SUCCESS || m_lastError == ERROR_FILE_NOT_FOUND);
}

CKivRegValue& CKivRegValue::operator+=(const char* text) noexcept {
    if (text == nullptr) {
        Keep(ERROR_SUCCESS);
        return *this;
    }
    const std::string appended = text;  // the argument may be the text that the conversion frees
    const char* const current = *this;
    if (!Changeable())
        return *this;
    return *this = ((current == nullptr ? std::string() : current) + appended).c_str();
}

CKivRegValue& CKivRegValue::operator+=(unsigned long number) noexcept {
    const unsigned long current = *this;
    return Changeable() ? *this = current + number : *this;
}

CKivRegValue& CKivRegValue::operator-=(unsigned long number) noexcept {
    const unsigned long current = *this;
    return Changeable() ? *this = current - number : *this;
}

CKivRegValue::operator const char*() noexcept {
    kiv::FreeText(m_text);
    Keep(ERROR_SUCCESS);
    if (!Usable())
        return nullptr;
    kiv::ValueData data;
    if (!Keep(data.Read(m_key->m_handle, m_name))) {
        if (m_lastError == ERROR_KEY_DELETED)
            m_text = kiv::DuplicateText("");
        return m_text;
    }
    if (data.Type() != REG_DWORD)
        return m_text = data.Release();
    std::uint32_t number;
    if (Keep(NumberFromData(data, number))) {
        char text[kiv::kSignedTextSize];
        kiv::SignedTextFromNumber(number, text);
        m_text = kiv::DuplicateText(text);
    }
    return m_text;
}

CKivRegValue::operator unsigned long() noexcept {
    kiv::FreeText(m_text);
    Keep(ERROR_SUCCESS);
    if (!Usable())
        return 0;
    kiv::ValueData data;
    std::uint32_t number = 0;
    if (!Keep(data.Read(m_key->m_handle, m_name)) || !Keep(NumberFromData(data, number)))
        return 0;
    if (data.Type() != REG_DWORD)
        m_text = data.Release();
    return number;
}

CKivRegValue& CKivRegValue::operator++() noexcept {
    unsigned long position = m_position;
    kiv::ElementName next;
    const REGSAM view = m_permissions & kiv::kViewBits;
    if (kiv::ElementBehind(m_key->m_handle, ElementKind::kValue, view, m_name, position, next) == ERROR_SUCCESS) {
        open(m_key->getWksta(), m_key->getKey(), next.text, m_permissions);
        m_position = position;
    } else {
        kiv::FreeText(m_name);
    }
    return *this;
}

int CKivRegValue::getIndex() noexcept {
    return Usable() ? static_cast<int>(kiv::FindElement(m_key->m_handle, ElementKind::kValue, m_name)) : -1;
}

const char* CKivRegValue::getName() const noexcept {
    return m_name;
}

CKivRegKey& CKivRegValue::getKey() const noexcept {
    return *m_key;
}

unsigned long CKivRegValue::getLastError() noexcept {
    return m_lastError;
}

void CKivRegValue::setLastError(unsigned long error) noexcept {
    m_lastError = error;
}

unsigned long CKivRegValue::getPermissions() const noexcept {
    return m_permissions;
}
