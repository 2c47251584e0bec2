// Generated patterns and texts: results compared with two other implementations.

#include "tavkivut/reg_exp.h"

#include <cstring>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/naive_reg_exp.h"

namespace {

using kiv::test::NaiveRegExp;

class Generator {
public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    int Below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }

    std::string Text(const char* alphabet, int longest) {
        const std::string letters = alphabet;
        std::string text;
        for (int left = Below(longest + 1); left > 0; --left)
            text += letters[static_cast<std::size_t>(Below(static_cast<int>(letters.size())))];
        return text;
    }

    // A right pattern, as far as repetitions of what can be empty go not.
    std::string Pattern(int depth) {
        std::string pattern;
        for (int alternative = 1 + (Below(3) == 0 ? Below(3) : 0); alternative > 0; --alternative) {
            for (int piece = Below(4); piece >= 0; --piece)
                pattern += Piece(depth);
            if (alternative > 1)
                pattern += '|';
        }
        return pattern;
    }

private:
    std::string Piece(int depth) {
        static const std::vector<std::string> atoms{"a",    "b",    "c",     "ab", "bca", ".",
                                                    "[ab]", "[^a]", "[b-c]", "^",  "$",   "\\*"};
        const bool group = depth > 0 && Below(3) == 0;
        std::string piece = group ? "(" + Pattern(depth - 1) + ")"
                                  : atoms[static_cast<std::size_t>(Below(static_cast<int>(atoms.size())))];
        static const std::vector<std::string> signs{"", "", "", "*", "+", "?"};
        return piece + signs[static_cast<std::size_t>(Below(static_cast<int>(signs.size())))];
    }

    std::mt19937 m_random;
};

// Offset, length and groups as text: "2+3 1:ab 2:-". Groups come through replacement texts, as callers get them.
std::string Found(CRegExp& compiled, const std::string& text) {
    const int offset = compiled.RegFind(text.c_str());
    if (offset < 0)
        return "none";
    std::string found = std::to_string(offset) + "+" + std::to_string(compiled.GetFindLen());
    for (char group = '1'; group <= '9'; ++group) {
        const char replacement[] = {'\\', group, '\0'};
        char content[64];
        const unsigned size = compiled.GetReplaceString(replacement, content, sizeof content);
        REQUIRE(size == std::strlen(content) + 1);
        found += std::string(" ") + group + ":" + content;
    }
    return found;
}

std::string Found(const NaiveRegExp::Match& match, const std::string& text) {
    std::string found = std::to_string(match.offset) + "+" + std::to_string(match.length);
    for (std::size_t group = 1; group <= 9; ++group) {
        const auto [start, end] = match.groups[group];
        const bool taken = start >= 0 && end > start;
        found += " " + std::to_string(group) + ":";
        found += taken ? text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)) : "";
    }
    return found;
}

// Compares one pattern on some texts; returns how many were compared.
int CompareWithNaive(const std::string& pattern, Generator& generator, const char* alphabet, int texts, int longest) {
    CAPTURE(pattern);
    CRegExp compiled;
    const bool good = compiled.RegComp(pattern.c_str()) != nullptr;
    const auto naive = NaiveRegExp::Parse(pattern);
    REQUIRE(good == naive.has_value());
    int compared = 0;
    for (int i = 0; good && i < texts; ++i) {
        const std::string text = generator.Text(alphabet, longest);
        CAPTURE(text);
        NaiveRegExp::Match match{};
        const auto answer = naive->Find(text, match, 200000);
        if (answer == NaiveRegExp::Answer::kGivenUp)
            continue;
        const std::string expected = answer == NaiveRegExp::Answer::kFound ? Found(match, text) : "none";
        REQUIRE(Found(compiled, text) == expected);
        ++compared;
    }
    return compared;
}

}  // namespace

TEST_CASE("generated patterns find what the naive matcher finds") {
    Generator generator(3634);
    int compared = 0;
    for (int i = 0; i < 3000; ++i)
        compared += CompareWithNaive(generator.Pattern(3), generator, "aabc*", 8, 14);
    CHECK(compared > 10000);
}

TEST_CASE("any text is a pattern or is refused, as the naive parser says") {
    Generator generator(48);
    int compared = 0;
    for (int i = 0; i < 20000; ++i)
        compared +=
            CompareWithNaive(generator.Text("ab()[]^-|*+?.$\\\xE9\x7F", 10), generator, "ab]-^\xE9\xF0\x7F", 2, 8);
    CHECK(compared > 2500);
}

TEST_CASE("short patterns on longer texts, where searches leave ways out that failed before") {
    Generator generator(7);
    int compared = 0;
    for (int i = 0; i < 150; ++i)
        compared += CompareWithNaive("(" + generator.Pattern(2) + ")*c[^c]", generator, "aaaab", 3, 60);
    CHECK(compared > 50);
}

TEST_CASE("generated patterns find what the standard library's engine finds") {
    Generator generator(1);
    int compared = 0;
    for (int i = 0; i < 1000; ++i) {
        const std::string pattern = generator.Pattern(2);
        CRegExp compiled;
        if (compiled.RegComp(pattern.c_str()) == nullptr || pattern.find("^*") != std::string::npos)
            continue;
        CAPTURE(pattern);
        std::regex standard;
        try {
            standard.assign(pattern);
        } catch (const std::regex_error&) {
            continue;  // "^?" and its like are none there
        }
        for (int j = 0; j < 4; ++j) {
            const std::string text = generator.Text("aabc", 10);
            CAPTURE(text);
            std::smatch match;
            const int expected = std::regex_search(text, match, standard) ? static_cast<int>(match.position(0)) : -1;
            REQUIRE(compiled.RegFind(text.c_str()) == expected);
            REQUIRE(compiled.GetFindLen() == (expected < 0 ? 0 : match.length(0)));
            ++compared;
        }
    }
    CHECK(compared > 2000);
}
