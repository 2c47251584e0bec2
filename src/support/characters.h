#ifndef KIV_SUPPORT_CHARACTERS_H
#define KIV_SUPPORT_CHARACTERS_H

#include <cstddef>
#include <string_view>

namespace kiv {

// Walks over 8-bit text by characters. A byte such as "\" can be the second one of a two-byte character; the caller
// says which bytes begin one in the code page of the text. A lead byte at the very end stands alone.
using LeadByteTest = bool (*)(unsigned char byte);

// How many bytes the character at `at` has.
inline std::size_t CharacterSize(std::string_view text, std::size_t at, LeadByteTest isLead) noexcept {
    return at + 1 < text.size() && isLead(static_cast<unsigned char>(text[at])) ? 2 : 1;
}

// Calls `visit` with the first place and the size of every character, until it gives false.
template <class Visit>
void VisitCharacters(std::string_view text, LeadByteTest isLead, const Visit& visit) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t size = CharacterSize(text, at, isLead);
        if (!visit(at, size))
            return;
        at += size;
    }
}

// Where the last "\" stands; npos when there is none.
inline std::size_t LastBackslash(std::string_view path, LeadByteTest isLead) noexcept {
    std::size_t last = std::string_view::npos;
    VisitCharacters(path, isLead, [&](std::size_t at, std::size_t) {
        if (path[at] == '\\')
            last = at;
        return true;
    });
    return last;
}

// The path without one "\" at its end.
inline std::string_view WithoutTrailingBackslash(std::string_view path, LeadByteTest isLead) noexcept {
    const std::size_t last = LastBackslash(path, isLead);
    return last + 1 == path.size() ? path.substr(0, last) : path;
}

}  // namespace kiv

#endif
