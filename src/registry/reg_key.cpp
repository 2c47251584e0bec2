#include <cstring>
#include <string>

#include "support/windows_api.h"

#include "registry/key_access.h"
#include "registry/key_elements.h"
#include "registry/key_path.h"
#include "registry/shared_key.h"
#include "support/code_page.h"
#include "support/heap_text.h"
#include "support/nt_family.h"
#include "tavkivut/registry.h"

using kiv::IsAnsiLeadByte;

CKivRegKey::CKivRegKey(const char* wksta, const char* key, const char* subkey, unsigned long permissions) noexcept
    : m_handle(nullptr), m_wksta(nullptr), m_key(nullptr), m_lastError(ERROR_SUCCESS), m_permissions(permissions),
      m_position(kiv::kNoPosition), m_shared(nullptr) {
    connectTo(wksta);
    if (key != nullptr)
        open(key, subkey, permissions);
}

CKivRegKey::CKivRegKey(const CKivRegKey& other) noexcept
    : m_handle(nullptr), m_wksta(kiv::DuplicateText(other.m_wksta)), m_key(nullptr), m_lastError(ERROR_SUCCESS),
      m_permissions(other.m_permissions), m_position(kiv::kNoPosition), m_shared(nullptr) {
    const bool predefined = kiv::IsPredefinedKey(other.m_handle);
    const bool duplicable = m_wksta == nullptr && !predefined && kiv::IsNtFamily();
    if (duplicable && other.m_handle != nullptr)
        m_handle = kiv::DuplicateKey(other.m_handle, TRUE);
    if (duplicable && (m_handle != nullptr || other.m_handle == nullptr))
        m_key = kiv::DuplicateText(other.m_key);
    else if (other.m_key != nullptr)
        open(other.m_key, other.m_permissions);
    else if (predefined)
        m_handle = other.m_handle;
    m_lastError = ERROR_SUCCESS;
}

// Assigned to itself the key ends closed as any other.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
CKivRegKey& CKivRegKey::operator=(CKivRegKey& other) noexcept {
    m_permissions = other.m_permissions;
    connectTo(other.m_wksta);
    return *this;
}

CKivRegKey::~CKivRegKey() {
    close();
    kiv::FreeText(m_wksta);
}

bool CKivRegKey::connectTo(const char* wksta) noexcept {
    char* const machine = wksta == nullptr ? nullptr : kiv::DuplicateText(kiv::MachineName(wksta).c_str());
    close();
    kiv::FreeText(m_wksta);
    m_wksta = machine;
    return true;
}

// Takes part in the walked key of a closed object's position, instead of opening the same key once more.
void CKivRegKey::Share(KivSharedKey* walked, const iterator& position) noexcept {
    m_wksta = kiv::DuplicateText(position.m_wksta);
    m_key = kiv::DuplicateText(position.m_key);
    m_permissions = position.m_permissions;
    m_shared = KivSharedKey::Use(walked);
    m_handle = m_shared->handle;
}

// A handle that a caller gets to see must be this object's own: he may close it, or keep it while the object goes.
void CKivRegKey::Unshare() noexcept {
    if (m_shared == nullptr)
        return;
    HKEY own = m_handle;
    if (!kiv::IsPredefinedKey(m_handle)) {
        own = m_wksta == nullptr && kiv::IsNtFamily() ? kiv::DuplicateKey(m_handle, FALSE) : nullptr;
        if (own == nullptr)
            kiv::OpenKeyPath(m_wksta, m_key, 0, m_permissions, own);
    }
    KivSharedKey::Release(m_shared);
    m_handle = own;
}

void CKivRegKey::attach(HKEY handle) noexcept {
    KivSharedKey::Release(m_shared);
    m_handle = handle;
}

HKEY CKivRegKey::detach() noexcept {
    Unshare();
    const HKEY handle = m_handle;
    m_handle = nullptr;
    return handle;
}

CKivRegKey::operator HKEY() const noexcept {
    const_cast<CKivRegKey*>(this)->Unshare();
    return m_handle;
}

const char* CKivRegKey::getWksta() const noexcept {
    return m_wksta;
}

const char* CKivRegKey::getKey() const noexcept {
    return m_key;
}

unsigned long CKivRegKey::getLastError() noexcept {
    return m_lastError;
}

void CKivRegKey::setLastError(unsigned long error) noexcept {
    m_lastError = error;
}

unsigned long CKivRegKey::getPermissions() const noexcept {
    return m_permissions;
}

const char* CKivRegKey::getName() noexcept {
    return m_key == nullptr ? nullptr : kiv::KeyName(m_key, IsAnsiLeadByte).data();
}

const char* CKivRegKey::getParentKey(char* buffer) noexcept {
    if (buffer != nullptr) {
        const std::string_view path = m_key == nullptr ? "" : m_key;
        const std::string_view parent = kiv::ParentKeyPath(path, IsAnsiLeadByte);
        std::memmove(buffer, parent.data(), parent.size());
        buffer[parent.size()] = '\0';
    }
    return buffer;
}

// Closes and keeps a new path, whose copy is made first: the argument may be the path held so far.
bool CKivRegKey::Take(const char* path, unsigned long permissions) noexcept {
    char* const canonical = path == nullptr ? nullptr : kiv::DuplicateText(kiv::CanonicalKeyPath(path).c_str());
    if (canonical == nullptr) {
        m_lastError = path == nullptr ? ERROR_INVALID_PARAMETER : ERROR_NOT_ENOUGH_MEMORY;
        return false;
    }
    close();
    m_key = canonical;
    m_permissions = permissions;
    return true;
}

bool CKivRegKey::Keep(long status) noexcept {
    m_lastError = static_cast<unsigned long>(status);
    return status == ERROR_SUCCESS;
}

bool CKivRegKey::open(const char* key, unsigned long permissions) noexcept {
    return Take(key, permissions) && Keep(kiv::OpenKeyPath(m_wksta, m_key, 0, permissions, m_handle));
}

bool CKivRegKey::open(const char* parent, const char* subkey, unsigned long permissions) noexcept {
    if (parent == nullptr || subkey == nullptr)
        return open(parent, permissions);
    return open(kiv::JoinKeyPath(parent, subkey, IsAnsiLeadByte).c_str(), permissions);
}

bool CKivRegKey::create(const char* key, unsigned long permissions, unsigned long options,
                        SECURITY_ATTRIBUTES* sa) noexcept {
    return Take(key, permissions) && Keep(kiv::CreateKeyPath(m_wksta, m_key, options, permissions, sa, m_handle));
}

bool CKivRegKey::create(const char* parent, const char* subkey, unsigned long permissions, unsigned long options,
                        SECURITY_ATTRIBUTES* sa) noexcept {
    if (parent == nullptr || subkey == nullptr)
        return create(parent, permissions, options, sa);
    return create(kiv::JoinKeyPath(parent, subkey, IsAnsiLeadByte).c_str(), permissions, options, sa);
}

bool CKivRegKey::close() noexcept {
    if (m_handle != nullptr && m_shared == nullptr)
        ::RegCloseKey(m_handle);
    KivSharedKey::Release(m_shared);
    m_handle = nullptr;
    kiv::FreeText(m_key);
    m_position = kiv::kNoPosition;
    return true;
}
