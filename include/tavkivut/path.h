#ifndef TAVKIVUT_PATH_H
#define TAVKIVUT_PATH_H

// Paths that name the same thing, and the network name of a path on a mapped drive.

#include "tavkivut/export.h"

class KIV_API CKivPath {
public:
    CKivPath() = delete;

    // 1 when both texts name the same path, else 0. Upper and lower case, "/" and "\", a trailing backslash
    // ("C:" and "C:\" too) and parts such as ".." make no difference; a relative path is taken from the
    // current folder. The short ("PROGRA~1") and the long form of a path are equal when the path exists: the
    // disk or server is asked only when one of the two has a "~" and they differ otherwise. A drive path and
    // its network name are different paths. A null argument: 0, last error 87. A path beyond 259 characters
    // equals only its own text (case, slashes and a trailing backslash aside).
    static int PathIsEqual(const char* a, const char* b) noexcept;

    // Writes the network name of a path on a mapped drive: "\\host\share\folder" for "X:\folder" when X: is
    // "\\host\share". The path need not exist; `out` may be the path's own buffer; `outSize` counts the
    // terminator. Returns the number of characters written, without the terminator. 0 when there is none:
    // nothing is written then and the last error tells why: 87 null argument, 1200 not a path with a drive,
    // 2250 the drive is not a network drive, 234 the buffer is too small, 127 the system has no such service.
    // Not to be called from a DLL's entry point.
    static unsigned long NetGetUniversalName(const char* path, char* out, unsigned long outSize) noexcept;
};

#endif
