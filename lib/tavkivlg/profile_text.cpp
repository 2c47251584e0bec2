#include "tavkivlg/profile_text.h"

#include <algorithm>
#include <cstring>

namespace kivlg {
namespace {

constexpr char16_t kCtrlZ = 0x1A;  // ended a text file once; some still carry it

constexpr bool IsLineEnd(char16_t c) noexcept {
    return c == u'\r' || c == u'\n';
}

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

// One line at a time that is a header or an entry; others are passed over.
class ProfileReader {
public:
    enum class Kind { kHeader, kEntry };

    explicit ProfileReader(std::u16string_view text) noexcept : m_rest(text) {}

    bool Next() noexcept {
        while (!m_rest.empty()) {
            const std::u16string_view line = Trimmed(TakeLine());
            if (!line.empty() && line.front() != u';' && (ReadHeader(line) || ReadEntry(line)))
                return true;
        }
        return false;
    }

    Kind GetKind() const noexcept { return m_kind; }
    std::u16string_view Name() const noexcept { return m_name; }    // of the section or the entry
    std::u16string_view Value() const noexcept { return m_value; }  // of an entry

private:
    std::u16string_view TakeLine() noexcept {
        std::size_t end = 0;
        while (end < m_rest.size() && !IsLineEnd(m_rest[end]))
            ++end;
        const std::u16string_view line = m_rest.substr(0, end);
        m_rest.remove_prefix(std::min(end + 1, m_rest.size()));
        return line;
    }

    bool ReadHeader(std::u16string_view line) noexcept {
        const std::size_t end = line.rfind(u']');
        if (line.front() != u'[' || end == std::u16string_view::npos)
            return false;
        m_kind = Kind::kHeader;
        m_name = Trimmed(line.substr(1, end - 1));
        return true;
    }

    bool ReadEntry(std::u16string_view line) noexcept {
        const std::size_t equals = line.find(u'=');
        if (equals == std::u16string_view::npos)
            return false;
        m_kind = Kind::kEntry;
        m_name = Trimmed(line.substr(0, equals));
        m_value = Trimmed(line.substr(equals + 1));
        return true;
    }

    std::u16string_view m_rest;
    Kind m_kind = Kind::kHeader;
    std::u16string_view m_name;
    std::u16string_view m_value;
};

// Calls `take` with the reader at each entry of the first section of that name, until it returns false.
template <class Take>
void ForEachEntry(std::u16string_view text, std::u16string_view section, SameName same, const Take& take) {
    const std::u16string_view wanted = Trimmed(section);
    ProfileReader reader(text);
    bool inside = wanted.empty();
    while (reader.Next()) {
        if (reader.GetKind() == ProfileReader::Kind::kHeader) {
            if (inside)
                return;
            inside = same(reader.Name(), wanted);
        } else if (inside && !take(reader)) {
            return;
        }
    }
}

}  // namespace

std::optional<std::u16string_view> FindProfileValue(std::u16string_view text, std::u16string_view section,
                                                    std::u16string_view name, SameName same) {
    std::optional<std::u16string_view> value;
    const std::u16string_view wanted = Trimmed(name);
    ForEachEntry(text, section, same, [&](const ProfileReader& entry) {
        if (same(entry.Name(), wanted))
            value = entry.Value();
        return !value;
    });
    return value;
}

std::vector<std::u16string_view> ProfileNames(std::u16string_view text, std::u16string_view section, SameName same) {
    std::vector<std::u16string_view> names;
    ForEachEntry(text, section, same, [&](const ProfileReader& entry) {
        if (!entry.Name().empty())
            names.push_back(entry.Name());
        return true;
    });
    return names;
}

std::vector<std::u16string_view> ProfileSections(std::u16string_view text) {
    std::vector<std::u16string_view> sections;
    ProfileReader reader(text);
    while (reader.Next()) {
        if (reader.GetKind() == ProfileReader::Kind::kHeader && !reader.Name().empty())
            sections.push_back(reader.Name());
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
