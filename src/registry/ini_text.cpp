#include "registry/ini_text.h"

namespace kiv {
namespace {

constexpr char16_t kCtrlZ = 0x1A;  // ended a text file once; some still carry it

constexpr bool IsBlank(char16_t c) noexcept {
    return c == u' ' || (c >= u'\t' && c <= u'\r') || c == kCtrlZ;
}

std::u16string_view Trimmed(std::u16string_view text) noexcept {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::u16string_view TakeLine(std::u16string_view& rest) noexcept {
    const std::size_t end = rest.find_first_of(u"\r\n");
    const std::u16string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::u16string_view::npos ? rest.size() : end + 1);
    return Trimmed(line);
}

// A NUL would end the entry in a list of entries: the rest of the line is dropped.
std::u16string_view BeforeNul(std::u16string_view text) noexcept {
    return text.substr(0, text.find(u'\0'));
}

void AppendEntry(std::u16string_view line, std::u16string& entries) {
    const std::size_t mark = line.find(u'=');
    entries.append(Trimmed(line.substr(0, mark)));
    if (mark != std::u16string_view::npos)
        entries.append(u"=").append(Trimmed(line.substr(mark + 1)));
    entries.push_back(u'\0');
}

}  // namespace

bool HasLineBreak(std::string_view text) noexcept {
    return text.find_first_of("\r\n") != std::string_view::npos;
}

bool TextList::Next(std::string_view& text) noexcept {
    while (!m_rest.empty()) {
        const std::size_t end = m_rest.find('\0');
        text = m_rest.substr(0, end);
        m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
        if (!text.empty())
            return true;
    }
    return false;
}

bool SplitEntry(std::string_view line, IniEntry& entry) noexcept {
    const std::size_t mark = line.find('=');
    if (mark == std::string_view::npos)
        return false;
    entry = {line.substr(0, mark), line.substr(mark + 1)};
    return true;
}

std::vector<IniSection> ParseIniText(std::u16string_view text) {
    std::vector<IniSection> sections;
    while (!text.empty()) {
        const std::u16string_view line = BeforeNul(TakeLine(text));
        if (line.empty() || line.front() == u';')
            continue;
        const std::size_t nameEnd = line.front() == u'[' ? line.rfind(u']') : std::u16string_view::npos;
        if (nameEnd != std::u16string_view::npos)
            sections.push_back({Trimmed(line.substr(1, nameEnd - 1)), {}});
        else if (!sections.empty())
            AppendEntry(line, sections.back().entries);
    }
    return sections;
}

}  // namespace kiv
