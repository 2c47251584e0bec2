#include <cstring>
#include <string>
#include <string_view>

#include "support/windows_api.h"

#include "registry/key_access.h"
#include "registry/key_elements.h"
#include "registry/key_path.h"
#include "support/code_page.h"
#include "support/scoped_resource.h"
#include "tavkivut/registry.h"

using kiv::ElementKind;
using kiv::IsAnsiLeadByte;

namespace {

std::string ParentOf(const char* path) {
    return std::string(kiv::ParentKeyPath(path, IsAnsiLeadByte));
}

// Whether a subkey's name, as the code page shows it, can stand in a path. One that begins with a NUL shows as "", and
// characters that resemble a backslash show as one: the path would lead to another key.
bool FitsPath(const char* name) {
    return *name != '\0' && kiv::LastBackslash(name, IsAnsiLeadByte) == std::string_view::npos;
}

}  // namespace

int CKivRegKey::countKeys() noexcept {
    DWORD count = 0;
    if (m_handle != nullptr)
        Keep(::RegQueryInfoKeyA(m_handle, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr, nullptr));
    return static_cast<int>(count);
}

int CKivRegKey::countValues() noexcept {
    DWORD count = 0;
    if (m_handle != nullptr)
        Keep(::RegQueryInfoKeyA(m_handle, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, nullptr,
                                nullptr, nullptr, nullptr));
    return static_cast<int>(count);
}

bool CKivRegKey::empty() noexcept {
    return countKeys() == 0 && countValues() == 0;
}

CKivRegKey::iterator CKivRegKey::end() noexcept {
    return iterator(m_wksta, m_key, nullptr);
}

// The position of the first element for a null name, else of the first with that name.
CKivRegKey::iterator CKivRegKey::Find(ElementKind kind, const char* name) noexcept {
    kiv::ElementName shown;
    for (unsigned long index = 0; kiv::ElementAt(m_handle, kind, index, shown) == ERROR_SUCCESS; ++index) {
        if (name != nullptr && std::strcmp(shown.text, name) != 0)
            continue;
        iterator found(m_wksta, m_key, shown.text, m_permissions);
        found.m_position = index;
        return found;
    }
    return end();
}

CKivRegKey::iteratorKeys CKivRegKey::beginKeys() noexcept {
    return Find(ElementKind::kSubkey, nullptr);
}

CKivRegKey::iteratorValues CKivRegKey::beginValues() noexcept {
    return Find(ElementKind::kValue, nullptr);
}

CKivRegKey::iteratorKeys CKivRegKey::findKey(const char* name) noexcept {
    return name == nullptr ? end() : Find(ElementKind::kSubkey, name);
}

CKivRegKey::iteratorValues CKivRegKey::findValue(const char* name) noexcept {
    return name == nullptr ? end() : Find(ElementKind::kValue, name);
}

CKivRegValue CKivRegKey::operator[](const char* name) noexcept {
    return CKivRegValue(m_wksta, m_key, name, m_permissions);
}

int CKivRegKey::getIndex() noexcept {
    if (m_key == nullptr)
        return -1;
    kiv::ScopedRegistryKey parent;
    const REGSAM access = KEY_READ | (m_permissions & kiv::kViewBits);
    HKEY opened;
    if (kiv::OpenKeyPath(m_wksta, ParentOf(m_key).c_str(), 0, access, opened) != ERROR_SUCCESS)
        return -1;
    parent.Reset(opened);
    return static_cast<int>(kiv::FindElement(parent.Get(), ElementKind::kSubkey, getName()));
}

CKivRegKey& CKivRegKey::operator++() noexcept {
    if (m_key == nullptr) {
        close();
        return *this;
    }
    const std::string parentPath = ParentOf(m_key);
    HKEY opened;
    if (kiv::OpenKeyPath(m_wksta, parentPath.c_str(), 0, m_permissions, opened) != ERROR_SUCCESS) {
        close();
        return *this;
    }
    const kiv::ScopedRegistryKey parent(opened);
    unsigned long position = m_position;
    kiv::ElementName sibling;
    LONG status = kiv::ElementBehind(parent.Get(), ElementKind::kSubkey, m_permissions & kiv::kViewBits, getName(),
                                     position, sibling);
    while (status == ERROR_SUCCESS && !FitsPath(sibling.text))
        status = kiv::ElementAt(parent.Get(), ElementKind::kSubkey, ++position, sibling);
    if (status != ERROR_SUCCESS) {
        close();
        return *this;
    }
    open(kiv::JoinKeyPath(parentPath, sibling.text, IsAnsiLeadByte).c_str(), m_permissions);
    m_position = position;
    return *this;
}
