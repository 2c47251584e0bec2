// All matches of ten patterns in a text of 1 MB, beside the standard library's engine and beside PCRE2's interpreter;
// then a group repeated 10^6 times.

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cstdlib>
#include <random>
#include <regex>
#include <string>

#include "bench.h"
#include "tavkivut/reg_exp.h"

namespace {

struct Pattern {
    const char* what;
    const char* pattern;
};

constexpr Pattern kPatterns[] = {
    {"a word", "services"},
    {"a word that is nowhere", "restored"},
    {"one of five words", "failed|removed|registry|server|cabinet"},
    {"a number", "[0-9]+"},
    {"an address", "[a-z]+@[a-z]+\\.[a-z]+"},
    {"a time", "[0-9][0-9]:[0-9][0-9]:[0-9][0-9]"},
    {"a name and its value", "([A-Za-z]+)=([^;]*);"},
    {"a quoted text", "\"[^\"]*\""},
    {"a word between other characters", "[^a-z](set|get|the)[^a-z]"},
    {"letters before a digit", "[a-z]*(x|y)[0-9]"},
};

// Lines as an installer logs them.
std::string MakeText() {
    static const char* const words[] = {"the",      "registry", "failed", "server", "of",      "set",
                                        "services", "to",       "copy",   "file",   "removed", "version"};
    std::mt19937 random(20);
    const auto below = [&random](unsigned limit) { return random() % limit; };
    std::string text;
    while (text.size() < 1024 * 1024) {
        text += "12:" + std::to_string(10 + below(50)) + ":" + std::to_string(10 + below(50)) + " ";
        for (unsigned word = 4 + below(8); word > 0; --word)
            text += std::string(words[below(12)]) + " ";
        if (below(4) == 0)
            text += "Path=\"C:\\setup\\" + std::to_string(below(100000)) + "\";";
        if (below(8) == 0)
            text += " admin@example.net";
        text += "\r\n";
    }
    return text;
}

long CountOurs(CRegExp& compiled, const std::string& text) {
    long matches = 0;
    const char* at = text.c_str();
    for (int offset; (offset = compiled.RegFind(at)) >= 0; ++matches)
        at += offset + compiled.GetFindLen();
    return matches;
}

long CountStandard(const std::regex& compiled, const std::string& text) {
    return std::distance(std::sregex_iterator(text.begin(), text.end(), compiled), std::sregex_iterator());
}

class Pcre {
public:
    explicit Pcre(const char* pattern) {
        int error = 0;
        PCRE2_SIZE offset = 0;
        m_code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED, PCRE2_DOTALL, &error,
                               &offset, nullptr);
        m_match = pcre2_match_data_create_from_pattern(m_code, nullptr);
        m_context = pcre2_match_context_create(nullptr);
        pcre2_set_match_limit(m_context, 1000000000);
        pcre2_set_heap_limit(m_context, 16000000);
    }
    ~Pcre() {
        pcre2_match_context_free(m_context);
        pcre2_match_data_free(m_match);
        pcre2_code_free(m_code);
    }
    Pcre(const Pcre&) = delete;
    Pcre& operator=(const Pcre&) = delete;

    long Count(const std::string& text) const {
        long matches = 0;
        for (PCRE2_SIZE at = 0;
             pcre2_match(m_code, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), at, 0, m_match, m_context) > 0;
             ++matches)
            at = pcre2_get_ovector_pointer(m_match)[1];
        return matches;
    }

private:
    pcre2_code* m_code;
    pcre2_match_data* m_match;
    pcre2_match_context* m_context;
};

void Demand(bool condition, const char* what) {
    if (condition)
        return;
    std::printf("the engines disagree: %s\n", what);
    std::exit(1);
}

void ComparePattern(const Pattern& pattern, const std::string& text) {
    CRegExp ours;
    Demand(ours.RegComp(pattern.pattern) != nullptr, pattern.what);
    const std::regex standard(pattern.pattern, std::regex::ECMAScript | std::regex::optimize);
    const Pcre pcre(pattern.pattern);
    const long expected = CountOurs(ours, text);
    Demand(CountStandard(standard, text) == expected && pcre.Count(text) == expected, pattern.what);
    const auto count = [&] { CountOurs(ours, text); };
    const std::string name = std::string(pattern.what) + " (" + std::to_string(expected) + " matches), ";
    kiv::bench::Compare((name + "std::regex").c_str(), 0.1, 3, count, [&] { CountStandard(standard, text); });
    kiv::bench::Compare((name + "PCRE2").c_str(), 1.0, 7, count, [&] { pcre.Count(text); });
}

}  // namespace

int main() {
    const std::string text = MakeText();
    for (const Pattern& pattern : kPatterns)
        ComparePattern(pattern, text);

    std::string repeated;
    for (int i = 0; i < 1000000; ++i)
        repeated += i % 3 == 0 ? 'b' : 'a';
    repeated += 'c';
    CRegExp ours;
    ours.RegComp("(a|b)*c");
    const Pcre pcre("(a|b)*c");
    Demand(CountOurs(ours, repeated) == 1 && pcre.Count(repeated) == 1, "(a|b)*c");
    kiv::bench::Compare(
        "(a|b)*c on 10^6 characters, PCRE2", 1.0, 5, [&] { CountOurs(ours, repeated); }, [&] { pcre.Count(repeated); });
    return 0;
}
