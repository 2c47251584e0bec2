#ifndef KIV_REGISTRY_SHARED_KEY_H
#define KIV_REGISTRY_SHARED_KEY_H

#include "support/windows_api.h"

// An open key with several users; closed with the last of them. They may be on different threads.
struct KivSharedKey {
    // The first use of a key that is open; null when memory is exhausted, the key is closed then.
    static KivSharedKey* Make(HKEY handle) noexcept;

    // One more user; null gives null.
    static KivSharedKey* Use(KivSharedKey* shared) noexcept;

    // One user less; the pointer becomes null. Keeps the last error.
    static void Release(KivSharedKey*& shared) noexcept;

    HKEY handle;
    long users;
};

#endif
