#include "files/line_text.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/lines_of_file.h"

namespace {

using kiv::test::LinesOfFile;
using Texts = std::vector<std::string>;

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

void CheckText(const std::string& text) {
    Texts pieces = Pieces(text, {"\r\n", "\n\r"});
    if (pieces.back().empty())
        pieces.pop_back();
    for (std::string& piece : pieces)
        piece.resize(std::strlen(piece.c_str()));
    CHECK(LinesOfFile(text, false) == pieces);
    CHECK(LinesOfFile(text, true) == pieces);

    Texts lines;
    const auto add = [&lines](std::string_view line) { return lines.emplace_back(line), true; };
    pieces = Pieces(text, {"\r\n"});
    CHECK((kiv::ForEachAppendedLine(std::string_view(text), add) && lines == pieces));
    lines.clear();
    kiv::ForEachCollectedLine(std::string_view(text), add);
    pieces.erase(std::remove(pieces.begin() + 1, pieces.end(), ""), pieces.end());
    CHECK(lines == pieces);
}

}  // namespace

TEST_CASE("every text is cut into lines by the rules of files, of appending and of streaming") {
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
