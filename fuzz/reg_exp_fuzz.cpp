// A pattern, a zero byte, a text: compiled and searched as the naive matcher does it.

#include <string>
#include <vector>

#include "require.h"
#include "support/naive_reg_exp.h"
#include "tavkivut/reg_exp.h"

namespace {

constexpr std::size_t kLongestPattern = 300;  // beyond what compiles
constexpr std::size_t kLongestText = 64;
constexpr long kSteps = 20000;  // of the naive matcher

// A block with nothing behind it, so that the sanitizer sees a read beyond.
std::vector<char> Exact(const std::string& text) {
    return {text.c_str(), text.c_str() + text.size() + 1};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string pattern(input.substr(0, kLongestPattern).c_str());
    const std::string text(input.size() > pattern.size() ? input.substr(pattern.size() + 1, kLongestText).c_str() : "");
    const auto naive = kiv::test::ParseNaively(pattern);
    CRegExp compiled;
    Require((compiled.RegComp(Exact(pattern).data()) != nullptr) == (naive != nullptr));
    const std::string found = kiv::test::FoundBy(compiled, Exact(text).data());
    const auto expected = naive == nullptr ? "none" : naive->Find(text, kSteps);
    Require(!expected || found == *expected);
    return 0;
}
