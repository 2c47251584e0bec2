#include "files/path_text.h"
#include "install/server_list.h"

#include <string>
#include <vector>

#include "support/check.h"

using Text = std::string_view;

namespace {

// As in code page 932, where "\x83\\" is one character.
bool JapaneseLead(unsigned char byte) {
    return (byte >= 0x81 && byte <= 0x9F) || byte >= 0xE0;
}

}  // namespace

TEST_CASE("a list is split at each semicolon but a last one") {
    const std::pair<Text, std::vector<Text>> rows[] = {
        {"", {""}},         {";", {""}},       {R"(\\a\s;\\b\s;)", {R"(\\a\s)", R"(\\b\s)"}}, {"a;;b", {"a", "", "b"}},
        {"a;;", {"a", ""}}, {";a", {"", "a"}},
    };
    for (const auto& row : rows)
        CHECK(kiv::SplitServerList(row.first) == row.second);
    CHECK((kiv::ServerListWith("", "a") == "a" && kiv::ServerListWith("a", "b") == "a;b"));
    CHECK((kiv::ServerListWithout("a;b;c", 1) == "a;c" && kiv::ServerListWithout("a", 0).empty()));
    CHECK((kiv::ServerListWithout("a;;c", 1) == "a;c" && kiv::ServerListWithout("a;b;", 2) == "a;b"));
}

TEST_CASE("host and share of a UNC path; one trailing backslash goes, a character's second byte stays") {
    const struct {
        Text path, host, share, withoutBackslash;
    } rows[] = {
        {R"(\\host\share\folder)", "host", "share", R"(\\host\share\folder)"},
        {R"(\\host\share\)", "host", "share", R"(\\host\share)"},
        {R"(\\host\)", "host", "", R"(\\host)"},
        {R"(\\)", "", "", R"(\)"},
        {R"(\\\x)", "", "x", R"(\\\x)"},
        {R"(C:\share\\)", "", "", R"(C:\share\)"},
        {"", "", "", ""},
        {"\\\\host\\\x83\\x\\\x83\\", "host", "\x83\\x", "\\\\host\\\x83\\x\\\x83\\"},
        {"\\\\host\\s\x83", "host", "s\x83", "\\\\host\\s\x83"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.path);
        CHECK(kiv::HostOfUncPath(row.path, JapaneseLead) == row.host);
        CHECK(kiv::ShareOfUncPath(row.path, JapaneseLead) == row.share);
        CHECK(kiv::WithoutTrailingBackslash(row.path, JapaneseLead) == row.withoutBackslash);
    }
}
