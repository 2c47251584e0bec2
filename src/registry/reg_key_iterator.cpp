#include <cstring>

#include "support/windows_api.h"

#include "registry/key_access.h"
#include "registry/key_elements.h"
#include "registry/key_path.h"
#include "registry/shared_key.h"
#include "support/code_page.h"
#include "support/heap_text.h"
#include "tavkivut/registry.h"

using kiv::ElementKind;

namespace {

bool SameText(const char* a, const char* b) {
    return a == nullptr || b == nullptr ? a == b : std::strcmp(a, b) == 0;
}

// The status that ends a walk: the enumeration is over, or shows a name that is too long.
bool EndsWalk(LONG status) {
    return status == ERROR_NO_MORE_ITEMS || status == ERROR_MORE_DATA;
}

}  // namespace

CKivRegKey::iterator::iterator(const char* wksta, const char* key, const char* name, unsigned long permissions) noexcept
    : m_wksta(kiv::DuplicateText(wksta)), m_key(kiv::DuplicateText(key)), m_name(kiv::DuplicateText(name)),
      m_permissions(permissions), m_position(kiv::kNoPosition), m_walked(nullptr) {}

CKivRegKey::iterator::iterator(const iterator& other) noexcept
    : m_wksta(kiv::DuplicateText(other.m_wksta)), m_key(kiv::DuplicateText(other.m_key)),
      m_name(kiv::DuplicateText(other.m_name)), m_permissions(other.m_permissions), m_position(other.m_position),
      m_walked(KivSharedKey::Use(other.m_walked)) {}

CKivRegKey::iterator& CKivRegKey::iterator::operator=(const iterator& other) noexcept {
    if (this == &other)
        return *this;
    Init(other.m_wksta, other.m_key, other.m_name);
    m_permissions = other.m_permissions;
    m_position = other.m_position;
    m_walked = KivSharedKey::Use(other.m_walked);
    return *this;
}

CKivRegKey::iterator::~iterator() {
    Init(nullptr, nullptr, nullptr);
}

void CKivRegKey::iterator::Init(const char* wksta, const char* key, const char* name) noexcept {
    char* const newWksta = kiv::DuplicateText(wksta);
    char* const newKey = kiv::DuplicateText(key);
    char* const newName = kiv::DuplicateText(name);
    kiv::FreeText(m_wksta);
    kiv::FreeText(m_key);
    kiv::FreeText(m_name);
    m_wksta = newWksta;
    m_key = newKey;
    m_name = newName;
    m_position = kiv::kNoPosition;
    KivSharedKey::Release(m_walked);
}

bool CKivRegKey::iterator::operator==(const iterator& other) const noexcept {
    return SameText(m_wksta, other.m_wksta) && SameText(m_key, other.m_key) && SameText(m_name, other.m_name);
}

bool CKivRegKey::iterator::operator!=(const iterator& other) const noexcept {
    return !(*this == other);
}

const char* CKivRegKey::iterator::getWksta() const noexcept {
    return m_wksta;
}

const char* CKivRegKey::iterator::getKey() const noexcept {
    return m_key;
}

const char* CKivRegKey::iterator::getName() const noexcept {
    return m_name;
}

unsigned long CKivRegKey::iterator::getPermissions() const noexcept {
    return m_permissions;
}

// From its first step on a position has the texts that a key object has, so that it can meet the end of one.
void CKivRegKey::iterator::Normalize() noexcept {
    kiv::ReplaceText(m_key, kiv::CanonicalKeyPath(m_key).c_str());
    if (m_wksta != nullptr)
        kiv::ReplaceText(m_wksta, kiv::MachineName(m_wksta).c_str());
}

// The key stays open from one step to the next. One that has been deleted meanwhile answers with an error; what stands
// at its path by then is opened in its place, as if it were opened anew for each step. Without a path the walk ends.
void CKivRegKey::iterator::Advance(ElementKind kind) noexcept {
    if (m_name == nullptr)
        return;
    const REGSAM view = m_permissions & kiv::kViewBits;
    // An empty machine name ends as none, so that the position meets end() of a local key.
    const bool nameless = m_wksta != nullptr && *m_wksta == '\0';
    kiv::ElementName found;
    LONG status = ERROR_INVALID_HANDLE;
    if (m_walked != nullptr)
        status = kiv::ElementBehind(m_walked->handle, kind, view, m_name, m_position, found);
    if (m_key != nullptr && status != ERROR_SUCCESS && !EndsWalk(status)) {
        KivSharedKey::Release(m_walked);
        Normalize();
        HKEY opened;
        if (kiv::OpenKeyPath(m_wksta, m_key, 0, m_permissions, opened) == ERROR_SUCCESS)
            m_walked = KivSharedKey::Make(opened);
        if (m_walked != nullptr)
            status = kiv::ElementBehind(opened, kind, view, m_name, m_position, found);
    }
    if (status == ERROR_SUCCESS) {
        kiv::ReplaceText(m_name, found.text);
        return;
    }
    End();
    if (nameless)
        kiv::FreeText(m_wksta);
}

void CKivRegKey::iterator::End() noexcept {
    kiv::FreeText(m_name);
    KivSharedKey::Release(m_walked);
}

CKivRegKey::iteratorKeys::iteratorKeys(const char* wksta, const char* key, const char* name,
                                       unsigned long permissions) noexcept
    : iterator(wksta, key, name, permissions) {}

CKivRegKey::iteratorKeys::iteratorKeys(const iterator& other) noexcept : iterator(other) {}

// A name that begins with a NUL shows as "", and others show as nothing but backslashes. They would open the walked key
// itself: whoever goes down would never end.
CKivRegKey CKivRegKey::iteratorKeys::operator*() noexcept {
    const bool hidden = m_name != nullptr && kiv::WithoutTrailingBackslashes(m_name, kiv::IsAnsiLeadByte).empty();
    return CKivRegKey(m_wksta, hidden ? nullptr : m_key, m_name, m_permissions);
}

CKivRegKey::iteratorKeys& CKivRegKey::iteratorKeys::operator++() noexcept {
    next(true);
    return *this;
}

CKivRegKey::iteratorKeys CKivRegKey::iteratorKeys::operator++(int) noexcept {
    return next(false);
}

CKivRegKey::iteratorKeys CKivRegKey::iteratorKeys::next(bool prefix) noexcept {
    if (prefix) {
        Advance(ElementKind::kSubkey);
        return *this;
    }
    iteratorKeys before(*this);
    Advance(ElementKind::kSubkey);
    return before;
}

CKivRegKey::iteratorValues::iteratorValues(const char* wksta, const char* key, const char* name,
                                           unsigned long permissions) noexcept
    : iterator(wksta, key, name, permissions) {}

CKivRegKey::iteratorValues::iteratorValues(const iterator& other) noexcept : iterator(other) {}

CKivRegValue CKivRegKey::iteratorValues::operator*() noexcept {
    if (m_walked != nullptr)
        return CKivRegValue(m_walked, *this);
    return CKivRegValue(m_wksta, m_key, m_name, m_permissions);
}

CKivRegKey::iteratorValues& CKivRegKey::iteratorValues::operator++() noexcept {
    next(true);
    return *this;
}

CKivRegKey::iteratorValues CKivRegKey::iteratorValues::operator++(int) noexcept {
    return next(false);
}

CKivRegKey::iteratorValues CKivRegKey::iteratorValues::next(bool prefix) noexcept {
    if (prefix) {
        Advance(ElementKind::kValue);
        return *this;
    }
    iteratorValues before(*this);
    Advance(ElementKind::kValue);
    return before;
}
