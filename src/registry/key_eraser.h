#ifndef KIV_REGISTRY_KEY_ERASER_H
#define KIV_REGISTRY_KEY_ERASER_H

#include "support/windows_api.h"

namespace kiv {

// Deletion of keys with their contents: of each key first all values, then all subkeys, depth first, then the key
// itself. What cannot be deleted is skipped, and everything else is deleted all the same. Keys are opened with
// `access`, whose view bits hold for deletions too. Each function gives the status of the last thing that it left,
// ERROR_SUCCESS when it left nothing.
//
// A subkey that is a registry link is deleted as a link, and what it points to stays; where that cannot be done (on
// another machine) the link stays too.

LONG EraseValues(HKEY key) noexcept;
LONG EraseSubkeys(HKEY key, REGSAM access) noexcept;
LONG EraseSubkey(HKEY parent, const char* name, REGSAM access) noexcept;

// Whether a key that was opened with REG_OPTION_OPEN_LINK is surely no registry link.
bool IsPlainKey(HKEY key) noexcept;

}  // namespace kiv

#endif
