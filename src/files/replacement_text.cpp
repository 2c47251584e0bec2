#include "files/replacement_text.h"

#include "support/ascii.h"

namespace kiv {

// Hands over, in order, the pieces that the text is put together from.
template <class Sink>
void ReplacementText::ForEachPart(const Sink& sink) const noexcept {
    std::size_t at = 0;
    while (at < m_replacement.size()) {
        const std::size_t special = m_replacement.find_first_of("&\\", at);
        sink(m_replacement.substr(at, special - at));
        if (special == std::string_view::npos)
            return;
        const char escaped = special + 1 < m_replacement.size() ? m_replacement[special + 1] : '\0';
        at = special + 2;
        if (m_replacement[special] == '&') {
            sink(m_groups[0]);
            at = special + 1;
        } else if (IsDigit(escaped)) {
            sink(m_groups[escaped - '0']);
        } else if (escaped == '\\' || escaped == '&') {
            sink(m_replacement.substr(special + 1, 1));
        } else {
            sink(m_replacement.substr(special, 1));
            at = special + 1;
        }
    }
}

std::uint64_t ReplacementText::Length() const noexcept {
    std::uint64_t length = 0;
    ForEachPart([&length](std::string_view part) { length += part.size(); });
    return length;
}

void ReplacementText::Write(char* dest) const noexcept {
    char* at = dest;
    ForEachPart([&at](std::string_view part) { at += part.copy(at, part.size()); });
}

}  // namespace kiv
