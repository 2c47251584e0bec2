#include "registry/key_path.h"

#include <string>

#include "support/check.h"

namespace {

// Code page 932: "\x95\x5C" is one character whose second byte is that of a backslash.
bool IsLead(unsigned char byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

}  // namespace

TEST_CASE("every root name is recognised in any case and kept in its short form") {
    const struct {
        const char* name;
        const char* shortName;
        std::uint32_t number;
    } rows[] = {
        {"hkey_local_machine", "HKLM", 2}, {"HKEY_CURRENT_USER", "HKCU", 1},     {"Hkey_Classes_Root", "HKCR", 0},
        {"HKEY_USERS", "HKU", 3},          {"HKEY_PERFORMANCE_DATA", "HKPD", 4}, {"HKEY_CURRENT_CONFIG", "HKCC", 5},
        {"HKEY_DYN_DATA", "HKDD", 6},
    };
    for (const auto& row : rows) {
        for (const std::string name : {row.name, row.shortName}) {
            CAPTURE(name);
            const std::string path = name + "\\.DEFAULT\\x";
            const kiv::ParsedKeyPath parsed = kiv::ParseKeyPath(path);
            CHECK((parsed.root == 0x80000000U + row.number && parsed.subkey == ".DEFAULT\\x"));
            CHECK((kiv::ParseKeyPath(name).subkey.empty() && kiv::CanonicalKeyPath(name) == row.shortName));
        }
    }
}

TEST_CASE("one character behind the root is skipped unseen; a path without root has none") {
    CHECK(kiv::ParseKeyPath("HKLMX\\y").subkey == "\\y");
    CHECK(kiv::CanonicalKeyPath("HKEY_USERSX\\y") == "HKUX\\y");
    for (const char* path : {"", "HK", "HKEY_LOCAL", "\\HKLM", " HKLM", "\x95KLM\\x"})
        CHECK((kiv::ParseKeyPath(path).root == 0 && kiv::CanonicalKeyPath(path).empty()));
}

TEST_CASE("paths are joined and taken apart by characters") {
    CHECK(kiv::JoinKeyPath("HKLM\\a", "TAV", IsLead) == "HKLM\\a\\TAV");
    CHECK(kiv::JoinKeyPath("HKLM\\a", "\\TAV", IsLead) == "HKLM\\a\\TAV");
    CHECK(kiv::JoinKeyPath("HKLM\\a\\", "\\\\TAV", IsLead) == "HKLM\\a\\\\TAV");
    CHECK(kiv::JoinKeyPath("HKLM\\\x95\x5C", "TAV", IsLead) == "HKLM\\\x95\x5C\\TAV");
    CHECK((kiv::JoinKeyPath("HKLM", "", IsLead) == "HKLM" && kiv::JoinKeyPath("", "TAV", IsLead) == "\\TAV"));
    CHECK((kiv::KeyName("HKLM\\a\\b", IsLead) == "b" && kiv::ParentKeyPath("HKLM\\a\\b", IsLead) == "HKLM\\a"));
    CHECK((kiv::KeyName("HKLM", IsLead) == "HKLM" && kiv::ParentKeyPath("HKLM", IsLead).empty()));
    CHECK((kiv::KeyName("a\\\x95\x5Cx", IsLead) == "\x95\x5Cx" && kiv::KeyName("a\\b\x95", IsLead) == "b\x95"));
    CHECK(kiv::WithoutTrailingBackslashes("HKLM\\\x95\x5C\\\\", IsLead) == "HKLM\\\x95\x5C");
    CHECK((kiv::MachineName("host") == "\\\\host" && kiv::MachineName("\\\\host") == "\\\\host"));
}

TEST_CASE("a long path is cut behind whole names") {
    CHECK((kiv::PieceEnd("abc\\def\\ghi", 7, IsLead) == 7 && kiv::PieceEnd("abc\\def\\ghi", 6, IsLead) == 3));
    CHECK((kiv::PieceEnd("abc\\def", 2, IsLead) == 3 && kiv::PieceEnd("abcdef", 4, IsLead) == std::string::npos));
    CHECK((kiv::PieceEnd("ab\\\x95\x5C\\x", 4, IsLead) == 2 && kiv::PieceEnd("ab\\\x95\x5C\\x", 5, IsLead) == 5));
}
