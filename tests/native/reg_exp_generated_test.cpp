// Generated patterns and texts: results compared with the plainest implementation.

#include "tavkivut/reg_exp.h"

#include <random>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/naive_reg_exp.h"

namespace {

class Generator {
public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    std::string Text(const std::string& alphabet, std::size_t longest) {
        std::string text;
        for (std::size_t left = Below(longest + 1); left > 0; --left)
            text += alphabet[Below(alphabet.size())];
        return text;
    }

    std::string Pattern(int depth) {
        static const std::vector<std::string> atoms{"a",    "b",    "c",     "ab", "bca", ".",
                                                    "[ab]", "[^a]", "[b-c]", "^",  "$",   "\\*"};
        static const std::vector<std::string> signs{"", "", "", "*", "+", "?"};
        std::string pattern;
        for (std::size_t pieces = 1 + Below(4); pieces > 0; --pieces) {
            const bool group = depth > 0 && Below(3) == 0;
            pattern += group ? "(" + Pattern(depth - 1) + ")" : atoms[Below(atoms.size())];
            pattern += signs[Below(signs.size())];
            if (Below(8) == 0)
                pattern += '|';
        }
        return pattern;
    }

private:
    std::size_t Below(std::size_t limit) { return m_random() % limit; }

    std::mt19937 m_random;
};

// Compares one pattern on some texts; returns how many were compared.
int CompareWithNaive(const std::string& pattern, Generator& generator, const char* alphabet, int texts, int longest) {
    CAPTURE(pattern);
    const auto naive = kiv::test::ParseNaively(pattern);
    CRegExp compiled;
    REQUIRE((compiled.RegComp(pattern.c_str()) != nullptr) == (naive != nullptr));
    int compared = 0;
    for (int i = 0; naive != nullptr && i < texts; ++i) {
        const std::string text = generator.Text(alphabet, static_cast<std::size_t>(longest));
        CAPTURE(text);
        if (const auto expected = naive->Find(text)) {
            REQUIRE(kiv::test::FoundBy(compiled, text.c_str()) == *expected);
            ++compared;
        }
    }
    return compared;
}

}  // namespace

TEST_CASE("generated patterns find what the naive matcher finds") {
    Generator generator(3634);
    int compared = 0;
    for (int i = 0; i < 4000; ++i)
        compared += CompareWithNaive(generator.Pattern(3), generator, "aabc*", 6, 14);
    // Any text is a pattern or is refused.
    for (int i = 0; i < 20000; ++i)
        compared +=
            CompareWithNaive(generator.Text("ab()[]^-|*+?.$\\\xE9\x7F", 10), generator, "ab]-^\xE9\xF0\x7F", 2, 8);
    // Longer texts, where searches leave out ways that failed before.
    for (int i = 0; i < 300; ++i)
        compared += CompareWithNaive("(" + generator.Pattern(2) + ")*c[^c]", generator, "aaaab", 3, 60);
    CHECK(compared > 15000);
}
