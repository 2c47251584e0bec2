#include "files/version_resource.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "support/check.h"
#include "support/version_data.h"

using kiv::test::kLengthField;
using kiv::test::kValueLengthField;
using kiv::test::WithClaim;

namespace {

using Wide = kiv::VersionResource<char16_t>;
using Narrow = kiv::VersionResource<char>;

std::string Block(const char* name) {
    std::ifstream file(std::string(std::getenv("KIV_TEST_DATA")) + "/version/" + name, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(file), {});
    REQUIRE_FALSE(bytes.empty());
    return bytes;
}

std::optional<std::u16string> Company(const std::string& block) {
    return Wide(block).FindText({u"StringFileInfo", u"040c04e4", u"companyname"});
}

}  // namespace

TEST_CASE("both shapes of a version resource tell the same") {
    const std::string wide = Block("wide.bin");
    const std::string narrow = Block("narrow.bin");
    CHECK((kiv::IsNarrowVersionBlock(narrow) && !kiv::IsNarrowVersionBlock(wide)));
    for (const auto& root : {Wide(wide).FindValue({}), Narrow(narrow).FindValue({})}) {
        const CKivFileVersion version(kiv::FixedFileVersion(root.value()).value());
        CHECK(version == FILE_VERSION{5, 50, 4134, 600});
        CHECK((kiv::FixedFileVersion(root->substr(0, 16)) && !kiv::FixedFileVersion(root->substr(0, 15))));
        CHECK_FALSE(kiv::FixedFileVersion(root->substr(1)));  // no signature
    }
    for (const auto& list : {Wide(wide).FindValue({u"VarFileInfo", u"Translation"}),
                             Narrow(narrow).FindValue({"VARFILEINFO", "translation"})}) {
        const auto last = kiv::TranslationAt(list.value(), 2);
        CHECK((last->language == 0x407 && last->codePage == 1252));
        CHECK_FALSE((kiv::TranslationAt(list.value(), 3) || kiv::TranslationAt(list->substr(0, 11), 2)));
    }
    CHECK(Company(wide) == u"societe");
    CHECK(Wide(wide).FindText({u"StringFileInfo", u"040904B0", u"Empty"}) == u"");
    CHECK_FALSE(Wide(wide).FindText({u"StringFileInfo", u"040904B0", u"Company"}));
    CHECK(Narrow(narrow).FindText({"StringFileInfo", "040704e4", "Comments"}) == "gut");
    CHECK_FALSE(Narrow(narrow).FindText({"StringFileInfo", "040704e4", "Comments", "gut"}));
}

TEST_CASE("lengths that lie never lead outside their node") {
    const std::string wide = Block("wide.bin");
    for (const unsigned length : {1, 9, 16, 0x7FFF, 0xFFFF})  // characters, bytes or nonsense: the text ends it
        CHECK(Company(WithClaim(wide, "CompanyName", kValueLengthField, length)) == u"societe");
    CHECK(Company(WithClaim(wide, "CompanyName", kValueLengthField, 0)) == u"");
    CHECK(Company(WithClaim(wide, "CompanyName", kLengthField, 0xFFFF)) == u"societe");
    CHECK(Company(WithClaim(wide, "CompanyName", kLengthField, 6 + 24 + 2 + 6)) == u"soc");  // key, padding, text
    for (const unsigned length : {0, 5, 6, 7, 29})
        CHECK_FALSE(Company(WithClaim(wide, "CompanyName", kLengthField, length)));
    for (const unsigned length : {0, 5, 0x60})
        CHECK_FALSE(Company(WithClaim(wide, "VS_VERSION_INFO", kLengthField, length)));
    const std::string greedy = WithClaim(wide, "VS_VERSION_INFO", kValueLengthField, 0xFFFF);
    CHECK_FALSE(Company(greedy));
    CHECK(kiv::FixedFileVersion(Wide(greedy).FindValue({}).value()));
}

TEST_CASE("a resource cut anywhere is read without leaving it") {
    for (const char* name : {"wide.bin", "narrow.bin"}) {
        for (std::string cut = Block(name); !cut.empty(); cut.pop_back()) {
            cut.shrink_to_fit();  // so that the address sanitizer sees a step outside
            CHECK(Company(cut).value_or(u"societe").size() <= 7);
            CHECK(Narrow(cut).FindText({"StringFileInfo", "040704e4", "Comments"}).value_or("gut").size() <= 3);
        }
    }
}
