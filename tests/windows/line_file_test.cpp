#include "support/windows_api.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/document_table.h"
#include "support/failing_contents.h"
#include "support/recording_log.h"
#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"
#include "support/text_convert.h"
#include "tavkivut/line_file.h"

using kiv::test::ReadFileBytes;
using kiv::test::TempDirectory;
using namespace std::string_literals;
using Texts = std::vector<std::string>;

struct CKivIsamFileLayout {
    static_assert(offsetof(CKivIsamFile, m_path) == sizeof(void*));
    static_assert(offsetof(CKivIsamFile, m_encoding) == 2 * sizeof(void*));
    static_assert(offsetof(CKivIsamFile, m_pending) == 3 * sizeof(void*));
    static_assert(offsetof(CKivIsamFile, m_lines) == 4 * sizeof(void*));
};

namespace {

bool Open(CKivIsamFile& file, const std::string& path, bool readOnly = false,
          unsigned long encoding = CKivIsamFile::ENCODING_KEEP) {
    return file.open(kiv::WideFromAnsi(path).c_str(), readOnly, encoding);
}

Texts Lines(CKivIsamFile& file) {
    Texts lines;
    for (long i = 0; i < file.lines(); ++i) {
        std::wstring line(static_cast<std::size_t>(file.get(i, nullptr, 0)) + 1, L'?');
        file.get(i, line.data(), static_cast<long>(line.size()));
        lines.push_back(kiv::AnsiFromWide(line.c_str()));
    }
    return lines;
}

std::string Shown(const Texts& lines) {
    std::string shown;
    for (const std::string& line : lines)
        shown += "[" + line + "]";
    return shown;
}

std::string Utf16(const std::u16string& text) {
    return {reinterpret_cast<const char*>(text.data()), 2 * text.size()};
}

}  // namespace

TEST_CASE("files keep their encoding; what the code page lacks and what is behind a zero is lost") {
    const TempDirectory folder;
    const auto rewritten = [&folder](const std::string& bytes, unsigned long encoding = CKivIsamFile::ENCODING_KEEP) {
        CKivIsamFile file;
        REQUIRE(Open(file, folder.Write("file", bytes), false, encoding));
        file.close();
        return ReadFileBytes(folder / "file");
    };
    CHECK(rewritten("a\0b\nc\0"s) == "a\r\nc\r\n");
    CHECK(rewritten("a\xE9\n", CKivIsamFile::ENCODING_UTF16) == Utf16(u"\uFEFFa\u00E9\r\n"));
    CHECK(rewritten(Utf16(u"\uFEFFa\n\r\u00E9\rb") + "!") == Utf16(u"\uFEFFa\r\n\u00E9\r\nb\r\n"));
    CHECK(rewritten(Utf16(u"\uFEFFa\u4E2D\xD800z\u20AC\n")) == Utf16(u"\uFEFFa??z\u20AC\r\n"));
    CHECK(rewritten(Utf16(u"\uFEFF\u0416\0x\n"s), 0) == "?\r\n");
    CHECK(rewritten(Utf16(u"\uFEFF")) == Utf16(u"\uFEFF"));
    const std::string lines = std::string(5000, 'x') + "\r\n" + std::string(10 << 20, '\xE9') + "\r\n";
    CHECK(rewritten(rewritten(lines, 1), 2) == lines);
}

TEST_CASE("texts become the lines that their page tells") {
    const TempDirectory folder;
    for (const auto& row : kiv::test::DocumentTable("line-files.md", "Text")) {
        CAPTURE(row[0]);
        const std::string text =
            std::regex_replace(std::regex_replace(row[0], std::regex(R"(\\r)"), "\r"), std::regex(R"(\\n)"), "\n");
        CKivIsamFile file;
        REQUIRE((Open(file, folder / "file") && file.append(text.c_str())));
        CHECK((Shown(Lines(file)) == row[1] && file.empty()));
        CHECK(Shown(Lines(file << kiv::WideFromAnsi(text).c_str())) == row[2]);
        REQUIRE(file.empty());
    }
}

TEST_CASE("lines are read and edited by index") {
    const TempDirectory folder;
    CKivIsamFile file;
    REQUIRE(Open(file, folder.Write("file", "one\r\ntwo\r\n\xE9t\xE9\r\n")));
    wchar_t buffer[4] = L"???";
    CHECK((file.get(2, buffer, 4) == 3 && std::wstring(buffer) == L"\u00E9t\u00E9"));
    CHECK((file.get(2, buffer, 3) == 3 && buffer[0] == L'\0'));
    for (const long outside : {-1L, 3L}) {
        buffer[0] = L'?';
        CHECK((file.get(outside, buffer, 0) == 0 && buffer[0] == L'?'));
        CHECK((file.get(outside, buffer, 4) == 0 && buffer[0] == L'\0'));
        CHECK_FALSE(file.remove(outside));
    }
    CHECK((file.set(1, L"2\r\n2") && file.remove(0) && file.set(2, L"end\n\rof") && file.set(-1, L"")));
    CHECK((file.append("x\r\n") && file.append(static_cast<const wchar_t*>(nullptr))));
    CHECK(Lines(file) == Texts{"2\r\n2", "\xE9t\xE9", "end", "", "of", "", "x", "", ""});
    CHECK((file.empty() && file.is_empty()));
    file << L"pend" << -2147483647 - 1 << nullptr << L"ing\n\r\n\nx\ry" << L"\nlast" << 7;
    file.close();
    CHECK(ReadFileBytes(folder / "file") == "pend-2147483648ing\r\nx\r\ny\r\n\r\nlast\r\n");
}

TEST_CASE("what is read only is never written, and a file is written whatever its attributes") {
    const TempDirectory folder;
    const std::string path = folder.Write("file", "a\nb");
    const DWORD attributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    ::SetFileAttributesA(path.c_str(), attributes);
    const kiv::test::RecordingLog log;
    CKivIsamFile file(kiv::WideFromAnsi(path).c_str(), true);
    CHECK_FALSE((file.set(0, L"x") || file.remove(0) || file.empty() || file.append("x") || file.append(L"")));
    file << L"x\n";
    CHECK((Lines(file) == Texts{"a", "b"} && !file.can_write()));
    REQUIRE(Open(file, path));
    CHECK((ReadFileBytes(path) == "a\nb" && file.can_write()));
    file.close();
    CHECK((ReadFileBytes(path) == "a\r\nb\r\n" && (::GetFileAttributesA(path.c_str()) & attributes) == attributes));
    CHECK((Open(file, folder / "new") && file.is_empty() && ReadFileBytes(folder / "new").empty()));
    REQUIRE(::DeleteFileA((folder / "new").c_str()));
    file.close();
    CHECK(::GetFileAttributesA((folder / "new").c_str()) != INVALID_FILE_ATTRIBUTES);
    CHECK_FALSE((Open(file, folder / "missing", true) || Open(file, folder.Path()) || file.open(nullptr, false)));
    CHECK(log.Lines() == Texts{"1W Oem Installation : removed read-only attribute from '" + path + "'",
                               "1E Failed to open '" + (folder / "missing") + "' (2)",
                               "1E Failed to open '" + folder.Path() + "' (5)"});
}

TEST_CASE("a file that cannot be read or written keeps what it had") {
    const TempDirectory folder;
    const std::string path = folder.Write("file", "old\n");
    const kiv::test::RecordingLog log;
    CKivIsamFile file;
    REQUIRE((Open(file, path) && file.append(L"new")));
    kiv::ScopedFile user(
        ::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 3, nullptr, OPEN_EXISTING, 0, nullptr));
    file.close();
    CHECK((!Open(file, path) && Open(file, path, true)));
    user.Reset();
    REQUIRE((Open(file, path) && file.append(L"new")));
    kiv::test::SwappedApi<kiv::ContentsApi> api;
    api->write = kiv::test::HalfWrite;
    file.close();
    REQUIRE((Open(file, path) && file.append(L"new")));
    api->read = kiv::test::NoRead;
    file.close();
    CHECK((Open(file, path) && file.is_empty() && !file.can_write()));
    CHECK(log.Lines() == Texts{"1E Failed to save '" + path + "' (32)", "1E Failed to open '" + path + "' (32)",
                               "1E Failed to save '" + path + "' (112)", "1E Failed to save '" + path + "' (23)",
                               "1E Failed to read from '" + path + "' (23)"});
    CHECK(ReadFileBytes(path) == "old\n");
}

TEST_CASE("copies share nothing, and nothing is left behind") {
    const TempDirectory folder;
    const std::string path = folder / "file";
    const auto work = [&path] {
        kiv::test::WriteFileBytes(path, "a\nb\n");
        CKivIsamFile file;
        REQUIRE((Open(file, path) && file.set(0, L"A")));
        file << L"pend";
        CKivIsamFile copy(file);
        CKivIsamFile dropped;
        REQUIRE((Open(dropped, path) && dropped.append(L"dropped")));
        dropped = copy;
        dropped = *&dropped;
        dropped << L"ing\n";
        CHECK((Lines(file) == Texts{"A", "b"} && Lines(dropped) == Texts{"A", "b", "pending"}));
        REQUIRE((copy.remove(1) && Open(file, path, true)));
        copy.close();
        CHECK(ReadFileBytes(path) == "A\r\n");
        dropped = CKivIsamFile();
        CHECK((Lines(file) == Texts{"A", "b"} && ReadFileBytes(path) == "A\r\n"));
    };
    CHECK(kiv::test::LeavesNothing(work));
}

TEST_CASE("texts are trimmed, cut and given their line breaks") {
    const auto expanded = [](const wchar_t* text) {
        const std::unique_ptr<wchar_t, decltype(&std::free)> made(CKivIsamFile::expandCrLf(text), std::free);
        return std::wstring(made.get());
    };
    CHECK((expanded(L"\na\r\nb\n\r") == L"\r\na\r\nb\r\n\r" && expanded(nullptr).empty()));
    wchar_t blanks[] = L" \x1F";
    wchar_t padded[] = L"  x y\t";
    CHECK((CKivIsamFile::trim(blanks) == blanks + 2 && CKivIsamFile::trim(nullptr) == nullptr));
    CHECK(std::wstring(CKivIsamFile::trim(padded)) == L"x y");
    for (const int growBy : {-1, 2, 2147483647}) {
        wchar_t text[] = L",,a,b,";
        long count = 0;
        wchar_t** list = CKivIsamFile::split(text, L',', &count, growBy == 2, growBy);
        Texts pieces;
        for (long i = 0; i < count; ++i)
            pieces.push_back(kiv::AnsiFromWide(list[i]));
        CHECK(Shown(pieces) == (growBy == 2 ? "[][][a][b][]" : "[][a][b][]"));
        CHECK((list[count] == nullptr && (growBy < 9 || list[8] == nullptr)));
        CKivIsamFile::split_free(list);
    }
    wchar_t** none = CKivIsamFile::split(nullptr, L',', nullptr, true, 1);
    CHECK(none[0] == nullptr);
    CKivIsamFile::split_free(none);
}
