#include "registry/shared_key.h"

#include <new>

#include "support/scoped_resource.h"

KivSharedKey* KivSharedKey::Make(HKEY handle) noexcept {
    kiv::ScopedRegistryKey owned(handle);
    auto* shared = new (std::nothrow) KivSharedKey{handle, 1};
    if (shared != nullptr)
        owned.Release();
    return shared;
}

KivSharedKey* KivSharedKey::Use(KivSharedKey* shared) noexcept {
    if (shared != nullptr)
        __atomic_add_fetch(&shared->users, 1, __ATOMIC_RELAXED);
    return shared;
}

void KivSharedKey::Release(KivSharedKey*& shared) noexcept {
    KivSharedKey* const released = shared;
    shared = nullptr;
    if (released == nullptr || __atomic_sub_fetch(&released->users, 1, __ATOMIC_ACQ_REL) > 0)
        return;
    const kiv::ScopedRegistryKey closing(released->handle);
    delete released;
}
