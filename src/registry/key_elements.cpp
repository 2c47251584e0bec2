#include "registry/key_elements.h"

#include <cstring>

#include "registry/key_access.h"
#include "support/scoped_resource.h"

namespace kiv {
namespace {

// Whether the key has no element of that name, in any case. A registry link counts, whatever it points to.
bool IsGone(HKEY key, ElementKind kind, REGSAM view, const char* name) {
    if (kind == ElementKind::kValue)
        return ::RegQueryValueExA(key, name, nullptr, nullptr, nullptr, nullptr) == ERROR_FILE_NOT_FOUND;
    ScopedRegistryKey subkey;
    return ::RegOpenKeyExA(key, name, LinkOptions(), KEY_QUERY_VALUE | view, subkey.Receive()) == ERROR_FILE_NOT_FOUND;
}

}  // namespace

LONG ElementAt(HKEY key, ElementKind kind, unsigned long index, ElementName& name) noexcept {
    DWORD length = kind == ElementKind::kValue ? kValueNameSize : sizeof name.text;
    if (kind == ElementKind::kValue)
        return ::RegEnumValueA(key, index, name.text, &length, nullptr, nullptr, nullptr, nullptr);
    return ::RegEnumKeyExA(key, index, name.text, &length, nullptr, nullptr, nullptr, nullptr);
}

unsigned long FindElement(HKEY key, ElementKind kind, const char* name) noexcept {
    ElementName shown;
    for (unsigned long index = 0; ElementAt(key, kind, index, shown) == ERROR_SUCCESS; ++index) {
        if (std::strcmp(shown.text, name) == 0)
            return index;
    }
    return kNoPosition;
}

LONG ElementBehind(HKEY key, ElementKind kind, REGSAM view, const char* name, unsigned long& position,
                   ElementName& found) noexcept {
    unsigned long current = kNoPosition;
    if (name != nullptr && position == kNoPosition) {
        current = FindElement(key, kind, name);
    } else if (name != nullptr) {
        const LONG status = ElementAt(key, kind, position, found);
        if (status == ERROR_SUCCESS && std::strcmp(found.text, name) == 0)
            current = position;
        else if (!IsGone(key, kind, view, name))
            current = FindElement(key, kind, name);
        else if (position == 0)
            return status;  // what stands at the beginning is known already
    }
    const unsigned long next = current + 1;  // 0 behind kNoPosition
    const LONG status = ElementAt(key, kind, next, found);
    if (status == ERROR_SUCCESS)
        position = next;
    return status;
}

}  // namespace kiv
