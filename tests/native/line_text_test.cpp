#include "files/line_text.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "files/line_encoding.h"
#include "files/line_list.h"
#include "support/check.h"

namespace {

using Texts = std::vector<std::string>;

bool AppendMarks(std::u16string_view text, kiv::HeapBuffer<char>& result) noexcept {
    return result.Append(std::string(text.size(), '?'));
}

Texts Shown(const kiv::LineList& list) {
    return {list.All(), list.All() + list.Count()};
}

Texts LinesOf(const std::string& bytes) {
    kiv::HeapBuffer<char> contents;
    kiv::LineList list;
    REQUIRE((contents.Append(bytes) && contents.Reserve(1) && list.TakeContents(contents)));
    return list.Count() == 0 ? Texts() : Shown(list);
}

Texts LinesOfUtf16(const std::u16string& text) {
    kiv::HeapBuffer<char> narrow;
    kiv::LineList list;
    std::size_t count = 0;
    REQUIRE((kiv::NarrowLines(text, AppendMarks, narrow, count) && list.TakeLines(narrow, count)));
    return count == 0 ? Texts() : Shown(list);
}

// The pieces between line breaks, the last one too when it is empty.
Texts Pieces(const std::string& text, const Texts& pairs) {
    Texts pieces(1);
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\r' && text[at] != '\n') {
            pieces.back() += text[at];
            continue;
        }
        pieces.emplace_back();
        at += std::find(pairs.begin(), pairs.end(), text.substr(at, 2)) != pairs.end() ? 1 : 0;
    }
    return pieces;
}

Texts Appended(const std::string& text) {
    Texts lines;
    const auto add = [&lines](std::string_view line) { return lines.emplace_back(line), lines.size() < 100; };
    REQUIRE(kiv::ForEachAppendedLine(std::string_view(text), add));
    return lines;
}

Texts Collected(const std::string& text) {
    Texts lines;
    kiv::ForEachCollectedLine(std::string_view(text), [&lines](std::string_view line) { lines.emplace_back(line); });
    return lines;
}

std::string Expanded(const std::string& text) {
    kiv::HeapBuffer<char> expanded;
    REQUIRE(kiv::ExpandLineBreaks(std::string_view(text), expanded));
    return std::string(expanded.Text());
}

void CheckText(const std::string& text) {
    Texts pieces = Pieces(text, {"\r\n", "\n\r"});
    if (pieces.back().empty())
        pieces.pop_back();
    for (std::string& piece : pieces)
        piece.resize(std::strlen(piece.c_str()));
    CHECK(LinesOf(text) == pieces);
    CHECK(LinesOfUtf16({text.begin(), text.end()}) == pieces);

    pieces = Pieces(text, {"\r\n"});
    CHECK(Appended(text) == pieces);
    pieces.erase(std::remove(pieces.begin() + 1, pieces.end(), ""), pieces.end());
    CHECK(Collected(text) == pieces);

    std::string expanded;
    for (const char c : text)
        expanded += c == '\n' && (expanded.empty() || expanded.back() != '\r') ? "\r\n" : std::string(1, c);
    CHECK(Expanded(text) == expanded);
}

}  // namespace

TEST_CASE("every text is cut, appended, collected and expanded by the rules") {
    constexpr char kAlphabet[] = {'a', '\r', '\n', '\0'};
    for (std::size_t length = 0; length <= 6; ++length) {
        for (std::size_t number = 0; number < std::size_t{1} << 2 * length; ++number) {
            std::string text;
            for (std::size_t i = 0; i < length; ++i)
                text += kAlphabet[number >> 2 * i & 3];
            CAPTURE(number);
            CheckText(text);
        }
    }
}

TEST_CASE("lines are edited beside those of the file, and encoded") {
    kiv::HeapBuffer<char> contents;
    kiv::LineList list;
    REQUIRE((contents.Append("one\ntwo\nthree") && contents.Reserve(1) && list.TakeContents(contents)));
    REQUIRE((list.Set(1, "2") && list.Set(1, "second") && list.Add("four") && list.Set(2, "")));
    list.Remove(0);
    kiv::LineList copy;
    REQUIRE(copy.TakeCopies(list));
    list.Remove(2);
    list.Shorten(1);
    CHECK(Shown(list) == Texts{"second"});
    CHECK(Shown(copy) == Texts{"second", "", "four"});
    kiv::HeapBuffer<char> bytes;
    kiv::HeapBuffer<char> wide;
    REQUIRE(kiv::EncodeLines(copy.All(), copy.Count(), bytes));
    CHECK(bytes.Text() == "second\r\n\r\nfour\r\n");
    const Texts lines{"a", "\xE9z"};
    const char* const all[] = {lines[0].c_str(), lines[1].c_str()};
    REQUIRE(kiv::EncodeWideLines(
        all, 2, [](std::string_view text, kiv::HeapBuffer<char>& out) noexcept { return out.Append(text); }, wide));
    CHECK(wide.Text() == std::string_view("\xFF\xFE"
                                          "a\0\r\0\n\0\xE9z\r\0\n\0",
                                          14));
    CHECK(LinesOfUtf16(u"a\r\n\u4E2Dz") == Texts{"a", "??"});
}
