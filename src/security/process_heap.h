#ifndef KIV_SECURITY_PROCESS_HEAP_H
#define KIV_SECURITY_PROCESS_HEAP_H

#include "support/windows_api.h"

#include <cstddef>

#include "support/scoped_resource.h"

namespace kiv {

// A block of the process heap, where the exported classes and functions keep security data; it is filled with zeros.
// Null, with last error 8, when memory is exhausted.
inline void* AllocateHeapBlock(std::size_t size) noexcept {
    void* block = ::HeapAlloc(::GetProcessHeap(), HEAP_ZERO_MEMORY, size);
    if (block == nullptr)
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return block;
}

struct HeapBlockTraits {
    using Type = void*;
    static Type Empty() { return nullptr; }
    static void Close(Type block) { ::HeapFree(::GetProcessHeap(), 0, block); }
};
using ScopedHeapBlock = ScopedResource<HeapBlockTraits>;

// Frees a block and makes its owner's field null; the last error stays.
template <class Record>
void FreeHeapBlock(Record*& field) noexcept {
    ScopedHeapBlock(field).Reset();
    field = nullptr;
}

}  // namespace kiv

#endif
