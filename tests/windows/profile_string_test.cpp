#include <cstring>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/real_log.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"
#include "support/text_convert.h"

using kiv::test::RealLog;
using kiv::test::TempDirectory;

namespace {

constexpr const char* kProfile = "top=0\r\n[ One ] rest\r\n a = 1 = x \r\nq=\"a b\"\r\ns='a\" b'\r\nhalf=\"a\r\n"
                                 ";no=1\r\nlone\r\nempty=\r\n[Two]\nB=2\n\n[one]\nc=3\n[open\nd=4";

std::string Utf16(const std::wstring& text, bool bigEndian) {
    std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const wchar_t c : text) {
        const char low = static_cast<char>(c & 0xFF);
        const char high = static_cast<char>(c >> 8);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

struct Answer {
    unsigned long result;
    std::string text;  // the characters that the result counts

    bool operator==(const Answer& other) const { return result == other.result && text == other.text; }
};

template <class Call>
Answer Ask(const Call& call, const char* section, const char* key, const char* defaultText, unsigned long size,
           const std::string& file) {
    std::string buffer(size + 1, '#');
    const unsigned long result = call(section, key, defaultText, buffer.data(), size, file.c_str());
    REQUIRE(result <= size);
    CHECK(buffer[size] == '#');
    return {result, buffer.substr(0, result)};
}

struct Question {
    const char* section;
    const char* key;
    const char* defaultText;
};

const Question kQuestions[] = {
    {"One", "a", "d"},    {" ONE ", " A ", "d"},    {"one", "q", "d"},        {"one", "s", "d"},
    {"one", "half", "d"}, {"one", "empty", "d"},    {"one", "lone", "d"},     {"one", "c", "d"},
    {"two", "b", "d"},    {"", "top", "d"},         {"none", "a", "'d e'  "}, {"one", "none", "text"},
    {"one", "d", "d"},    {"one", "none", nullptr}, {"none", nullptr, "dd"},
};

kiv::ScopedFile OpenFor(DWORD access, const std::string& path) {
    kiv::ScopedFile file(::CreateFileA(path.c_str(), access, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    REQUIRE(file);
    return file;
}

}  // namespace

TEST_CASE("an INI file in any encoding is read as the system reads a plain one") {
    const TempDirectory folder;
    const std::string plain = folder.Write("plain.ini", kProfile);
    const std::wstring wide(kProfile, kProfile + std::strlen(kProfile));
    const std::string files[] = {plain, folder.Write("le.ini", Utf16(wide, false)),
                                 folder.Write("be.ini", Utf16(wide, true)),
                                 folder.Write("utf8.ini", std::string("\xEF\xBB\xBF") + kProfile)};
    const RealLog log;
    for (const std::string& file : files) {
        CAPTURE(file);
        for (const Question& question : kQuestions) {
            CAPTURE(question.section);
            CAPTURE(question.key);
            for (const unsigned long size : {0UL, 1UL, 2UL, 3UL, 64UL}) {
                const auto [section, key, defaultText] = question;
                CHECK(Ask(log.profileString, section, key, defaultText, size, file) ==
                      Ask(::GetPrivateProfileStringA, section, key, defaultText, size, plain));
            }
        }
        CHECK(Ask(log.profileString, nullptr, nullptr, "", 64, file) == Answer{12, std::string("One\0Two\0one\0", 12)});
        CHECK(Ask(log.profileString, "two", nullptr, "", 64, file) == Answer{2, std::string("B\0", 2)});
        CHECK(Ask(log.profileString, nullptr, nullptr, "", 8, file) == Answer{6, std::string("One\0Tw", 6)});
        CHECK(Ask(log.profileString, "two", nullptr, "", 2, file).result <= 1);
    }
}

TEST_CASE("names and values beyond ASCII are matched and shown in the code page") {
    const struct {
        std::wstring upper;
        std::wstring lower;
        std::string utf8;  // of the upper one
    } letters[] = {{L"\u00C4", L"\u00E4", "\xC3\x84"}, {L"\u042F", L"\u044F", "\xD0\xAF"}};
    const TempDirectory folder;
    const RealLog log;
    int tried = 0;
    for (const auto& letter : letters) {
        const std::string lower = kiv::AnsiFromWide(letter.lower);
        if (kiv::WideFromAnsi(lower) != letter.lower)
            continue;  // not in this code page
        ++tried;
        const std::wstring wide = L"[" + letter.upper + L"]\nx" + letter.upper + L"=\u65E5\n[\u65E5]\nx=1\n";
        const std::string files[] = {folder.Write("le.ini", Utf16(wide, false)),
                                     folder.Write("utf8.ini", "\xEF\xBB\xBF[" + letter.utf8 + "]\nx" + letter.utf8 +
                                                                  "=\xE6\x97\xA5\n[\xE6\x97\xA5]\nx=1\n")};
        for (const std::string& file : files) {
            CAPTURE(file);
            CHECK(Ask(log.profileString, lower.c_str(), ("X" + lower).c_str(), "none", 64, file).text ==
                  kiv::AnsiFromWide(L"\u65E5"));
            CHECK(Ask(log.profileString, "?", "x", "none", 64, file).text == "none");
        }
    }
    CHECK(tried > 0);
}

TEST_CASE("a bare file name stands for the Windows folder") {
    char folder[MAX_PATH];
    REQUIRE(::GetWindowsDirectoryA(folder, sizeof folder) != 0);
    const std::string name = "tavkivlg-test-" + std::to_string(::GetCurrentProcessId()) + ".ini";
    const std::string path = std::string(folder) + "\\" + name;
    kiv::test::WriteFileBytes(path, Utf16(L"[a]\nk=v", true));
    const RealLog log;
    CHECK(Ask(log.profileString, "a", "k", "none", 64, name).text == "v");
    ::DeleteFileA(path.c_str());
    CHECK(Ask(log.profileString, "a", "k", "none", 64, name).text == "none");
    CHECK(log.profileString("a", "k", "none", nullptr, 64, name.c_str()) == 0);
}

TEST_CASE("a file's encoding is told by its mark, whatever its length and position") {
    const struct {
        std::string bytes;
        unsigned long encoding;
    } rows[] = {{"", 0},         {"a", 0},        {"\xFF", 0},         {"\xEF\xBB", 0}, {"plain text", 0},
                {"\xFF\xFE", 1}, {"\xFE\xFF", 2}, {"\xEF\xBB\xBF", 3}, {"\xFF\xFEx", 1}};
    const TempDirectory folder;
    const RealLog log;
    for (const auto& row : rows) {
        CAPTURE(row.encoding);
        const kiv::ScopedFile file = OpenFor(GENERIC_READ, folder.Write("a.txt", row.bytes));
        ::SetFilePointer(file.Get(), 1, nullptr, FILE_BEGIN);
        ::SetLastError(4711);
        CHECK(log.fileEncoding(file.Get()) == row.encoding);
        CHECK(::GetLastError() == 4711);
        CHECK(::SetFilePointer(file.Get(), 0, nullptr, FILE_CURRENT) == 1);
    }
    const kiv::ScopedFile file = OpenFor(GENERIC_READ | GENERIC_WRITE, folder.Write("b.txt", "\xFF\xFE"));
    LONG high = 1;
    ::SetFilePointer(file.Get(), 5, &high, FILE_BEGIN);  // beyond 4 GB, in front of nothing
    CHECK(log.fileEncoding(file.Get()) == 1);
    high = 0;
    CHECK(::SetFilePointer(file.Get(), 0, &high, FILE_CURRENT) == 5);
    CHECK(high == 1);
}

TEST_CASE("what is no readable file has no encoding, and loses nothing") {
    const TempDirectory folder;
    const RealLog log;
    CHECK(log.fileEncoding(nullptr) == 0);
    CHECK(log.fileEncoding(INVALID_HANDLE_VALUE) == 0);
    CHECK(log.fileEncoding(OpenFor(GENERIC_WRITE, folder.Write("a.txt", "\xFF\xFE")).Get()) == 0);
    kiv::ScopedKernelObject reading;
    kiv::ScopedKernelObject writing;
    REQUIRE(::CreatePipe(reading.Receive(), writing.Receive(), nullptr, 0));
    DWORD count = 0;
    REQUIRE(::WriteFile(writing.Get(), "\xFF\xFE", 2, &count, nullptr));
    CHECK(log.fileEncoding(reading.Get()) == 0);
    CHECK(::PeekNamedPipe(reading.Get(), nullptr, 0, nullptr, &count, nullptr));
    CHECK(count == 2);
}
