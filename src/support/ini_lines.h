#ifndef KIV_SUPPORT_INI_LINES_H
#define KIV_SUPPORT_INI_LINES_H

#include <string_view>

namespace kiv {

// The text without the blanks of INI files at its ends: space, tab, vertical tab, form feed, line ends, Ctrl-Z.
std::u16string_view TrimmedIniText(std::u16string_view text) noexcept;

// One line of an INI file at a time, as the system's profile calls read them:
//
//     [ Section ]          a header: the name up to the last "]" of the line; what follows it is ignored
//     name = value         split at the first "="
//     name                 a name without a value
//     ; comment            passed over, as empty lines are
//
// Blanks around lines, names and values do not count. Lines end at CR or LF, their text at the first NUL.
class IniLines {
public:
    explicit IniLines(std::u16string_view text) noexcept : m_rest(text) {}

    bool Next() noexcept;  // false at the end

    bool IsHeader() const noexcept { return m_isHeader; }
    bool HasValue() const noexcept { return m_hasValue; }
    std::u16string_view Name() const noexcept { return m_name; }    // of the section or the entry
    std::u16string_view Value() const noexcept { return m_value; }  // of an entry that has one

private:
    std::u16string_view TakeLine() noexcept;
    void Split(std::u16string_view line) noexcept;

    std::u16string_view m_rest;
    bool m_isHeader = false;
    bool m_hasValue = false;
    std::u16string_view m_name;
    std::u16string_view m_value;
};

}  // namespace kiv

#endif
