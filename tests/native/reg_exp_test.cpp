#include "tavkivut/reg_exp.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/reg_exp_layout.h"

namespace {

struct Case {
    const char* pattern;
    const char* text;
    int offset;         // -1: none
    const char* found;  // the match and its groups, as "&" and this replacement text give them
    const char* replacement = "&";
};

std::string Replaced(CRegExp& compiled, const char* replacement) {
    const unsigned size = compiled.GetReplaceString(replacement, nullptr, 0);
    if (size == 0)
        return "(none)";
    std::vector<char> text(size, 'x');
    CHECK(compiled.GetReplaceString(replacement, text.data(), size) == size);
    return text.data();
}

bool Compiles(const std::string& pattern) {
    CRegExp compiled;
    return compiled.RegComp(pattern.c_str()) == &compiled;
}

// A block with nothing behind it, so that the sanitizer sees a read beyond.
std::unique_ptr<char[]> Exact(const std::string& text) {
    auto block = std::make_unique<char[]>(text.size() + 1);
    std::memcpy(block.get(), text.c_str(), text.size() + 1);
    return block;
}

// A program node by node: where it lies, its opcode, where its next node lies, its operand. Nodes follow one another.
struct Probe : CRegExp {
    static std::string Print(const char* pattern) {
        static const char* const names[] = {"END",    "BOL",  "EOL",     "ANY",     "ANYOF", "ANYBUT",
                                            "BRANCH", "BACK", "EXACTLY", "NOTHING", "STAR",  "PLUS"};
        Probe probe;
        REQUIRE(probe.RegComp(pattern) != nullptr);
        char* const program = const_cast<char*>(CRegExpLayout::Program(probe));
        const long size = CRegExpLayout::ProgramSize(probe);
        std::string text;
        for (char* node = program; node - program < size;) {
            const int op = probe.OP(node);
            const char* const next = probe.regnext(node);
            text += (text.empty() ? "" : " ") + std::to_string(node - program) + ":";
            text += op > OP_CLOSE ? "CLOSE" : op > OP_OPEN ? "OPEN" : names[op];
            text += op > OP_OPEN ? std::to_string(op % 10) : "";
            text += next == nullptr ? "" : ">" + std::to_string(next - program);
            node = probe.OPERAND(node);
            if (op == OP_EXACTLY || op == OP_ANYOF || op == OP_ANYBUT) {
                text += "'" + std::string(node) + "'";
                node += std::strlen(node) + 1;
            }
        }
        return text;
    }

    using CRegExp::OPERAND;
    using CRegExp::regc;
    using CRegExp::reginsert;
    using CRegExp::regmatch;
    using CRegExp::regnext;
    using CRegExp::regnode;
    using CRegExp::regrepeat;
    using CRegExp::regtail;
    using CRegExp::regtry;
};

}  // namespace

TEST_CASE("what a pattern finds, and its groups") {
    const Case cases[] = {
        {"a|b", "xyb", 2, "b"},
        {"^b", "ab", -1, ""},
        {"b$", "ab", 1, "b"},
        {"^", "ab", 0, ""},
        {"$", "ab", 2, ""},
        {"", "ab", 0, ""},
        {"ab*", "abbbc", 0, "abbb"},  // the sign belongs to the last character alone
        {"x*", "abc", 0, ""},
        {"a.c", "abxabc", 3, "abc"},
        {"a|ab", "ab", 0, "a"},  // the first way, not the longest
        {"(a|ab)(c|bcd)(d*)", "abcd", 0, "[a][bcd][]", "[\\1][\\2][\\3]"},
        {"(a)|(b)", "b", 0, "[][b]", "[\\1][\\2]"},
        {"((a)|b)*", "ab", 0, "[b][a]", "[\\1][\\2]"},  // a group keeps what it had last
        {"(a+)+[bc]", "aaab", 0, "[aaa]", "[\\1]"},
        {"(a*)?b", "aab", 0, "[aa]", "[\\1]"},
        {"(ab|a)(bc)?c*", "abcc", 0, "[ab][][abcc]", "[\\1][\\2][\\0]"},
        {"(.)(.)(.)(.)(.)(.)(.)(.)(.)", "123456789", 0, "987654321", "\\9\\8\\7\\6\\5\\4\\3\\2\\1"},
        {"a\\*b\\\\", "a*b\\", 0, "a*b\\"},
        {"a+b?c", "xaac", 1, "aac"},
        {"(^a|b)c", "abcac", 1, "bc"},
        {"a$|b", "ab", 1, "b"},
        {"a*$", "baab", 4, ""},
        {"(|a)b", "ab", 0, "ab"},
        {"[]a]", "x]", 1, "]"},
        {"[a-]", "x-", 1, "-"},
        {"[^]a]", "]ab", 2, "b"},
        {"[^-a]", "-ab", 2, "b"},
        {"[^0-9]", "12x", 2, "x"},
        {"[a-c-e]+", "-fabcdef", 2, "abcde"},
        {"[--a]+", "+,-.09AZ_a", 2, "-.09AZ_a"},
        {"[]-a]+", "\\]^_`ab", 1, "]^_`a"},
        {"[a\\]*]", "xa\\]*", 1, "a\\]"},  // the set is "a" and the backslash; a star and "]" follow it
        {"[$.*(|]+", "a$.*(|b", 1, "$.*(|"},
        {"[x-\x7F]", "\x7F", 0, "\x7F"},
        {"\xE4+", "a\xE4\xE4", 1, "\xE4\xE4"},
        {"[\xE0-\xFF]+", "\xDF\xE0\xF0\xFF", 1, "\xE0\xF0\xFF"},
        {"[^\xE0-\xFF]+", "\xE0\xDF\x80z", 1, "\xDF\x80z"},
        {"[\xE9-z!]+", "z!\xE8\xE9\xFE\xFF", 3, "\xE9\xFE\xFF"},  // crosses zero: the set ends there
    };
    for (const Case& tried : cases) {
        CAPTURE(tried.pattern);
        CAPTURE(tried.text);
        CRegExp compiled;
        REQUIRE(compiled.RegComp(tried.pattern) == &compiled);
        CHECK(compiled.RegFind(tried.text) == tried.offset);
        if (tried.offset >= 0)
            CHECK(Replaced(compiled, tried.replacement) == tried.found);
    }
}

TEST_CASE("wrong patterns are refused") {
    for (const char* pattern : {"a**",  "a+?",   "*a",       "+",           "?",    "a|*b",
                                "(*a)", "(a",    "a)",       ")",           "(a))", "((a)",
                                "a\\",  "(a*)*", "(a|b*)+",  "()*",         "^*",   "$+",
                                "(^)*", "[z-a]", "[a-\xE9]", "[\xF0-\xE9]", "[",    "[]",
                                "[^]",  "[^",    "[a",       "[a-",         "[a-z", "(.)(.)(.)(.)(.)(.)(.)(.)(.)(.)"}) {
        CAPTURE(pattern);
        CRegExp compiled;
        CHECK(compiled.RegComp(Exact(pattern).get()) == nullptr);
        CHECK(compiled.RegFind("a") == -1);
    }
    for (const char* pattern : {"(a*)?", "()", "a|", "|", "^?", "(a|b*)?", "(.)(.)(.)(.)(.)(.)(.)(.)(.)"}) {
        CAPTURE(pattern);
        CHECK(Compiles(pattern));
    }
}

TEST_CASE("programs are what the grammar says") {
    CHECK(Probe::Print("ab") == "0:BRANCH>9 3:EXACTLY>9'ab' 9:END");
    CHECK(Probe::Print("") == "0:BRANCH>6 3:NOTHING>6 6:END");
    CHECK(Probe::Print("a|b") == "0:BRANCH>8 3:EXACTLY>16'a' 8:BRANCH>16 11:EXACTLY>16'b' 16:END");
    CHECK(Probe::Print("abc*") == "0:BRANCH>17 3:EXACTLY>9'ab' 9:STAR>17 12:EXACTLY'c' 17:END");
    CHECK(Probe::Print("^.+$") == "0:BRANCH>15 3:BOL>6 6:PLUS>12 9:ANY 12:EOL>15 15:END");
    CHECK(Probe::Print("a?b") ==
          "0:BRANCH>22 3:BRANCH>11 6:EXACTLY>14'a' 11:BRANCH>14 14:NOTHING>17 17:EXACTLY>22'b' 22:END");
    CHECK(Probe::Print("(a)") == "0:BRANCH>17 3:OPEN1>6 6:BRANCH>14 9:EXACTLY>14'a' 14:CLOSE1>17 17:END");
    CHECK(Probe::Print("(a)*") == "0:BRANCH>29 3:BRANCH>23 6:OPEN1>9 9:BRANCH>17 12:EXACTLY>17'a' 17:CLOSE1>20 "
                                  "20:BACK>3 23:BRANCH>26 26:NOTHING>29 29:END");
    CHECK(Probe::Print("(a)+") == "0:BRANCH>29 3:OPEN1>6 6:BRANCH>14 9:EXACTLY>14'a' 14:CLOSE1>17 17:BRANCH>23 "
                                  "20:BACK>3 23:BRANCH>26 26:NOTHING>29 29:END");
    CHECK(Probe::Print("[a-cx-]*[^b]") == "0:BRANCH>20 3:STAR>15 6:ANYOF'abcx-' 15:ANYBUT>20'b' 20:END");
}

TEST_CASE("the compiler finds out what lets a search skip") {
    const struct {
        const char* pattern;
        char start;
        bool anchored;
        const char* must;
    } cases[] = {
        {"abc", 'a', false, nullptr},      {"a|b", '\0', false, nullptr},       {"^abc", '\0', true, nullptr},
        {"^a|b", '\0', false, nullptr},    {"a*bc", '\0', false, "bc"},         {"a+bc.de", '\0', false, "de"},
        {"x*abc.de", '\0', false, "abc"},  {"(a)*bc(defg)", '\0', false, "bc"}, {"x*(abc)", '\0', false, nullptr},
        {"(a)bc", '\0', false, nullptr},   {"ab*", 'a', false, nullptr},        {"^x*ab", '\0', true, nullptr},
        {"a*b|a*c", '\0', false, nullptr},
    };
    for (const auto& tried : cases) {
        CAPTURE(tried.pattern);
        CRegExp compiled;
        REQUIRE(compiled.RegComp(tried.pattern) != nullptr);
        CHECK(CRegExpLayout::StartChar(compiled) == tried.start);
        CHECK(CRegExpLayout::IsAnchored(compiled) == tried.anchored);
        const char* const must = CRegExpLayout::Must(compiled);
        CHECK(std::string(must == nullptr ? "" : must) == (tried.must == nullptr ? "" : tried.must));
    }
}

TEST_CASE("patterns have up to 255 characters") {
    CRegExp compiled;
    CHECK(compiled.RegComp(Exact(std::string(255, 'a')).get()) == &compiled);
    CHECK(compiled.RegFind(std::string(300, 'a').c_str()) == 0);
    CHECK(compiled.RegComp(std::string(256, 'b').c_str()) == nullptr);
    CHECK(compiled.RegFind(std::string(300, 'a').c_str()) == 0);  // all as it was
    std::string sets = "x";
    for (int i = 0; i < 50; ++i)
        sets += "[\x01-\x7F]";
    CHECK(compiled.RegComp(sets.c_str()) == &compiled);  // the largest program: over 6000 bytes
    CHECK(compiled.RegFind(("x" + std::string(50, 'y')).c_str()) == 0);
    std::string alternatives;
    for (int i = 0; i < 127; ++i)
        alternatives += "|a";
    CHECK(compiled.RegComp(alternatives.c_str()) == &compiled);
    CHECK(compiled.RegComp(nullptr) == nullptr);
    CHECK(compiled.RegFind("b") == 0);
}

TEST_CASE("an object before and after what fails") {
    CRegExp compiled;
    CHECK(compiled.RegFind("a") == -1);
    CHECK(compiled.GetFindLen() == 0);
    CHECK(compiled.GetReplaceString("&", nullptr, 0) == 0);
    CHECK(compiled.RegComp("(") == nullptr);
    CHECK(compiled.RegFind("a") == -1);
    REQUIRE(compiled.RegComp("b+") != nullptr);
    CHECK(compiled.RegFind("abb") == 1);
    CHECK(compiled.GetFindLen() == 2);
    CHECK(compiled.RegComp("b**") == nullptr);  // the program before stays
    CHECK(compiled.GetFindLen() == 2);
    CHECK(compiled.RegFind("b") == 0);
    for (const char* text : {static_cast<const char*>(nullptr), "xyz"}) {
        REQUIRE(compiled.RegFind("b") == 0);
        CHECK(compiled.RegFind(text) == -1);
        CHECK(compiled.GetFindLen() == 0);
        CHECK(compiled.GetReplaceString("&", nullptr, 0) == 0);
    }
}

TEST_CASE("replacement texts") {
    CRegExp compiled;
    REQUIRE(compiled.RegComp("(b)(x)?c") != nullptr);
    REQUIRE(compiled.RegFind(Exact("abcd").get()) == 1);  // the text is gone now
    CHECK(Replaced(compiled, "[&]") == "[bc]");
    CHECK(Replaced(compiled, "\\1\\2\\3\\0") == "bbc");
    CHECK(Replaced(compiled, "\\x\\\\\\&\\") == "\\x\\&\\");
    CHECK(Replaced(compiled, "\\\\1") == "\\1");
    CHECK(Replaced(compiled, "\\x&") == "\\xbc");
    CHECK(Replaced(compiled, "") == "");
    CHECK(compiled.GetReplaceString(nullptr, nullptr, 0) == 0);
    char dest[5] = "xxxx";
    CHECK(compiled.GetReplaceString("[&]", dest, 4) == 5);
    CHECK(std::string(dest) == "xxxx");
    CHECK(compiled.GetReplaceString("[&]", dest, 5) == 5);
    CHECK(std::string(dest) == "[bc]");
}

TEST_CASE("a replacement text beyond what the result can tell is refused") {
    const std::string text(16 * 1024 * 1024, 'a');
    CRegExp compiled;
    REQUIRE(compiled.RegComp("a+") != nullptr);
    REQUIRE(compiled.RegFind(text.c_str()) == 0);
    CHECK(compiled.GetReplaceString(std::string(255, '&').c_str(), nullptr, 0) == 255u * 16 * 1024 * 1024 + 1);
    CHECK(compiled.GetReplaceString(std::string(256, '&').c_str(), nullptr, 0) == 0);
}

TEST_CASE("copies are objects of their own, in every state") {
    const std::string longMatch(100, 'b');
    for (const std::string& text : {std::string("abb"), "a" + longMatch, std::string("xyz")}) {
        CAPTURE(text);
        auto source = std::make_unique<CRegExp>();
        CRegExp ofNew(*source);
        CRegExp assigned;
        assigned = *source;
        CHECK(assigned.RegFind("a") == -1);
        REQUIRE(source->RegComp("a(b+)") != nullptr);
        source->RegFind(Exact(text).get());
        const std::string expected = Replaced(*source, "<\\1>");
        CRegExp copy(*source);
        CHECK(copy.GetReplaceString("&", nullptr, 0) == 0);  // knows nothing of the match
        assigned.RegComp("something else");
        assigned.RegFind("something else");
        assigned = *source;
        *source = *source;
        CHECK(Replaced(*source, "<\\1>") == expected);
        source.reset();
        CHECK(Replaced(assigned, "<\\1>") == expected);
        for (CRegExp* each : {&copy, &assigned}) {
            CHECK(each->RegFind("xab") == 1);
            CHECK(Replaced(*each, "\\1") == "b");
        }
        CHECK(CRegExpLayout::Program(copy) != CRegExpLayout::Program(assigned));
    }
    CRegExp withMust;
    REQUIRE(withMust.RegComp("a*bc") != nullptr);
    CRegExp other;
    other = withMust;
    CHECK(CRegExpLayout::Must(other) - CRegExpLayout::Program(other) ==
          CRegExpLayout::Must(withMust) - CRegExpLayout::Program(withMust));
    CRegExp failed;
    failed.RegComp("x");
    failed.RegComp("(");
    CHECK(CRegExp(failed).RegFind("x") == -1);  // compiles the pattern given last
    other = failed;
    CHECK(other.RegFind("x") == 0);  // takes the program as it is
}

TEST_CASE("long texts need no deep recursion and no exponential time") {
    const struct {
        const char* pattern;
        std::string text;
        int offset;
        int length;
    } cases[] = {
        {"(a|b)*c", std::string(1000000, 'b') + "c", 0, 1000001},
        {"(a|b)*c[0-9]", "c" + std::string(1000000, 'a'), -1, 0},
        {"((a*)b)*[cd]", std::string(200000, 'b') + "ad", 200001, 1},
        {"((a|ab)(b|c)*)*d", std::string(300000, 'a') + "bcd", 0, 300003},
        {"(a|ab|b)*$", std::string(200000, 'a') + std::string(200000, 'b'), 0, 400000},
        {"(a+)+[bc]", std::string(100000, 'a'), -1, 0},
        {"(a|a|aa)+[bc]", std::string(3000, 'a'), -1, 0},
        {"(((a+)+)+x?)+[bc]", std::string(3000, 'a'), -1, 0},
        {"a*a*a*a*[bc]", std::string(100000, 'a'), -1, 0},
        {".*.*.*x.*[yz]", std::string(20000, 'x'), -1, 0},
        {"[a-z]+[0-9]", std::string(1000000, 'k'), -1, 0},
    };
    for (const auto& tried : cases) {
        CAPTURE(tried.pattern);
        CRegExp compiled;
        REQUIRE(compiled.RegComp(tried.pattern) != nullptr);
        CHECK(compiled.RegFind(tried.text.c_str()) == tried.offset);
        CHECK(compiled.GetFindLen() == tried.length);
    }
}

TEST_CASE("derived classes can take the matcher's steps one by one") {
    Probe probe;
    CHECK(probe.regtry(nullptr) == 0);
    REQUIRE(probe.RegComp("(a+)[bc]*") != nullptr);
    char text[] = "xaabcd";
    CHECK(probe.RegFind(text) == 1);
    CHECK(probe.regtry(text) == 0);
    CHECK(probe.regtry(text + 2) == 1);  // leaves the input cursor behind "abc"
    CHECK(probe.GetFindLen() == 3);
    char any[] = {CRegExp::OP_ANY, 0, 0};
    char literal[] = {CRegExp::OP_EXACTLY, 0, 0, 'd', 0};
    char unknown[] = {77, 0, 0};
    CHECK(probe.regrepeat(any) == 1);
    CHECK(probe.regrepeat(literal) == 1);
    CHECK(probe.regrepeat(unknown) == 0);
    CHECK(probe.regmatch(unknown) == 0);
    CHECK(probe.regmatch(literal) == 0);  // no next node
    char accepted[] = {CRegExp::OP_EXACTLY, 5, 0, 'd', 0, CRegExp::OP_END, 0, 0};
    CHECK(probe.regmatch(accepted) == 1);
    CHECK(probe.regrepeat(any) == 0);
    CHECK(probe.regnext(accepted) == accepted + 5);
    CHECK(probe.regnext(nullptr) == nullptr);
    // Outside of a compilation nodes are only counted.
    char* const dummy = probe.regnode(CRegExp::OP_ANY);
    probe.regc('x');
    probe.reginsert(CRegExp::OP_STAR, dummy);
    probe.regtail(dummy, dummy);
    CHECK(probe.regnext(dummy) == nullptr);
    CHECK(probe.RegFind(text) == 1);
}
