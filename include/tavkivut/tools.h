#ifndef TAVKIVUT_TOOLS_H
#define TAVKIVUT_TOOLS_H

// Folder trees.

#include "tavkivut/export.h"

class KIV_API CKivTools {
public:
    CKivTools() = delete;

    // Writes the folder that holds the given file or folder, going by the text alone: a trailing backslash
    // does not count, ".." is not resolved. "C:\a\b" gives "C:\a", "C:\a" gives "C:\", "\\host\share\a" gives
    // "\\host\share", "a\b" gives "a". `out` may be the path's own buffer; `outSize` counts the terminator.
    // Returns 1, or 0 with nothing written: last error 87 for a null or empty argument, 161 when there is no
    // parent (a drive, a share, a name alone), 122 when the buffer is too small.
    static int GetParentDirectory(const char* path, char* out, unsigned long outSize) noexcept;

    // Makes the folder with all folders above it that are missing, on a drive or below a share. Several
    // threads and processes may make the same folder at once. Returns 1 when the folder exists afterwards,
    // else 0 with the last error: 87 for a null or empty path, 206 for a path beyond 259 characters, 183
    // where a file of that name is in the way, else that of the first part which could not be made. Parts
    // already made stay.
    static int CreateDirectoryRecursive(const char* path) noexcept;
};

#endif
