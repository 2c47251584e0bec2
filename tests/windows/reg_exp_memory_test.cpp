#include "tavkivut/reg_exp.h"

#include <string>
#include <vector>

#include "support/check.h"
#include "support/resource_count.h"

namespace {

// Objects in every state, copied onto each other in every direction; matches short and long.
void CopyInEveryState() {
    const std::string longText = "a" + std::string(1000, 'b') + "c";
    std::vector<CRegExp> objects(6);
    objects[1].RegComp("(");
    objects[2].RegComp("b+");
    objects[3].RegComp("(a|ab)*(b)(c)?");
    objects[3].RegFind("xabc");
    objects[4].RegComp("a(b+)c");
    objects[4].RegFind(longText.c_str());
    objects[5].RegComp("b");
    objects[5].RegComp("b**");
    objects[5].RegFind("b");
    for (const CRegExp& source : objects) {
        for (const CRegExp& target : objects) {
            CRegExp copy(target);
            copy.RegFind("ab");
            copy = source;
            copy = copy;
            copy.RegFind(longText.c_str());
            copy = source;
            copy.RegComp("x*y");
        }
    }
}

}  // namespace

TEST_CASE("objects free each of their buffers once") {
    CopyInEveryState();
    const kiv::test::ResourceCount before = kiv::test::CountResources();
    for (int round = 0; round < 20; ++round)
        CopyInEveryState();
    CHECK(kiv::test::CountResources() == before);
}

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
