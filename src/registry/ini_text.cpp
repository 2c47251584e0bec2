#include "registry/ini_text.h"

#include "support/ini_lines.h"

namespace kiv {
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
    for (IniLines lines(text); lines.Next();) {
        if (lines.IsHeader()) {
            sections.push_back({lines.Name(), {}});
        } else if (!sections.empty()) {
            std::u16string& entries = sections.back().entries;
            entries.append(lines.Name());
            if (lines.HasValue())
                entries.append(u"=").append(lines.Value());
            entries.push_back(u'\0');
        }
    }
    return sections;
}

}  // namespace kiv
