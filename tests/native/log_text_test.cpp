#include <cstdarg>
#include <limits>
#include <string>

#include "support/check.h"
#include "tavkivlg/format_text.h"
#include "tavkivlg/line_layout.h"

namespace {

void WriteAscii(kivlg::TextBuffer& out, const wchar_t* text, std::size_t length) noexcept {
    for (std::size_t i = 0; i < length; ++i)
        out.Append(text[i] < 0x80 ? static_cast<char>(text[i]) : '?');
}

std::string Format(const char* format, ...) {
    kivlg::TextBuffer out;
    va_list arguments;
    va_start(arguments, format);
    kivlg::FormatText(out, format, arguments, WriteAscii);
    va_end(arguments);
    return std::string(out.View());
}

std::string Line(const char* component, char kind, std::string_view text) {
    kivlg::TextBuffer out;
    kivlg::AppendLine(out, {2001, 9, 8, 6, 5, 4, 31, 12, 4294967295, component, 1, kind}, text);
    return std::string(out.View());
}

const std::string kHead = "2001-09-08 06:05:04.031 12 4294967295 ";

}  // namespace

TEST_CASE("numbers are formatted as by the C run-time") {
    CHECK(Format("plain %d|%i|%u|%x|%X|%o|100%%", -1, 2, 3U, 0xABU, 0xABU, 8U) == "plain -1|2|3|ab|AB|10|100%");
    CHECK(Format("%5d|%-5d|%05d|%+d|% d|%#x|%.3d", 42, 42, 42, 42, 42, 42, 42) == "   42|42   |00042|+42| 42|0x2a|042");
    CHECK(Format("%*d|%-*d|%.*d|%*d", 4, 7, 4, 7, 3, 7, -4, 7) == "   7|7   |007|7   ");
    CHECK(Format("%hd|%hhu|%lu|%ld", 65537, 257, 4294967295UL, -5L) == "1|1|4294967295|-5");
    CHECK(Format("%I64d|%lld|%I32u", std::numeric_limits<long long>::min(), -1LL, 7U) == "-9223372036854775808|-1|7");
    CHECK((Format("%.2f", 1.5) == "1.50" && Format("%.400f", 1e308).size() == 309 + 1 + 400));
}

TEST_CASE("texts of both kinds are formatted side by side; what no text can be made of does no harm") {
    CHECK(Format("'%s' '%ls' '%S' '%ws' '%hs'", "a", L"b", L"c", L"d", "e") == "'a' 'b' 'c' 'd' 'e'");
    CHECK(Format("[%5s][%-5ls][%.2s][%.*ls]", "ab", L"ab", "abcd", 3, L"abcd") == "[   ab][ab   ][ab][abc]");
    const char unterminated[] = {'x', 'y'};
    CHECK(Format("%.2s", unterminated) == "xy");
    CHECK((Format("%c%lc%C", 'a', L'b', L'c') == "abc" && Format("%ls|%d", L"\u65E5x", 5) == "?x|5"));
    CHECK(Format("%s", std::string(100000, 'x').c_str()) == std::string(100000, 'x'));
    CHECK(Format("%s %ls %S|%d", static_cast<const char*>(nullptr), static_cast<const wchar_t*>(nullptr),
                 static_cast<const wchar_t*>(nullptr), 1) == "(null) (null) (null)|1");
    int untouched = 5;
    CHECK((Format("a%nb", &untouched) == "ab" && untouched == 5));
    CHECK((Format("%d %y %s", 1, 2, 3) == "1 %y %s" && Format("50%") == "50%"));
    CHECK(Format("%p", static_cast<void*>(nullptr)) == std::string(2 * sizeof(void*), '0'));
}

TEST_CASE("one text is one line of six words and it, whatever it holds") {
    CHECK(Line("TavKivUt", 'E', "Inet : 'a b'") == kHead + "TavKivUt 1E Inet : 'a b'\r\n");
    CHECK((Line("", '\n', "x") == kHead + "- 1- x\r\n" && Line("a b\n", ' ', "") == kHead + "a_b_ 1- \r\n"));
    CHECK(Line("c", ' ', "text\r\n\n") == kHead + "c 1- text\r\n");
    CHECK(Line("c", ' ', "a\r\n2001 forged\tb\x1B[0m\x7F") == kHead + "c 1- a\\r\\n2001 forged\tb\\x1B[0m\\x7F\r\n");
    CHECK(Line("c", ' ', std::string(5000, '\n') + "x").size() == kHead.size() + 5 + 2 * 5000 + 1 + 2);
}
