#include "registry/ini_file_lists.h"

#include <algorithm>

#include "registry/ini_text.h"
#include "support/ascii.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"
#include "support/text_convert.h"
#include "support/text_encoding.h"
#include "tavkivlg/tavkivlg.h"

namespace kiv {
namespace {

// More than this the profile calls of the 9x family do not take.
constexpr std::size_t kLargestBuffer9x = 32767;
constexpr std::size_t kLargestBuffer = 0x3FFFFFFF;

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        c = ToLower(c);
    return lower;
}

bool ReadWhole(HANDLE file, std::string& bytes) {
    const DWORD size = ::GetFileSize(file, nullptr);
    if (size == INVALID_FILE_SIZE || size > kLargestBuffer)
        return false;
    bytes.resize(size);
    DWORD read = 0;
    return ::ReadFile(file, bytes.data(), size, &read, nullptr) && read == size;
}

std::string ToAnsi(std::u16string_view text) {
    return AnsiFromWide(std::wstring(text.begin(), text.end()));
}

}  // namespace

IniFileLists::IniFileLists(const char* path, std::size_t fileSize) : m_path(path) {
    m_read = ReadMarkedFile();
    if (!m_marked)
        m_buffer.resize(std::min(fileSize, kLargestBuffer - 8) + 8);
}

// False for a file that cannot be opened or, where it has a mark, not be read whole.
bool IniFileLists::ReadMarkedFile() {
    const ScopedFile file(
        ::CreateFileA(m_path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file || KivGetFileEncoding(file.Get()) == static_cast<unsigned long>(TextEncoding::kCodePage))
        return static_cast<bool>(file);
    m_marked = true;
    std::string bytes;
    if (!ReadWhole(file.Get(), bytes))
        return false;
    const std::u16string text = DecodeMarkedText(bytes);
    for (const IniSection& section : ParseIniText(text)) {
        m_sections.push_back({ToAnsi(section.name), ToAnsi(section.entries)});
        m_byName.emplace(LowerCase(m_sections.back().name), m_sections.size() - 1);
    }
    return true;
}

// One of the system's calls with a buffer that holds its whole answer. A cut answer is two characters shorter than the
// buffer; a file in the system code page fits at once, since no list is longer than the file.
template <class Call>
std::string_view IniFileLists::Ask(const Call& call) {
    const std::size_t limit = IsNtFamily() ? kLargestBuffer : kLargestBuffer9x;
    for (;;) {
        const std::size_t size = std::min(m_buffer.size(), limit);
        const std::size_t length = call(m_buffer.data(), static_cast<DWORD>(size));
        if (length + 2 < size || size == limit)
            return {m_buffer.data(), std::min(length, size)};
        m_buffer.resize(std::min(m_buffer.size() * 2, limit));
    }
}

std::string IniFileLists::SectionNames() {
    if (!m_marked)
        return std::string(
            Ask([this](char* buffer, DWORD size) { return ::GetPrivateProfileSectionNamesA(buffer, size, m_path); }));
    std::string names;
    for (const MarkedSection& section : m_sections)
        names.append(section.name).push_back('\0');
    return names;
}

std::string_view IniFileLists::Entries(const std::string& section) {
    if (!m_marked)
        return Ask([this, &section](char* buffer, DWORD size) {
            return ::GetPrivateProfileSectionA(section.c_str(), buffer, size, m_path);
        });
    const auto found = m_byName.find(LowerCase(section));
    return found == m_byName.end() ? std::string_view() : std::string_view(m_sections[found->second].entries);
}

}  // namespace kiv
