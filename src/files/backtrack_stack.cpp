#include "files/backtrack_stack.h"

#include <cstdlib>

namespace kiv {

struct BacktrackStack::Block {
    static constexpr std::size_t kEntries = 32 * 1024 - 4;  // a little less than 256 KB
    Block* below;
    Entry entries[kEntries];
};

void BacktrackStack::Release() noexcept {
    std::free(m_spare);
    while (m_block != nullptr) {
        Block* const below = m_block->below;
        std::free(m_block);
        m_block = below;
    }
}

bool BacktrackStack::Grow() noexcept {
    Block* const block = m_spare != nullptr ? m_spare : static_cast<Block*>(std::malloc(sizeof(Block)));
    if (block == nullptr)
        return false;
    m_spare = nullptr;
    block->below = m_block;
    m_block = block;
    m_begin = m_top = block->entries;
    m_end = m_begin + Block::kEntries;
    return true;
}

void BacktrackStack::Shrink() noexcept {
    std::free(m_spare);
    m_spare = m_block;
    m_block = m_block->below;
    m_begin = m_block != nullptr ? m_block->entries : m_own;
    m_end = m_block != nullptr ? m_begin + Block::kEntries : m_begin + kOwn;
    m_top = m_end;
}

}  // namespace kiv
