#include "tavkivut/reg_exp.h"

#include <string>

#include "support/check.h"

TEST_CASE("texts of 16 MB") {
    constexpr int kSize = 16 * 1024 * 1024;
    const std::string text = std::string(kSize, 'a') + 'c';
    // The last one comes back to each of its 8 million repetitions.
    const std::pair<const char*, int> rows[] = {
        {"((a*)b|a)*c", kSize + 1}, {".*", kSize + 1}, {"a+x", 0}, {"(a|aa)+x", 0}, {"(a|aa)*[cd]$", kSize + 1}};
    kiv::test::CheckRows(rows, [&](const char* pattern) {
        CRegExp compiled;
        REQUIRE(compiled.RegComp(pattern) != nullptr);
        compiled.RegFind(text.c_str());
        return compiled.GetFindLen();
    });
}
