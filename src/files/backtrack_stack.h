#ifndef KIV_FILES_BACKTRACK_STACK_H
#define KIV_FILES_BACKTRACK_STACK_H

#include <cstddef>
#include <cstdint>

namespace kiv {

// What the matcher comes back to when a way through a pattern fails. The first entries lie in the object itself, the
// others in blocks that are never moved, so a stack of hundreds of megabytes needs no second copy to grow.
class BacktrackStack {
public:
    enum Kind : unsigned {
        kSlot,    // an old value of a slot, to be put back
        kChoice,  // a step to go on with
        kRepeat,  // a repetition to be tried shorter; its shortest end is the entry below
        kLow
    };

    // A kind, the number of a step or slot, and a position, in 64 bits: 2, 14 and 48 of them.
    struct Entry {
        std::uint64_t bits;

        static Entry Of(Kind kind, std::size_t index, std::size_t position) noexcept {
            return {kind | static_cast<std::uint64_t>(index) << 2 | static_cast<std::uint64_t>(position) << 16};
        }
        Kind What() const noexcept { return static_cast<Kind>(bits & 3); }
        std::size_t Index() const noexcept { return static_cast<std::size_t>(bits >> 2 & 0x3FFF); }
        std::size_t Position() const noexcept { return static_cast<std::size_t>(bits >> 16); }
    };

    // Entries are written before they are read.
    // cppcheck-suppress uninitMemberVar
    BacktrackStack() noexcept : m_top(m_own), m_begin(m_own), m_end(m_own + kOwn) {}
    ~BacktrackStack() {
        if (m_block != nullptr || m_spare != nullptr)
            Release();
    }
    BacktrackStack(const BacktrackStack&) = delete;
    BacktrackStack& operator=(const BacktrackStack&) = delete;

    std::size_t Size() const noexcept { return m_size; }

    // False when memory is exhausted.
    bool Push(Entry entry) noexcept {
        if (m_top == m_end && !Grow())
            return false;
        *m_top++ = entry;
        ++m_size;
        return true;
    }

    Entry Pop() noexcept {
        if (m_top == m_begin)
            Shrink();
        --m_size;
        return *--m_top;
    }

private:
    struct Block;
    static constexpr std::size_t kOwn = 128;

    bool Grow() noexcept;
    void Shrink() noexcept;
    void Release() noexcept;

    Entry* m_top;
    Entry* m_begin;
    Entry* m_end;
    std::size_t m_size = 0;
    Block* m_block = nullptr;  // null: the object's own entries
    Block* m_spare = nullptr;  // the block left last, for the next growth
    Entry m_own[kOwn];
};

}  // namespace kiv

#endif
