#include <cstring>
#include <string>

#include "support/windows_api.h"

#include "registry/key_access.h"
#include "registry/key_elements.h"
#include "registry/key_eraser.h"
#include "registry/key_path.h"
#include "support/code_page.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"
#include "tavkivut/registry.h"

using kiv::ElementKind;
using kiv::IsAnsiLeadByte;

namespace {

// Whether what the path names is surely no registry link. A handle that was opened by the path has followed a link:
// what it shows belongs to another key then.
bool IsPlainPath(const char* machine, const char* path, REGSAM view) {
    if (!kiv::IsNtFamily())
        return true;
    HKEY opened;
    if (kiv::OpenKeyPath(machine, path, REG_OPTION_OPEN_LINK, KEY_QUERY_VALUE | view, opened) != ERROR_SUCCESS)
        return false;
    const kiv::ScopedRegistryKey key(opened);
    return kiv::IsPlainKey(key.Get());
}

// Erases one element after the other. A failure is not overwritten by what succeeds after it.
template <class Position>
void EraseEach(CKivRegKey& key, Position& first, const CKivRegKey::iterator& last) {
    unsigned long failure = ERROR_SUCCESS;
    for (; first.getName() != nullptr && first != last; ++first) {
        key.erase(first);
        if (key.getLastError() != ERROR_SUCCESS)
            failure = key.getLastError();
    }
    if (failure != ERROR_SUCCESS)
        key.setLastError(failure);
}

}  // namespace

bool CKivRegKey::erase(iteratorValues& it) noexcept {
    if (it.m_name == nullptr)
        return false;
    Keep(::RegDeleteValueA(m_handle, it.m_name));
    return true;
}

bool CKivRegKey::erase(iteratorKeys& it) noexcept {
    if (it.m_name == nullptr)
        return false;
    Keep(kiv::EraseSubkey(m_handle, it.m_name, m_permissions));
    return true;
}

// Whether the range is every element of this key.
bool CKivRegKey::IsWhole(kiv::ElementKind kind, const iterator& first, const iterator& last) const noexcept {
    kiv::ElementName shown;
    return last == iterator(m_wksta, m_key, nullptr) && kiv::ElementAt(m_handle, kind, 0, shown) == ERROR_SUCCESS &&
           first == iterator(m_wksta, m_key, shown.text);
}

bool CKivRegKey::erase(iteratorValues& first, iterator& last) noexcept {
    if (IsWhole(ElementKind::kValue, first, last)) {
        Keep(kiv::EraseValues(m_handle));
        first.End();
        return true;
    }
    EraseEach(*this, first, last);
    return true;
}

bool CKivRegKey::erase(iteratorKeys& first, iterator& last) noexcept {
    if (IsWhole(ElementKind::kSubkey, first, last)) {
        Keep(kiv::EraseSubkeys(m_handle, m_permissions));
        first.End();
        return true;
    }
    EraseEach(*this, first, last);
    return true;
}

bool CKivRegKey::remove() noexcept {
    const std::string path(kiv::WithoutTrailingBackslashes(m_key == nullptr ? "" : m_key, IsAnsiLeadByte));
    const kiv::ParsedKeyPath parsed = kiv::ParseKeyPath(path);
    if (parsed.root == 0 || parsed.subkey.empty())
        return Keep(parsed.root == 0 ? ERROR_INVALID_HANDLE : ERROR_ACCESS_DENIED);

    if (m_handle != nullptr && IsPlainPath(m_wksta, path.c_str(), m_permissions & kiv::kViewBits)) {
        kiv::EraseValues(m_handle);
        kiv::EraseSubkeys(m_handle, m_permissions);
    }
    close();

    // The parent is opened on this machine whatever machine the key is on. Callers count on it.
    const std::string parentPath(kiv::ParentKeyPath(path, IsAnsiLeadByte));
    HKEY opened;
    if (!Keep(kiv::OpenKeyPath(nullptr, parentPath.c_str(), 0, m_permissions, opened)))
        return true;
    const kiv::ScopedRegistryKey parent(opened);
    const std::string name(kiv::KeyName(path, IsAnsiLeadByte));
    Keep(kiv::EraseSubkey(parent.Get(), name.c_str(), m_permissions));
    return true;
}
