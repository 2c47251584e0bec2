#ifndef KIV_REGISTRY_KEY_ELEMENTS_H
#define KIV_REGISTRY_KEY_ELEMENTS_H

#include "support/windows_api.h"

namespace kiv {

enum class ElementKind : int { kSubkey, kValue };

// The element names that the enumerations show: those of subkeys whole, which have up to 255 characters of up to two
// bytes, and those of values up to 255 bytes.
struct ElementName {
    char text[2 * 255 + 1];
};
constexpr DWORD kValueNameSize = 256;

constexpr unsigned long kNoPosition = 0xFFFFFFFFUL;

// The name of the element at an index. ERROR_NO_MORE_ITEMS behind the last; ERROR_MORE_DATA for a longer name.
LONG ElementAt(HKEY key, ElementKind kind, unsigned long index, ElementName& name) noexcept;

// The index of the first element with exactly this name; kNoPosition when the enumeration shows none.
unsigned long FindElement(HKEY key, ElementKind kind, const char* name) noexcept;

// The element behind the one called `name`, as the enumeration is now; the first when there is no such element, also
// for a null name. The position is where that was seen last, or kNoPosition, and becomes that of the element found.
// `view` holds the view bits of the access with which the key was opened.
//
// An element that still stands at its position is not searched. So a walk is linear, and it gets past names that the
// code page shows alike. Where another stands there, the name itself is looked up before the search: so walking on from
// a deleted element, and with it the deletion of all elements, is linear too.
LONG ElementBehind(HKEY key, ElementKind kind, REGSAM view, const char* name, unsigned long& position,
                   ElementName& found) noexcept;

}  // namespace kiv

#endif
