#ifndef KIV_REGISTRY_KEY_ACCESS_H
#define KIV_REGISTRY_KEY_ACCESS_H

#include "support/windows_api.h"

namespace kiv {

// The bits of an access mask that choose the 32-bit or 64-bit view of the registry.
constexpr REGSAM kViewBits = KEY_WOW64_32KEY | KEY_WOW64_64KEY;

// Opens or creates the key that a path names, under this machine's root or that of `machine`, whose connection is
// closed again at once. A path without a root gives ERROR_INVALID_HANDLE and no connection is made. `key` is null
// after a failure.
LONG OpenKeyPath(const char* machine, const char* path, DWORD options, REGSAM access, HKEY& key) noexcept;
LONG CreateKeyPath(const char* machine, const char* path, DWORD options, REGSAM access, SECURITY_ATTRIBUTES* security,
                   HKEY& key) noexcept;

// The options that open a registry link itself, on systems that have links.
DWORD LinkOptions() noexcept;

// Whether the handle is one of the predefined keys, which cannot be duplicated and need no closing.
bool IsPredefinedKey(HKEY key) noexcept;

// Another handle of the same key with the same access; null when there can be none.
HKEY DuplicateKey(HKEY key, BOOL inheritable) noexcept;

}  // namespace kiv

#endif
