#include "install/server_list.h"

#include <string>
#include <vector>

#include "support/check.h"

namespace {

bool NoLead(unsigned char) {
    return false;
}

// As in code page 932, where "\x83\\" is one character.
bool JapaneseLead(unsigned char byte) {
    return (byte >= 0x81 && byte <= 0x9F) || byte >= 0xE0;
}

using Entries = std::vector<std::string_view>;

}  // namespace

TEST_CASE("a list is split at each semicolon but a last one") {
    const struct {
        const char* list;
        Entries entries;
    } rows[] = {
        {"", {""}},
        {";", {""}},
        {R"(\\a\s)", {R"(\\a\s)"}},
        {R"(\\a\s;\\b\s)", {R"(\\a\s)", R"(\\b\s)"}},
        {R"(\\a\s;\\b\s;)", {R"(\\a\s)", R"(\\b\s)"}},
        {R"(\\a\s;;\\b\s)", {R"(\\a\s)", "", R"(\\b\s)"}},
        {"a;;", {"a", ""}},
        {";a", {"", "a"}},
    };
    for (const auto& row : rows) {
        CAPTURE(row.list);
        CHECK(kiv::SplitServerList(row.list) == row.entries);
    }
}

TEST_CASE("entries are added and taken out") {
    CHECK(kiv::ServerListWith("", "a") == "a");
    CHECK(kiv::ServerListWith("a", "b") == "a;b");
    CHECK(kiv::ServerListWithout("a;b;c", 1) == "a;c");
    CHECK(kiv::ServerListWithout("a;;c", 0) == "c");
    CHECK(kiv::ServerListWithout("a;;c", 1) == "a;c");
    CHECK(kiv::ServerListWithout("a;b;", 2) == "a;b");
    CHECK(kiv::ServerListWithout("a", 0).empty());
}

TEST_CASE("host and share of a UNC path") {
    const struct {
        const char* path;
        const char* host;
        const char* share;
    } rows[] = {
        {R"(\\host\share\folder)", "host", "share"},
        {R"(\\host\share)", "host", "share"},
        {R"(\\host\)", "host", ""},
        {R"(\\host)", "host", ""},
        {R"(\\)", "", ""},
        {R"(\\\x)", "", "x"},
        {R"(C:\share)", "", ""},
        {R"(\host\share)", "", ""},
        {"", "", ""},
        {"\\\\host\\\x83\\x\\y", "host", "\x83\\x"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.path);
        CHECK(kiv::HostOfUncPath(row.path, JapaneseLead) == row.host);
        CHECK(kiv::ShareOfUncPath(row.path, JapaneseLead) == row.share);
    }
}

TEST_CASE("one trailing backslash goes, a character's second byte stays") {
    CHECK(kiv::WithoutTrailingBackslash(R"(C:\a\)", NoLead) == R"(C:\a)");
    CHECK(kiv::WithoutTrailingBackslash(R"(C:\a\\)", NoLead) == R"(C:\a\)");
    CHECK(kiv::WithoutTrailingBackslash(R"(C:\a)", NoLead) == R"(C:\a)");
    CHECK(kiv::WithoutTrailingBackslash(R"(\)", NoLead).empty());
    CHECK(kiv::WithoutTrailingBackslash("", NoLead).empty());
    CHECK(kiv::WithoutTrailingBackslash("C:\\\x83\\", NoLead) == "C:\\\x83");
    CHECK(kiv::WithoutTrailingBackslash("C:\\\x83\\", JapaneseLead) == "C:\\\x83\\");
    CHECK(kiv::WithoutTrailingBackslash("C:\\\x83", JapaneseLead) == "C:\\\x83");
}
