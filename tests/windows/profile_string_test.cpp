#include <cstring>
#include <string>

#include "support/check.h"
#include "support/real_log.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"
#include "support/text_convert.h"

using kiv::test::RealLog;
using kiv::test::TempDirectory;

namespace {

std::string Utf16(const std::wstring& text, bool bigEndian) {
    std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const wchar_t c : text) {
        const char pair[] = {static_cast<char>(c & 0xFF), static_cast<char>(c >> 8)};
        bytes += {pair[bigEndian], pair[!bigEndian]};
    }
    return bytes;
}

// What a call leaves in a buffer of that size, as far as the result counts, and the result.
template <class Call>
std::string Ask(const Call& call, const char* section, const char* key, const char* defaultText, unsigned long size,
                const std::string& file) {
    std::string buffer(size + 1, '#');
    const unsigned long result = call(section, key, defaultText, buffer.data(), size, file.c_str());
    REQUIRE(result <= size);
    CHECK(buffer[size] == '#');
    return buffer.substr(0, result) + "|" + std::to_string(result);
}

}  // namespace

TEST_CASE("an INI file in any encoding is read as the system reads a plain one") {
    const std::string text =
        "top=0\r\n[ One ] rest\r\n a = 1 = x \r\nq=\"a b\"\r\ns='a\" b'\r\nhalf=\"a\r\n;no=1\r\nlone\r\n"
        "empty=\r\n[Two]\nB=2\n\n[one]\nc=3\n[open\nd=4";
    const struct {
        const char *section, *key, *defaultText;
    } questions[] = {
        {"One", "a", "d"},    {" ONE ", " A ", "d"},   {"one", "q", "d"},       {"one", "s", "d"},
        {"one", "half", "d"}, {"one", "empty", "d"},   {"one", "lone", "d"},    {"one", "c", "d"},
        {"two", "b", "d"},    {"", "top", "d"},        {"none", "a", "'d e' "}, {"one", "none", nullptr},
        {"one", "d", "text"}, {"none", nullptr, "dd"},
    };
    const TempDirectory folder;
    const std::wstring wide(text.begin(), text.end());
    const std::string plain = folder.Write("plain.ini", text);
    const RealLog log(nullptr);
    for (const std::string& file :
         {plain, folder.Write("le.ini", Utf16(wide, false)), folder.Write("be.ini", Utf16(wide, true)),
          folder.Write("utf8.ini", "\xEF\xBB\xBF" + text)}) {
        CAPTURE(file);
        for (const auto& [section, key, defaultText] : questions) {
            for (const unsigned long size : {0UL, 1UL, 2UL, 3UL, 64UL}) {
                CHECK(Ask(log.profileString, section, key, defaultText, size, file) ==
                      Ask(::GetPrivateProfileStringA, section, key, defaultText, size, plain));
            }
        }
        CHECK(Ask(log.profileString, nullptr, nullptr, "", 64, file) == std::string("One\0Two\0one\0|12", 15));
        CHECK(Ask(log.profileString, "two", nullptr, "", 64, file) == std::string("B\0|2", 4));
        CHECK(Ask(log.profileString, nullptr, nullptr, "", 8, file) == std::string("One\0Tw|6", 8));
    }
}

TEST_CASE("names and values beyond ASCII are matched and shown in the code page") {
    // Each letter as the file has it and as it is asked for.
    const std::pair<std::wstring, std::wstring> letters[] = {{L"\u00C4", L"\u00E4"}, {L"\u042F", L"\u044F"}};
    const TempDirectory folder;
    const RealLog log(nullptr);
    int tried = 0;
    for (const auto& [upper, lower] : letters) {
        const std::string asked = kiv::AnsiFromWide(lower);
        if (kiv::WideFromAnsi(asked) != lower)
            continue;  // not in this code page
        ++tried;
        const std::string file =
            folder.Write("le.ini", Utf16(L"[" + upper + L"]\nx" + upper + L"=\u65E5\n[\u65E5]\nx=1\n", false));
        char value[8];
        CHECK(log.profileString(asked.c_str(), ("X" + asked).c_str(), "none", value, 8, file.c_str()) < 4);
        CHECK(value == kiv::AnsiFromWide(L"\u65E5"));
        CHECK(Ask(log.profileString, "?", "x", "none", 64, file) == "none|4");
    }
    CHECK(tried > 0);
}

TEST_CASE("a file's encoding is told by its mark, and its position stays") {
    const TempDirectory folder;
    const RealLog log(nullptr);
    const std::string path = folder.Write("a.txt", "\xEF\xBB\xBFx");
    const kiv::ScopedFile file(::CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    LONG high = 1;
    ::SetFilePointer(file.Get(), 5, &high, FILE_BEGIN);  // beyond 4 GB
    CHECK(log.fileEncoding(file.Get()) == 3);
    high = 0;
    CHECK((::SetFilePointer(file.Get(), 0, &high, FILE_CURRENT) == 5 && high == 1));
    CHECK(log.fileEncoding(nullptr) + log.fileEncoding(INVALID_HANDLE_VALUE) == 0);
}
