#include "registry/key_path.h"

#include <string>

#include "support/check.h"

namespace {

bool NoLeadByte(unsigned char) {
    return false;
}

// Code page 932: "\x95\x5C" is one character whose second byte is that of a backslash.
bool JapaneseLeadByte(unsigned char byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

}  // namespace

TEST_CASE("every root name is recognised in any case and kept in its short form") {
    struct Row {
        const char* name;
        std::uint32_t root;
        const char* shortName;
    };
    constexpr Row kRows[] = {
        {"HKLM", 0x80000002U, "HKLM"},
        {"HKCU", 0x80000001U, "HKCU"},
        {"HKCR", 0x80000000U, "HKCR"},
        {"HKU", 0x80000003U, "HKU"},
        {"HKPD", 0x80000004U, "HKPD"},
        {"HKCC", 0x80000005U, "HKCC"},
        {"HKDD", 0x80000006U, "HKDD"},
        {"hkey_local_machine", 0x80000002U, "HKLM"},
        {"Hkey_Current_User", 0x80000001U, "HKCU"},
        {"HKEY_CLASSES_ROOT", 0x80000000U, "HKCR"},
        {"HKEY_USERS", 0x80000003U, "HKU"},
        {"HKEY_PERFORMANCE_DATA", 0x80000004U, "HKPD"},
        {"HKEY_CURRENT_CONFIG", 0x80000005U, "HKCC"},
        {"HKEY_DYN_DATA", 0x80000006U, "HKDD"},
    };
    for (const Row& row : kRows) {
        CAPTURE(row.name);
        const std::string path = std::string(row.name) + "\\.DEFAULT\\x";
        const kiv::ParsedKeyPath parsed = kiv::ParseKeyPath(path);
        CHECK(parsed.root == row.root);
        CHECK(parsed.subkey == ".DEFAULT\\x");
        CHECK(kiv::CanonicalKeyPath(path) == std::string(row.shortName) + "\\.DEFAULT\\x");
        CHECK(kiv::ParseKeyPath(row.name).subkey.empty());
        CHECK(kiv::CanonicalKeyPath(row.name) == row.shortName);
    }
}

TEST_CASE("one character behind the root is skipped unseen; a path without root has none") {
    CHECK(kiv::ParseKeyPath("HKLMX\\y").subkey == "\\y");
    CHECK(kiv::CanonicalKeyPath("HKEY_USERSX\\y") == "HKUX\\y");
    CHECK(kiv::ParseKeyPath("HKLM\\").subkey.empty());
    for (const char* path : {"", "HK", "HKEY_LOCAL", "Software\\HKLM", "\\HKLM", " HKLM", "\x95KLM\\x"}) {
        CAPTURE(path);
        CHECK(kiv::ParseKeyPath(path).root == 0);
        CHECK(kiv::CanonicalKeyPath(path).empty());
    }
}

TEST_CASE("parent and subkey are joined with one backslash") {
    const auto join = [](const char* parent, const char* subkey) {
        return kiv::JoinKeyPath(parent, subkey, JapaneseLeadByte);
    };
    CHECK(join("HKLM\\Software", "TAV") == "HKLM\\Software\\TAV");
    CHECK(join("HKLM\\Software", "\\TAV") == "HKLM\\Software\\TAV");
    CHECK(join("HKLM\\Software\\", "TAV") == "HKLM\\Software\\TAV");
    CHECK(join("HKLM\\Software\\", "\\\\TAV") == "HKLM\\Software\\\\TAV");
    CHECK(join("HKLM\\Software", "") == "HKLM\\Software");
    CHECK(join("", "TAV") == "\\TAV");
    CHECK(join("HKLM\\\x95\x5C", "TAV") == "HKLM\\\x95\x5C\\TAV");
}

TEST_CASE("name and parent go by characters") {
    CHECK(kiv::KeyName("HKLM\\a\\b", NoLeadByte) == "b");
    CHECK(kiv::ParentKeyPath("HKLM\\a\\b", NoLeadByte) == "HKLM\\a");
    CHECK(kiv::KeyName("HKLM", NoLeadByte) == "HKLM");
    CHECK(kiv::ParentKeyPath("HKLM", NoLeadByte).empty());
    CHECK(kiv::KeyName("HKLM\\a\\", NoLeadByte).empty());
    CHECK(kiv::KeyName("HKLM\\\x95\x5C"
                       "b",
                       JapaneseLeadByte) == "\x95\x5C"
                                            "b");
    CHECK(kiv::ParentKeyPath("HKLM\\a\\\x95\x5C", JapaneseLeadByte) == "HKLM\\a");
    CHECK(kiv::WithoutTrailingBackslashes("HKLM\\a\\\\", NoLeadByte) == "HKLM\\a");
    CHECK(kiv::WithoutTrailingBackslashes("HKLM\\\x95\x5C\\", JapaneseLeadByte) == "HKLM\\\x95\x5C");
    CHECK(kiv::WithoutTrailingBackslashes("\\\\", NoLeadByte).empty());
    CHECK(kiv::KeyName("HKLM\\a\x95", JapaneseLeadByte) == "a\x95");  // half a character at the end
}

TEST_CASE("a long path is cut behind whole names") {
    CHECK(kiv::PieceEnd("abc\\def\\ghi", 7, NoLeadByte) == 7);
    CHECK(kiv::PieceEnd("abc\\def\\ghi", 6, NoLeadByte) == 3);
    CHECK(kiv::PieceEnd("abc\\def\\ghi", 2, NoLeadByte) == 3);
    CHECK(kiv::PieceEnd("abcdefghi", 4, NoLeadByte) == std::string_view::npos);
    CHECK(kiv::PieceEnd("ab\\\x95\x5C\\x", 4, JapaneseLeadByte) == 2);
    CHECK(kiv::PieceEnd("ab\\\x95\x5C\\x", 5, JapaneseLeadByte) == 5);
}

TEST_CASE("a machine name begins with two backslashes") {
    CHECK(kiv::MachineName("host") == "\\\\host");
    CHECK(kiv::MachineName("\\\\host") == "\\\\host");
    CHECK(kiv::MachineName("\\host") == "\\\\\\host");
}
