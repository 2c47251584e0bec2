#include "registry/key_eraser.h"

#include <vector>

#include "registry/key_access.h"
#include "registry/key_elements.h"
#include "registry/registry_api.h"
#include "support/ascii.h"
#include "support/heap_text.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"

namespace kiv {
namespace {

// The value that holds what a registry link points to.
constexpr const char* kLinkValue = "SymbolicLinkValue";

struct ValueErasure {
    LONG failure = ERROR_SUCCESS;  // of the last value left, or what ended the enumeration too early
    bool link = false;             // a link's own value was seen, and left
    bool complete = false;         // all values were seen
};

ValueErasure EraseAllValues(HKEY key, bool keepLinkValue) {
    ValueErasure result;
    ElementName name;
    DWORD type;
    for (unsigned long left = 0;;) {
        DWORD length = kValueNameSize;
        LONG status = ::RegEnumValueA(key, left, name.text, &length, nullptr, &type, nullptr, nullptr);
        if (status != ERROR_SUCCESS) {
            result.complete = status == ERROR_NO_MORE_ITEMS;
            if (!result.complete)
                result.failure = status;
            return result;
        }
        if (keepLinkValue && type == REG_LINK && EqualsIgnoreCase(name.text, kLinkValue)) {
            result.link = true;
            ++left;
            continue;
        }
        status = ::RegDeleteValueA(key, name.text);
        if (status != ERROR_SUCCESS) {
            result.failure = status;
            ++left;
        }
    }
}

// A key on the way down.
struct Level {
    ElementName name;
    ScopedRegistryKey key;   // null when it could not be opened
    bool plain = false;      // surely no link
    unsigned long left = 0;  // subkeys that could not be deleted; they come first in the enumeration
};

// Deletes what stands at that name itself, link or not.
LONG DeleteByHandle(HKEY parent, const char* name, REGSAM view) {
    ScopedRegistryKey key;
    const LONG status = ::RegOpenKeyExA(parent, name, REG_OPTION_OPEN_LINK, DELETE | view, key.Receive());
    if (status != ERROR_SUCCESS)
        return status;
    const LONG ntStatus = Registry().ntDeleteKey(key.Get());
    return ntStatus >= 0 ? ERROR_SUCCESS : static_cast<LONG>(Registry().ntStatusToError(ntStatus));
}

// Deletes what the name leads to: for a link, the key that it points to.
LONG DeleteByName(HKEY parent, const char* name, REGSAM view) {
    if (view != 0 && Registry().deleteKeyEx != nullptr)
        return Registry().deleteKeyEx(parent, name, view, 0);
    return ::RegDeleteKeyA(parent, name);
}

// Whether opening a subkey by the name that it shows could give the parent: "" is one that begins with a NUL, and
// characters that resemble a backslash show as one.
bool MayLeadToParent(const char* name) {
    return *name == '\0' || *name == '\\';
}

LONG DeleteEmptyKey(HKEY parent, const char* name, bool plain, REGSAM view) {
    if (MayLeadToParent(name))
        return ERROR_INVALID_NAME;
    if (plain || !IsNtFamily())
        return DeleteByName(parent, name, view);
    const RegistryApi& api = Registry();
    if (api.ntDeleteKey == nullptr || api.ntStatusToError == nullptr)
        return ERROR_CALL_NOT_IMPLEMENTED;
    return DeleteByHandle(parent, name, view);
}

// Opens a subkey, the link itself where it is one, and deletes its values.
Level OpenLevel(HKEY parent, const ElementName& name, REGSAM access) {
    Level level;
    level.name = name;
    if (MayLeadToParent(name.text))
        return level;
    HKEY opened;
    if (::RegOpenKeyExA(parent, name.text, LinkOptions(), access, &opened) != ERROR_SUCCESS)
        return level;
    level.key.Reset(opened);
    const ValueErasure values = EraseAllValues(opened, true);
    level.plain = values.complete ? !values.link : IsPlainKey(opened);
    return level;
}

}  // namespace

LONG EraseValues(HKEY key) noexcept {
    return EraseAllValues(key, false).failure;
}

// Goes down without recursion: a tree can be deeper than the stack.
LONG EraseSubkeys(HKEY key, REGSAM access) noexcept {
    std::vector<Level> way(1);
    way.front().key.Reset(key);
    LONG failure = ERROR_SUCCESS;
    for (;;) {
        Level& current = way.back();
        ElementName child;
        const LONG found =
            current.key ? ElementAt(current.key.Get(), ElementKind::kSubkey, current.left, child) : ERROR_NO_MORE_ITEMS;
        if (found == ERROR_SUCCESS) {
            way.push_back(OpenLevel(current.key.Get(), child, access));
            continue;
        }
        if (way.size() == 1) {
            if (found != ERROR_NO_MORE_ITEMS)
                failure = found;
            break;
        }
        const ElementName name = current.name;
        const bool plain = current.plain;
        way.pop_back();
        const LONG status = DeleteEmptyKey(way.back().key.Get(), name.text, plain, access & kViewBits);
        if (status != ERROR_SUCCESS)
            ++way.back().left;
        if (status != ERROR_SUCCESS && way.size() == 1)
            failure = status;
    }
    way.front().key.Release();  // the caller's
    return failure;
}

LONG EraseSubkey(HKEY parent, const char* name, REGSAM access) noexcept {
    ElementName shown{};
    if (!CopyText(shown.text, sizeof shown.text, name))
        return ERROR_FILE_NOT_FOUND;
    Level level = OpenLevel(parent, shown, access);
    if (level.key)
        EraseSubkeys(level.key.Get(), access);
    level.key.Reset();
    return DeleteEmptyKey(parent, name, level.plain, access & kViewBits);
}

bool IsPlainKey(HKEY key) noexcept {
    DWORD type = REG_NONE;
    const LONG status = ::RegQueryValueExA(key, kLinkValue, nullptr, &type, nullptr, nullptr);
    return status == ERROR_FILE_NOT_FOUND || (status == ERROR_SUCCESS && type != REG_LINK);
}

}  // namespace kiv
