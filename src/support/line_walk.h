#ifndef KIV_SUPPORT_LINE_WALK_H
#define KIV_SUPPORT_LINE_WALK_H

#include <cstddef>
#include <string_view>

namespace kiv {

template <class Char>
constexpr bool IsLineBreak(Char c) noexcept {
    return c == Char{'\r'} || c == Char{'\n'};
}

// Where the next CR or LF stands; the text's size without one.
template <class Char>
constexpr std::size_t FindLineBreak(std::basic_string_view<Char> text, std::size_t from = 0) noexcept {
    while (from < text.size() && !IsLineBreak(text[from]))
        ++from;
    return from;
}

// Walks over the lines of a file. CR, LF, CR LF and LF CR each end one; what stands behind the last of them is a line
// unless it is empty.
//
//     a CR LF LF b     a  (empty)  b
//     a LF CR CR       a  (empty)
template <class Char>
class LineWalk {
public:
    using View = std::basic_string_view<Char>;

    explicit LineWalk(View text) noexcept : m_rest(text) {}

    // False at the end. What ends the line is not looked at again.
    bool Next(View& line) noexcept {
        if (m_rest.empty())
            return false;
        const std::size_t end = FindLineBreak(m_rest);
        line = m_rest.substr(0, end);
        m_rest.remove_prefix(end);
        const bool pair = m_rest.size() > 1 && IsLineBreak(m_rest[1]) && m_rest[0] != m_rest[1];
        m_rest.remove_prefix(pair ? 2 : m_rest.empty() ? 0 : 1);
        return true;
    }

private:
    View m_rest;
};

}  // namespace kiv

#endif
