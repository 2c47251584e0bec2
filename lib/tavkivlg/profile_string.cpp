#include <new>
#include <string>

#include "files/path_text.h"
#include "support/ascii.h"
#include "support/code_page.h"
#include "support/scoped_resource.h"
#include "support/text_convert.h"
#include "support/text_encoding.h"
#include "tavkivlg/profile_text.h"
#include "tavkivlg/tavkivlg.h"

namespace kivlg {
namespace {

constexpr DWORD kLargestProfile = 64 * 1024 * 1024;

std::u16string Utf16FromAnsi(std::string_view text) {
    const std::wstring wide = kiv::WideFromAnsi(text);
    return {wide.begin(), wide.end()};
}

// In the code page, up to the first NUL: what is behind one could not be told from the next text of a list.
std::string AnsiFromUtf16(std::u16string_view text) {
    text = text.substr(0, text.find(u'\0'));
    return kiv::AnsiFromWide(std::wstring(text.begin(), text.end()));
}

// In upper case by the rules of the code page; a character that it lacks stays. Windows 95 has no such call for UTF-16.
char16_t ToUpper(char16_t c) {
    const std::string narrow = AnsiFromUtf16({&c, 1});
    std::string upper = narrow;
    const int length = static_cast<int>(narrow.size());
    if (Utf16FromAnsi(narrow) != std::u16string_view(&c, 1) ||
        ::LCMapStringA(LOCALE_SYSTEM_DEFAULT, LCMAP_UPPERCASE, narrow.data(), length, upper.data(), length) != length)
        return c;
    const std::u16string wide = Utf16FromAnsi(upper);
    return wide.size() == 1 ? wide[0] : c;
}

bool SameCharacter(char16_t a, char16_t b) {
    if (a < 0x80 && b < 0x80)
        return kiv::ToLower(static_cast<char>(a)) == kiv::ToLower(static_cast<char>(b));
    return a == b || (a >= 0x80 && b >= 0x80 && ToUpper(a) == ToUpper(b));
}

bool SameProfileName(std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (!SameCharacter(a[i], b[i]))
            return false;
    }
    return true;
}

// A bare name stands for a file in the Windows folder, as for the system call. Empty: too long, or no name.
std::string ProfilePath(const char* fileName) {
    const std::string_view name = fileName == nullptr ? "" : fileName;
    const bool bare =
        name.find(':') == std::string_view::npos && kiv::NextSeparator(name, 0, kiv::IsAnsiLeadByte) == name.size();
    if (!bare || name.empty())
        return std::string(name);
    char folder[MAX_PATH];
    const UINT length = ::GetWindowsDirectoryA(folder, sizeof folder);
    return length == 0 || length >= sizeof folder ? "" : std::string(folder, length) + "\\" + std::string(name);
}

bool ReadExactly(HANDLE file, std::string& bytes) {
    DWORD read = 0;
    return ::ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) && read == bytes.size();
}

// The text of a file that has a byte-order mark. False for any other, and for one that cannot be read.
bool ReadMarkedFile(const char* fileName, std::u16string& text) {
    const kiv::ScopedFile file(::CreateFileA(ProfilePath(fileName).c_str(), GENERIC_READ,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file || KivGetFileEncoding(file.Get()) == static_cast<unsigned long>(kiv::TextEncoding::kCodePage))
        return false;
    const DWORD size = ::GetFileSize(file.Get(), nullptr);
    if (size > kLargestProfile)
        return false;
    std::string bytes(size, '\0');
    if (!ReadExactly(file.Get(), bytes))
        return false;
    text = kiv::DecodeMarkedText(bytes);
    return true;
}

std::size_t CopyDefault(const char* defaultText, char* buffer, std::size_t size) noexcept {
    const std::string_view text = defaultText == nullptr ? "" : defaultText;
    return CopyProfileText(buffer, size, WithoutQuotes(WithoutTrailingSpaces(text)));
}

std::size_t CopyList(const std::vector<std::u16string_view>& names, char* buffer, std::size_t size) {
    ProfileListWriter list(buffer, size);
    for (const std::u16string_view name : names)
        list.Add(AnsiFromUtf16(name));
    return list.Finish();
}

// The answer from the text of a file; the shapes are those of the system call.
std::size_t CopyFromText(std::u16string_view text, const char* section, const char* key, const char* defaultText,
                         char* buffer, std::size_t size) {
    if (section == nullptr)
        return CopyList(ProfileSections(text), buffer, size);
    const std::u16string sectionName = Utf16FromAnsi(section);
    if (key == nullptr) {
        const auto names = ProfileNames(text, sectionName, SameProfileName);
        return names.empty() ? CopyDefault(defaultText, buffer, size) : CopyList(names, buffer, size);
    }
    const auto value = FindProfileValue(text, sectionName, Utf16FromAnsi(key), SameProfileName);
    return value ? CopyProfileText(buffer, size, AnsiFromUtf16(WithoutQuotes(*value)))
                 : CopyDefault(defaultText, buffer, size);
}

}  // namespace
}  // namespace kivlg

unsigned long KIVLG_CALL KivGetPrivateProfileStringA(const char* section, const char* key, const char* defaultText,
                                                     char* buffer, unsigned long size, const char* fileName) {
    const kiv::LastErrorKeeper keeper;
    if (buffer == nullptr || size == 0)
        return 0;
    try {
        std::u16string text;
        if (kivlg::ReadMarkedFile(fileName, text)) {
            return static_cast<unsigned long>(kivlg::CopyFromText(text, section, key, defaultText, buffer, size));
        }
    } catch (const std::bad_alloc&) {
        return static_cast<unsigned long>(kivlg::CopyDefault(defaultText, buffer, size));
    }
    return ::GetPrivateProfileStringA(section, key, defaultText, buffer, size, fileName);
}
