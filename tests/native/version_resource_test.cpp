#include "files/version_resource.h"

#include "support/check.h"
#include "support/version_block.h"

using kiv::test::StandardVersion;
using kiv::test::VersionBlock;
using kiv::test::VersionNode;
using kiv::test::VersionShape;

namespace {

using Wide = kiv::VersionResource<char16_t>;
using Narrow = kiv::VersionResource<char>;

const FILE_VERSION kVersion{1, 2, 3, 4};

VersionNode TwoLanguages() {
    return StandardVersion(kVersion, {{0x407, 1252, {{"CompanyName", "Firma"}, {"Comments", ""}}},
                                      {0x409, 1252, {{"CompanyName", "the company"}}}});
}

// The node of the string "CompanyName" in the first table.
VersionNode& FirstString(VersionNode& root) {
    return root.children[0].children[0].children[0];
}

std::optional<std::u16string> Company(const VersionNode& root) {
    const std::string block = VersionBlock(root);
    return Wide(block).FindText(u"\\StringFileInfo\\040704e4\\companyname");
}

}  // namespace

TEST_CASE("the fixed information gives the file version") {
    for (const VersionShape shape : {VersionShape::kWide, VersionShape::kNarrow}) {
        const std::string block = VersionBlock(TwoLanguages(), shape);
        CHECK(kiv::IsNarrowVersionBlock(block) == (shape == VersionShape::kNarrow));
        const auto root = shape == VersionShape::kWide ? Wide(block).FindValue(u"\\") : Narrow(block).FindValue("\\");
        REQUIRE(root);
        CHECK(root->size() == 52);
        REQUIRE(kiv::FixedFileVersion(*root));
        CHECK(CKivFileVersion(*kiv::FixedFileVersion(*root)) == kVersion);
    }
}

TEST_CASE("fixed information that is short or unsigned is none") {
    const std::string sound = kiv::test::FixedInformation(kVersion);
    CHECK(kiv::FixedFileVersion(sound.substr(0, 16)));
    CHECK_FALSE(kiv::FixedFileVersion(sound.substr(0, 15)));
    CHECK_FALSE(kiv::FixedFileVersion(""));
    std::string foreign = sound;
    foreign[0] = '\0';
    CHECK_FALSE(kiv::FixedFileVersion(foreign));
}

TEST_CASE("strings and languages are found by path in both shapes") {
    const std::string wide = VersionBlock(TwoLanguages());
    const std::string narrow = VersionBlock(TwoLanguages(), VersionShape::kNarrow);
    const auto translations = Wide(wide).FindValue(u"\\VarFileInfo\\Translation");
    REQUIRE(translations);
    CHECK(translations == Narrow(narrow).FindValue("VARFILEINFO\\\\translation\\"));
    REQUIRE(kiv::TranslationAt(*translations, 1));
    CHECK(kiv::TranslationAt(*translations, 1)->language == 0x409);
    CHECK(kiv::TranslationAt(*translations, 1)->codePage == 1252);
    CHECK_FALSE(kiv::TranslationAt(*translations, 2));
    CHECK_FALSE(kiv::TranslationAt(translations->substr(0, 7), 1));

    CHECK(Wide(wide).FindText(u"\\StringFileInfo\\040904e4\\CompanyName") == u"the company");
    CHECK(Narrow(narrow).FindText("\\StringFileInfo\\040904e4\\CompanyName") == "the company");
    CHECK(Wide(wide).FindText(u"\\StringFileInfo\\040704e4\\Comments") == u"");
    CHECK_FALSE(Wide(wide).FindText(u"\\StringFileInfo\\040704e4\\Company"));
    CHECK_FALSE(Wide(wide).FindText(u"\\StringFileInfo\\040804e4\\CompanyName"));
    CHECK_FALSE(Narrow(narrow).FindText("\\StringFileInfo\\040704e4\\CompanyName\\x"));
}

TEST_CASE("lengths that lie never reach outside their node") {
    VersionNode root = TwoLanguages();
    CHECK(Company(root) == u"Firma");

    SUBCASE("a text length in bytes") {
        FirstString(root).claimedValueLength = std::uint16_t{12};
        CHECK(Company(root) == u"Firma");
    }
    SUBCASE("a text length that is too long or too short") {
        for (const std::uint16_t length : {1, 3, 0x7FFF, 0xFFFF}) {
            FirstString(root).claimedValueLength = length;
            CHECK(Company(root) == u"Firma");
        }
        FirstString(root).claimedValueLength = std::uint16_t{0};
        CHECK(Company(root) == u"");
    }
    SUBCASE("a string that claims the whole resource") {
        FirstString(root).claimedLength = std::uint16_t{0xFFFF};
        CHECK(Company(root) == u"Firma");
    }
    SUBCASE("a string that ends in its text or in its key") {
        FirstString(root).claimedLength = std::uint16_t{6 + 24 + 2 + 6};  // header, key, padding, three characters
        CHECK(Company(root) == u"Fir");
        for (const std::uint16_t length : {0, 5, 6, 7, 29}) {
            FirstString(root).claimedLength = length;
            CHECK_FALSE(Company(root));
        }
    }
    SUBCASE("a root that claims more or less than there is") {
        root.claimedLength = std::uint16_t{0xFFFF};
        CHECK(Company(root) == u"Firma");
        root.claimedLength = std::uint16_t{0x60};
        CHECK_FALSE(Company(root));
        root.claimedLength = std::uint16_t{0};
        CHECK_FALSE(Company(root));
    }
    SUBCASE("fixed information that claims everything hides the rest") {
        root.claimedValueLength = std::uint16_t{0xFFFF};
        CHECK_FALSE(Company(root));
        CHECK(kiv::FixedFileVersion(*Wide(VersionBlock(root)).FindValue(u"\\")));
    }
}

TEST_CASE("a resource cut anywhere is read without leaving it") {
    for (const VersionShape shape : {VersionShape::kWide, VersionShape::kNarrow}) {
        const std::string whole = VersionBlock(TwoLanguages(), shape);
        for (std::size_t size = 0; size < whole.size(); ++size) {
            const std::string cut(whole, 0, size);  // on the heap: the address sanitizer sees a step outside
            kiv::IsNarrowVersionBlock(cut);
            const auto root = Wide(cut).FindValue(u"\\");
            CHECK((!root || root->size() <= size));
            const auto text = Wide(cut).FindText(u"\\StringFileInfo\\040904e4\\CompanyName");
            CHECK((!text || text->size() <= 11));
            const auto narrowText = Narrow(cut).FindText("\\StringFileInfo\\040904e4\\CompanyName");
            CHECK((!narrowText || narrowText->size() <= 11));
        }
    }
}
