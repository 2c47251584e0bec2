#ifndef KIVLG_TEXT_BUFFER_H
#define KIVLG_TEXT_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace kivlg {

// Text that grows at its end, however long, and never throws. A text of ordinary length needs no heap: lines are
// written while the process goes down too, when a thread that was ended may have left the heap locked. What no memory
// is left for is dropped.
class TextBuffer {
public:
    // cppcheck-suppress uninitMemberVar ; the size tells how much of the array is set
    TextBuffer() noexcept = default;
    ~TextBuffer() {
        if (m_data != m_inline)
            std::free(m_data);
    }
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;

    std::string_view View() const noexcept { return {m_data, m_size}; }

    void Append(char c) noexcept { Append(std::string_view(&c, 1)); }

    void Append(std::string_view text) noexcept {
        if (Reserve(text.size())) {
            std::memcpy(m_data + m_size, text.data(), text.size());
            m_size += text.size();
        }
    }

    void Append(std::size_t count, char c) noexcept {
        if (Reserve(count)) {
            std::memset(m_data + m_size, c, count);
            m_size += count;
        }
    }

    // Decimal, with leading zeros up to that many digits.
    void AppendNumber(std::uint32_t number, std::size_t leastDigits = 1) noexcept {
        char digits[10];
        std::size_t at = sizeof digits;
        do {
            digits[--at] = static_cast<char>('0' + number % 10);
            number /= 10;
        } while (number != 0 || sizeof digits - at < leastDigits);
        Append({digits + at, sizeof digits - at});
    }

private:
    bool Reserve(std::size_t more) noexcept {
        if (more <= m_capacity - m_size)
            return true;
        if (more > static_cast<std::size_t>(-1) / 4 - m_size)
            return false;
        const std::size_t capacity = 2 * (m_size + more);
        char* data = static_cast<char*>(std::realloc(m_data == m_inline ? nullptr : m_data, capacity));
        if (data == nullptr)
            return false;
        if (m_data == m_inline)
            std::memcpy(data, m_inline, m_size);
        m_data = data;
        m_capacity = capacity;
        return true;
    }

    char m_inline[1024];
    char* m_data = m_inline;
    std::size_t m_size = 0;
    std::size_t m_capacity = sizeof m_inline;
};

}  // namespace kivlg

#endif
