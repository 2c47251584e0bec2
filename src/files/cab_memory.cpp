#include "files/cab_memory.h"

#include <cstdlib>

namespace kiv {
namespace {

// In front of each block, which is aligned as the allocator aligns.
struct alignas(2 * sizeof(void*)) BlockHeader {
    std::size_t size;
};

constexpr std::size_t kSmallestKept = 4096;
constexpr std::size_t kLargestKept = std::size_t{256} * 1024;

BlockHeader* g_kept[8];  // each exchanged as a whole

BlockHeader* TakeOut(BlockHeader*& slot) noexcept {
    return __atomic_exchange_n(&slot, nullptr, __ATOMIC_ACQ_REL);
}

bool PutInto(BlockHeader*& slot, BlockHeader* block) noexcept {
    BlockHeader* empty = nullptr;
    return __atomic_compare_exchange_n(&slot, &empty, block, false, __ATOMIC_ACQ_REL, __ATOMIC_RELAXED);
}

void Keep(BlockHeader* block) noexcept {
    for (BlockHeader*& slot : g_kept) {
        if (PutInto(slot, block))
            return;
    }
    std::free(block);
}

BlockHeader* FindKept(std::size_t size) noexcept {
    for (BlockHeader*& slot : g_kept) {
        BlockHeader* const block = TakeOut(slot);
        if (block != nullptr && block->size == size)
            return block;
        if (block != nullptr)
            Keep(block);
    }
    return nullptr;
}

bool IsKeptSize(std::size_t size) noexcept {
    return size >= kSmallestKept && size <= kLargestKept;
}

}  // namespace

void* AllocateForCodec(std::size_t size) noexcept {
    BlockHeader* block = IsKeptSize(size) ? FindKept(size) : nullptr;
    if (block == nullptr)
        block = static_cast<BlockHeader*>(std::malloc(sizeof(BlockHeader) + size));
    if (block == nullptr)
        return nullptr;
    block->size = size;
    return block + 1;
}

void FreeForCodec(void* memory) noexcept {
    if (memory == nullptr)
        return;
    BlockHeader* const block = static_cast<BlockHeader*>(memory) - 1;
    if (IsKeptSize(block->size))
        Keep(block);
    else
        std::free(block);
}

void ReleaseCodecMemory() noexcept {
    for (BlockHeader*& slot : g_kept)
        std::free(TakeOut(slot));
}

}  // namespace kiv
