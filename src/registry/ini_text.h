#ifndef KIV_REGISTRY_INI_TEXT_H
#define KIV_REGISTRY_INI_TEXT_H

#include <string>
#include <string_view>
#include <vector>

namespace kiv {

// A line break in a section's, a key's or a value's text would make entries of its own in an INI file.
bool HasLineBreak(std::string_view text) noexcept;

// Walks over a list of texts that each end with a NUL, as the system gives the sections of an INI file and the entries
// of a section. Empty texts are passed over; a last text without its NUL counts.
class TextList {
public:
    explicit TextList(std::string_view list) noexcept : m_rest(list) {}

    bool Next(std::string_view& text) noexcept;  // false at the end

private:
    std::string_view m_rest;
};

struct IniEntry {
    std::string_view name;
    std::string_view value;
};

// Splits at the first "="; false when there is none.
//
//     a=b=c    a  b=c        =b    (empty)  b
//     a=       a  (empty)    a     no entry
bool SplitEntry(std::string_view line, IniEntry& entry) noexcept;

struct IniSection {
    std::u16string_view name;
    std::u16string entries;  // each with a NUL behind it: "a=1\0b=2\0"
};

// The sections of an INI file, in file order, with the entries that the system's own call would give for each: for
// files in an encoding that this call does not understand on every release. The names point into `text`.
//
// A name without a value is an entry too; what stands before the first header is left out. See support/ini_lines.h for
// how lines are read.
std::vector<IniSection> ParseIniText(std::u16string_view text);

}  // namespace kiv

#endif
