#include "tavkivlg/profile_text.h"

#include <algorithm>
#include <cstring>

#include "support/ini_lines.h"

namespace kivlg {
namespace {

// Calls `take` with the lines at each entry of the first section of that name, until it returns false.
template <class Take>
void ForEachEntry(std::u16string_view text, std::u16string_view section, SameName same, const Take& take) {
    const std::u16string_view wanted = kiv::TrimmedIniText(section);
    bool inside = wanted.empty();
    for (kiv::IniLines lines(text); lines.Next();) {
        if (lines.IsHeader()) {
            if (inside)
                return;
            inside = same(lines.Name(), wanted);
        } else if (inside && lines.HasValue() && !take(lines)) {
            return;
        }
    }
}

}  // namespace

std::optional<std::u16string_view> FindProfileValue(std::u16string_view text, std::u16string_view section,
                                                    std::u16string_view name, SameName same) {
    std::optional<std::u16string_view> value;
    const std::u16string_view wanted = kiv::TrimmedIniText(name);
    ForEachEntry(text, section, same, [&](const kiv::IniLines& entry) {
        if (same(entry.Name(), wanted))
            value = entry.Value();
        return !value;
    });
    return value;
}

std::vector<std::u16string_view> ProfileNames(std::u16string_view text, std::u16string_view section, SameName same) {
    std::vector<std::u16string_view> names;
    ForEachEntry(text, section, same, [&](const kiv::IniLines& entry) {
        if (!entry.Name().empty())
            names.push_back(entry.Name());
        return true;
    });
    return names;
}

std::vector<std::u16string_view> ProfileSections(std::u16string_view text) {
    std::vector<std::u16string_view> sections;
    for (kiv::IniLines lines(text); lines.Next();) {
        if (lines.IsHeader() && !lines.Name().empty())
            sections.push_back(lines.Name());
    }
    return sections;
}

std::string_view WithoutTrailingSpaces(std::string_view text) noexcept {
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

std::size_t CopyProfileText(char* buffer, std::size_t size, std::string_view text) noexcept {
    const std::size_t copied = std::min(text.size(), size - 1);
    std::memmove(buffer, text.data(), copied);
    buffer[copied] = '\0';
    return copied;
}

void ProfileListWriter::Add(std::string_view text) noexcept {
    if (m_cut)
        return;
    if (text.size() + 2 <= m_size - m_used) {
        std::memcpy(m_buffer + m_used, text.data(), text.size());
        m_used += text.size();
        m_buffer[m_used++] = '\0';
        return;
    }
    const std::size_t most = m_size < 2 ? 0 : m_size - 2;
    if (m_used < most)
        std::memcpy(m_buffer + m_used, text.data(), std::min(text.size(), most - m_used));
    m_used = most;
    m_cut = true;
}

std::size_t ProfileListWriter::Finish() noexcept {
    std::memset(m_buffer + m_used, '\0', std::min<std::size_t>(m_size - m_used, 2));
    return m_used;
}

}  // namespace kivlg
