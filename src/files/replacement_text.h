#ifndef KIV_FILES_REPLACEMENT_TEXT_H
#define KIV_FILES_REPLACEMENT_TEXT_H

#include <cstdint>
#include <string_view>

namespace kiv {

constexpr int kReplacementGroups = 10;  // the whole match and nine groups

// The text that a replacement text stands for; `groups` are the texts of the match and its groups, empty for one that
// took no part.
//
//     &        group 0                      \\       a backslash
//     \0 - \9  that group                   \&       an ampersand
//     \x       both characters, for any other x; a backslash at the end stands for itself
class ReplacementText {
public:
    ReplacementText(std::string_view replacement, const std::string_view (&groups)[kReplacementGroups]) noexcept
        : m_replacement(replacement), m_groups(groups) {}

    std::uint64_t Length() const noexcept;

    // Writes Length() characters, no terminator.
    void Write(char* dest) const noexcept;

private:
    template <class Sink>
    void ForEachPart(const Sink& sink) const noexcept;

    const std::string_view m_replacement;
    const std::string_view (&m_groups)[kReplacementGroups];
};

}  // namespace kiv

#endif
