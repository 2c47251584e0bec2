#ifndef KIV_FILES_KEPT_ATTRIBUTES_H
#define KIV_FILES_KEPT_ATTRIBUTES_H

#include "support/windows_api.h"

namespace kiv {

// The attributes to create a file with in place of what is there: a file that is hidden or a system file can only be
// created anew with these attributes, and keeps them.
inline DWORD KeptAttributes(const char* path) noexcept {
    const DWORD attributes = ::GetFileAttributesA(path);
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return FILE_ATTRIBUTE_NORMAL;
    return FILE_ATTRIBUTE_ARCHIVE | (attributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));
}

}  // namespace kiv

#endif
