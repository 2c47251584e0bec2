#ifndef KIV_SUPPORT_HEAP_BUFFER_H
#define KIV_SUPPORT_HEAP_BUFFER_H

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

namespace kiv {

// Characters in a block from malloc that grows at its end, for contents of any size: nothing is filled before it is
// written, exhausted memory is an answer, and the block can be handed out.
template <class Char>
class HeapBuffer {
public:
    using View = std::basic_string_view<Char>;

    HeapBuffer() noexcept = default;
    ~HeapBuffer() { std::free(m_data); }
    HeapBuffer(const HeapBuffer&) = delete;
    HeapBuffer& operator=(const HeapBuffer&) = delete;

    Char* Data() noexcept { return m_data; }
    std::size_t Size() const noexcept { return m_size; }
    View Text() const noexcept { return {m_data, m_size}; }

    // Makes room for that many characters behind the ones that are there: exactly that the first time, more later.
    bool Reserve(std::size_t more) noexcept {
        if (more <= m_room - m_size)
            return true;
        constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / 2 / sizeof(Char);
        if (m_size > kMost || more > kMost - m_size)
            return false;
        const std::size_t room = m_size + more + m_size / 2;
        void* grown = std::realloc(m_data, room * sizeof(Char));
        if (grown == nullptr)
            return false;
        m_data = static_cast<Char*>(grown);
        m_room = room;
        return true;
    }

    bool Append(View text) noexcept {
        if (!Reserve(text.size()))
            return false;
        if (!text.empty())
            std::memcpy(m_data + m_size, text.data(), text.size() * sizeof(Char));
        m_size += text.size();
        return true;
    }

    // How many characters count; there is room for them.
    void SetSize(std::size_t size) noexcept { m_size = size; }

    // Hands out the block, to be freed with free.
    Char* Release() noexcept {
        Char* data = m_data;
        m_data = nullptr;
        m_size = m_room = 0;
        return data;
    }

private:
    Char* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_room = 0;
};

}  // namespace kiv

#endif
