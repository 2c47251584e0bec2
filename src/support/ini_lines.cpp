#include "support/ini_lines.h"

namespace kiv {
namespace {

constexpr char16_t kCtrlZ = 0x1A;  // ended a text file once; some still carry it

constexpr bool IsBlank(char16_t c) noexcept {
    return c == u' ' || (c >= u'\t' && c <= u'\r') || c == kCtrlZ;
}

}  // namespace

std::u16string_view TrimmedIniText(std::u16string_view text) noexcept {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool IniLines::Next() noexcept {
    while (!m_rest.empty()) {
        const std::u16string_view line = TakeLine();
        if (!line.empty() && line.front() != u';') {
            Split(line);
            return true;
        }
    }
    return false;
}

std::u16string_view IniLines::TakeLine() noexcept {
    const std::size_t end = m_rest.find_first_of(u"\r\n");
    const std::u16string_view line = m_rest.substr(0, end);
    m_rest.remove_prefix(end == std::u16string_view::npos ? m_rest.size() : end + 1);
    return TrimmedIniText(line.substr(0, line.find(u'\0')));
}

void IniLines::Split(std::u16string_view line) noexcept {
    const std::size_t nameEnd = line.front() == u'[' ? line.rfind(u']') : std::u16string_view::npos;
    const std::size_t equals = line.find(u'=');
    m_isHeader = nameEnd != std::u16string_view::npos;
    m_hasValue = !m_isHeader && equals != std::u16string_view::npos;
    m_name = TrimmedIniText(m_isHeader ? line.substr(1, nameEnd - 1) : line.substr(0, equals));
    m_value = m_hasValue ? TrimmedIniText(line.substr(equals + 1)) : std::u16string_view();
}

}  // namespace kiv
