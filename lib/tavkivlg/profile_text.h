#ifndef KIVLG_PROFILE_TEXT_H
#define KIVLG_PROFILE_TEXT_H

#include <optional>
#include <string_view>
#include <vector>

namespace kivlg {

// The text of an INI file, as the system's profile calls read it; see support/ini_lines.h for its lines. A name without
// a value is not an entry. Names compare by `same`. Of sections and of entries with one name the first counts; entries
// above the first header belong to the section "".
using SameName = bool (*)(std::u16string_view a, std::u16string_view b);

// The value with its quotes, or nothing when there is no such entry. Blanks around the wanted names do not count.
std::optional<std::u16string_view> FindProfileValue(std::u16string_view text, std::u16string_view section,
                                                    std::u16string_view name, SameName same);

// The names of the entries of a section, in the order of the file.
std::vector<std::u16string_view> ProfileNames(std::u16string_view text, std::u16string_view section, SameName same);

// The names of the sections, in the order of the file, as often as they occur.
std::vector<std::u16string_view> ProfileSections(std::u16string_view text);

// A value, or a default, without the pair of quotes around it.
template <class Character>
std::basic_string_view<Character> WithoutQuotes(std::basic_string_view<Character> value) noexcept {
    const bool quoted =
        value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.front() == value.back();
    return quoted ? value.substr(1, value.size() - 2) : value;
}

// A default without the blanks at its end.
std::string_view WithoutTrailingSpaces(std::string_view text) noexcept;

// Copies a text into a buffer of `size` characters (at least 1), cut and terminated. Returns the number of characters
// copied; size - 1 may mean that it was cut.
std::size_t CopyProfileText(char* buffer, std::size_t size, std::string_view text) noexcept;

// A list of texts, each with its NUL, on its way into a buffer of `size` characters (at least 1).
class ProfileListWriter {
public:
    ProfileListWriter(char* buffer, std::size_t size) noexcept : m_buffer(buffer), m_size(size) {}

    void Add(std::string_view text) noexcept;

    // Writes the NUL that ends the list. Returns the number of characters in front of it; size - 2 when the list was
    // cut.
    std::size_t Finish() noexcept;

private:
    char* m_buffer;
    std::size_t m_size;
    std::size_t m_used = 0;
    bool m_cut = false;
};

}  // namespace kivlg

#endif
