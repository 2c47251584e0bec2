#ifndef KIV_SUPPORT_SCOPED_RESOURCE_H
#define KIV_SUPPORT_SCOPED_RESOURCE_H

#include "support/windows_api.h"

namespace kiv {

// Keeps the thread's last error over the calls of a scope: clean-up and logging must not change what a caller reads.
class LastErrorKeeper {
public:
    LastErrorKeeper() noexcept : m_error(::GetLastError()) {}
    ~LastErrorKeeper() { ::SetLastError(m_error); }
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

private:
    DWORD m_error;
};

// The one owner of a handle. Traits tell the type, the empty value and how to close. Closing keeps the last error.
// For locals and internal fields; ownership leaves by Release.
template <class Traits>
class ScopedResource {
public:
    using Type = typename Traits::Type;

    ScopedResource() noexcept = default;
    explicit ScopedResource(Type resource) noexcept : m_resource(resource) {}
    ScopedResource(ScopedResource&& other) noexcept : m_resource(other.Release()) {}
    ScopedResource& operator=(ScopedResource&& other) noexcept {
        if (this != &other)
            Reset(other.Release());
        return *this;
    }
    ScopedResource(const ScopedResource&) = delete;
    ScopedResource& operator=(const ScopedResource&) = delete;
    ~ScopedResource() { Reset(); }

    Type Get() const noexcept { return m_resource; }
    explicit operator bool() const noexcept { return m_resource != Traits::Empty(); }

    void Reset(Type resource = Traits::Empty()) noexcept {
        const Type old = m_resource;
        m_resource = resource;
        if (old != Traits::Empty()) {
            const LastErrorKeeper keeper;
            Traits::Close(old);
        }
    }

    Type Release() noexcept {
        const Type resource = m_resource;
        m_resource = Traits::Empty();
        return resource;
    }

    // For calls that return a resource through a pointer; what was owned before is closed.
    Type* Receive() noexcept {
        Reset();
        return &m_resource;
    }

private:
    Type m_resource = Traits::Empty();
};

struct FileTraits {
    using Type = HANDLE;
    static Type Empty() { return INVALID_HANDLE_VALUE; }
    static void Close(Type file) { ::CloseHandle(file); }
};
using ScopedFile = ScopedResource<FileTraits>;

struct KernelObjectTraits {
    using Type = HANDLE;
    static Type Empty() { return nullptr; }
    static void Close(Type object) { ::CloseHandle(object); }
};
using ScopedKernelObject = ScopedResource<KernelObjectTraits>;

struct FileSearchTraits {
    using Type = HANDLE;
    static Type Empty() { return INVALID_HANDLE_VALUE; }
    static void Close(Type search) { ::FindClose(search); }
};
using ScopedFileSearch = ScopedResource<FileSearchTraits>;

struct RegistryKeyTraits {
    using Type = HKEY;
    static Type Empty() { return nullptr; }
    static void Close(Type key) { ::RegCloseKey(key); }
};
using ScopedRegistryKey = ScopedResource<RegistryKeyTraits>;

struct LocalBlockTraits {
    using Type = void*;
    static Type Empty() { return nullptr; }
    static void Close(Type block) { ::LocalFree(block); }
};
using ScopedLocalBlock = ScopedResource<LocalBlockTraits>;

}  // namespace kiv

#endif
