// A pattern, a zero byte, a text: compiled and searched as the naive matcher does it.

#include <memory>
#include <string>
#include <vector>

#include "require.h"
#include "support/naive_reg_exp.h"
#include "tavkivut/reg_exp.h"

namespace {

using kiv::test::NaiveRegExp;

constexpr std::size_t kLongestPattern = 300;  // beyond what compiles
constexpr std::size_t kLongestText = 64;
constexpr long kSteps = 20000;  // of the naive matcher, for each position

std::unique_ptr<NaiveRegExp> ParseNaively(const std::string& pattern) {
    try {
        return pattern.size() > 255 ? nullptr : std::make_unique<NaiveRegExp>(pattern);
    } catch (const std::invalid_argument&) {
        return nullptr;
    }
}

std::string Group(CRegExp& compiled, char group) {
    const char replacement[] = {'\\', group, '\0'};
    std::vector<char> text(compiled.GetReplaceString(replacement, nullptr, 0));
    Require(!text.empty() && compiled.GetReplaceString(replacement, text.data(), text.size()) == text.size());
    return text.data();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string pattern(input.substr(0, kLongestPattern).c_str());
    const std::string text(input.size() > pattern.size() ? input.substr(pattern.size() + 1, kLongestText).c_str() : "");
    const auto naive = ParseNaively(pattern);
    CRegExp compiled;
    Require((compiled.RegComp(std::vector<char>(pattern.c_str(), pattern.c_str() + pattern.size() + 1).data()) !=
             nullptr) == (naive != nullptr));
    const int offset = compiled.RegFind(std::vector<char>(text.c_str(), text.c_str() + text.size() + 1).data());
    if (naive == nullptr)
        return 0;
    NaiveRegExp::Match match{};
    const auto answer = naive->Find(text, match, kSteps);
    if (answer == NaiveRegExp::Answer::kGivenUp)
        return 0;
    Require((offset >= 0) == (answer == NaiveRegExp::Answer::kFound));
    if (offset < 0)
        return 0;
    Require(static_cast<std::size_t>(offset) == match.offset);
    Require(static_cast<std::size_t>(compiled.GetFindLen()) == match.length);
    for (std::size_t group = 1; group <= 9; ++group)
        Require(Group(compiled, static_cast<char>('0' + group)) == match.groups[group]);
    return 0;
}
