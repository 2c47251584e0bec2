#include "tavkivut/reg_exp.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/check.h"

struct CRegExpLayout {
    static constexpr std::size_t kPointer = sizeof(void*);
    static_assert(offsetof(CRegExp, m_emitting) == 256 && offsetof(CRegExp, m_compiled) == 260);
    static_assert(offsetof(CRegExp, m_found) == 264 && offsetof(CRegExp, m_starts) == 264 + kPointer);
    static_assert(offsetof(CRegExp, m_anchored) == 265 + 21 * kPointer);
    static_assert(offsetof(CRegExp, m_must) == 264 + 22 * kPointer);
    static_assert(offsetof(CRegExp, m_program) == 264 + 24 * kPointer);
    static_assert(offsetof(CRegExp, m_nextGroup) == 264 + 26 * kPointer);
    static_assert(offsetof(CRegExp, m_input) == (sizeof(long) == 8 ? 280 : 272) + 28 * kPointer);
    static_assert(offsetof(CRegExp, m_programSize) > offsetof(CRegExp, m_text));

    // What lets a search skip: "^", or "*" and the text that every match must have.
    static std::string Hints(const CRegExp& compiled) {
        const std::string anchor = compiled.m_anchored != 0 ? "^" : "";
        return anchor + (compiled.m_must != nullptr ? std::string("*") + compiled.m_must : "");
    }
};

namespace {

std::string Replaced(CRegExp& compiled, const char* replacement) {
    const unsigned size = compiled.GetReplaceString(replacement, nullptr, 0);
    std::vector<char> text(size + 1);
    CHECK(compiled.GetReplaceString(replacement, text.data(), size) == size);
    return text.data();
}

// A block with nothing behind it, so that the sanitizer sees a read beyond.
std::unique_ptr<char[]> Exact(const std::string& text) {
    auto block = std::make_unique<char[]>(text.size() + 1);
    std::memcpy(block.get(), text.c_str(), text.size() + 1);
    return block;
}

struct Probe : CRegExp {
    explicit Probe(const char* pattern) { REQUIRE(RegComp(pattern) == this); }

    using CRegExp::regmatch;
    using CRegExp::regrepeat;
    using CRegExp::regtry;
};

}  // namespace

TEST_CASE("what a pattern finds, and its groups") {
    const struct {
        const char *pattern, *text;
        int offset;
        const char* found;
        const char* replacement = "&";  // which gives `found`
    } cases[] = {
        {"(ab|a)(bc)?c*", "abcc", 0, "[ab][][abcc]", "[\\1][\\2][\\0]"},  // the first way, not the longest
        {"(.)(.)(.)(.)(.)(.)(.)(.)(.)", "123456789", 0, "987654321", "\\9\\8\\7\\6\\5\\4\\3\\2\\1"},
        {"[a\\]*]", "xa\\]*]", 1, "a\\]"},  // the set is "a" and the backslash; a star and "]" follow it
        {"[^\xE0-\xFF]+", "\xE0\xDF\x80z", 1, "\xDF\x80z"},
        {"[\xE9-z!]+", "z!\xE8\xE9\xFE\xFF", 3, "\xE9\xFE\xFF"},  // crosses zero: the set ends there
    };
    for (const auto& tried : cases) {
        CAPTURE(tried.pattern);
        CRegExp compiled;
        REQUIRE(compiled.RegComp(tried.pattern) == &compiled);
        CHECK(compiled.RegFind(tried.text) == tried.offset);
        CHECK(Replaced(compiled, tried.replacement) == tried.found);
    }
    for (const char* pattern : {"a+?", "a|*b", "a)", "a\\", "()*", "^*", "[\xF0-\xE9]", "[", "[^", "[a-"}) {
        CAPTURE(pattern);
        CRegExp compiled;
        CHECK(compiled.RegComp(Exact(pattern).get()) == nullptr);
        CHECK(compiled.RegFind("a") == -1);
    }
}

TEST_CASE("the compiler finds out what lets a search skip") {
    const std::pair<const char*, const char*> rows[] = {
        {"^abc", "^"}, {"^a|b", ""}, {"a+bc.de", "*de"}, {"x*abc.de", "*abc"}, {"a*b|a*c", ""}};
    kiv::test::CheckRows(rows, [](const char* pattern) { return CRegExpLayout::Hints(Probe(pattern)); });
}

TEST_CASE("patterns have up to 255 characters; what fails leaves all as it was") {
    CRegExp compiled;
    CHECK((compiled.RegFind("a") == -1 && compiled.RegComp("(") == nullptr && compiled.RegFind("a") == -1));
    CHECK(compiled.RegComp(Exact(std::string(255, 'a')).get()) == &compiled);
    CHECK((compiled.RegComp(std::string(256, 'b').c_str()) == nullptr && compiled.RegComp(nullptr) == nullptr));
    CHECK(compiled.RegFind(std::string(300, 'a').c_str()) == 0);
    CHECK((compiled.RegComp("b**") == nullptr && compiled.GetFindLen() == 255));  // program and match before stay
    CHECK(compiled.RegComp("x[\x01-\x7F][\x01-\x7F]+") == &compiled);
    for (const char* text : {static_cast<const char*>(nullptr), "xy"}) {
        REQUIRE(compiled.RegFind("xyz") == 0);
        CHECK((compiled.RegFind(text) == -1 && compiled.GetFindLen() == 0));
        CHECK(compiled.GetReplaceString("&", nullptr, 0) == 0);
    }
}

TEST_CASE("replacement texts") {
    CRegExp compiled;
    REQUIRE(compiled.RegComp("(b)(x)?c") != nullptr);
    REQUIRE(compiled.RegFind(Exact("abcd").get()) == 1);  // the text is gone now
    CHECK((Replaced(compiled, "\\1\\2\\3\\0") == "bbc" && Replaced(compiled, "").empty()));
    CHECK(Replaced(compiled, "\\x&\\\\1\\&\\") == "\\xbc\\1&\\");
    CHECK(compiled.GetReplaceString(nullptr, nullptr, 0) == 0);
    char dest[5] = "xxxx";
    CHECK((compiled.GetReplaceString("[&]", dest, 4) == 5 && dest == std::string("xxxx")));
    CHECK((compiled.GetReplaceString("[&]", dest, 5) == 5 && dest == std::string("[bc]")));

    const unsigned size = 16 * 1024 * 1024;
    REQUIRE(compiled.RegComp("a+") != nullptr);
    REQUIRE(compiled.RegFind(std::string(size, 'a').c_str()) == 0);
    CHECK(compiled.GetReplaceString(std::string(255, '&').c_str(), nullptr, 0) == 255 * size + 1);
    CHECK(compiled.GetReplaceString(std::string(256, '&').c_str(), nullptr, 0) == 0);  // 2^32 and a terminator
}

TEST_CASE("copies are objects of their own") {
    for (const std::string& text : {std::string("abb"), "a" + std::string(31, 'b'), std::string("xyz")}) {
        CAPTURE(text);
        auto source = std::make_unique<Probe>("(a)*bb*");
        source->RegFind(Exact(text).get());
        const std::string expected = Replaced(*source, "<&\\1>");
        CRegExp copy(*source);
        CHECK(copy.GetReplaceString("&", nullptr, 0) == 0);  // knows nothing of the match
        Probe assigned("else");
        assigned.RegFind("else");
        assigned = *source;
        *source = *source;
        CHECK(Replaced(*source, "<&\\1>") == expected);
        source.reset();
        CHECK(Replaced(assigned, "<&\\1>") == expected);
        CHECK((copy.RegFind("xab") == 1 && assigned.RegFind("xab") == 1));
    }
    Probe failed("x");
    failed.RegComp("(");
    CHECK(CRegExp(failed).RegFind("x") == -1);  // compiles the pattern given last
    CRegExp other;
    other = failed;
    CHECK(other.RegFind("x") == 0);  // takes the program as it is
}

TEST_CASE("long texts need no deep recursion and no exponential time") {
    constexpr int kSize = (sizeof(void*) == 4 ? 16 : 1) * 1024 * 1024;  // much for an address space of 32 bits
    const struct {
        const char* pattern;
        std::string text;
        int offset, length;
    } cases[] = {
        {"(a|b)*c", std::string(1000000, 'b') + "c", 0, 1000001},
        {"((a*)b)*[cd]", std::string(200000, 'b') + "ad", 200001, 1},
        {"((a|ab)(b|c)*)*d", std::string(300000, 'a') + "bcd", 0, 300003},
        {"(a+)+[bc]", std::string(100000, 'a'), -1, 0},
        {"a*a*a*a*[bc]", std::string(100000, 'a'), -1, 0},
        {".*.*.*x.*[yz]", std::string(20000, 'x'), -1, 0},
        {"((a*)b|a)*c", std::string(kSize, 'a') + "c", 0, kSize + 1},
        {"(a|aa)*[cd]$", std::string(kSize, 'a') + "c", 0, kSize + 1},  // comes back to each repetition
    };
    for (const auto& tried : cases) {
        CAPTURE(tried.pattern);
        Probe compiled(tried.pattern);
        CHECK((compiled.RegFind(tried.text.c_str()) == tried.offset && compiled.GetFindLen() == tried.length));
    }
}

TEST_CASE("derived classes can take the matcher's steps one by one") {
    Probe probe("(a+)[bc]*");
    char text[] = "xaabcd";
    CHECK((probe.regtry(nullptr) == 0 && probe.RegFind(text) == 1 && probe.regtry(text) == 0));
    CHECK(probe.GetReplaceString("&", nullptr, 0) == 0);
    CHECK((probe.regtry(text + 2) == 1 && probe.GetFindLen() == 3));  // leaves the input cursor behind "abc"
    char behind[] = {CRegExp::OP_OPEN + 2,  3, 0, CRegExp::OP_ANY, 3, 0,
                     CRegExp::OP_CLOSE + 2, 3, 0, CRegExp::OP_END, 0, 0};
    CHECK((probe.regmatch(behind) == 1 && Replaced(probe, "<&\\1\\2>") == "<abca>"));
    CHECK(probe.regtry(text + 2) == 1);
    char accepted[] = {CRegExp::OP_EXACTLY, 5, 0, 'd', 0, CRegExp::OP_END, 0, 0};
    char unknown[] = {77, 0, 0};
    CHECK((probe.regrepeat(accepted) == 1 && probe.regrepeat(unknown) == 0));
    CHECK((probe.regmatch(unknown) == 0 && probe.regmatch(accepted) == 1));
}
