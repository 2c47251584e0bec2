#ifndef KIV_REGISTRY_REGISTRY_API_H
#define KIV_REGISTRY_REGISTRY_API_H

#include "support/dynamic_function.h"

namespace kiv {

// Registry functions that older systems lack. A null member: the module or the function is missing.
struct RegistryApi {
    LONG(WINAPI* deleteKeyEx)(HKEY key, LPCSTR subkey, REGSAM view, DWORD reserved);
    LONG(WINAPI* ntDeleteKey)(HANDLE key);
    ULONG(WINAPI* ntStatusToError)(LONG status);
    void Load() noexcept;
};

inline const RegistryApi& Registry() noexcept {
    return DynamicApi<RegistryApi>::Get();
}

}  // namespace kiv

#endif
