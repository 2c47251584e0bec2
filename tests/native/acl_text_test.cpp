#include "security/acl_text.h"

#include <cstdio>
#include <string>
#include <vector>

#include "security/acl_layout.h"
#include "support/check.h"
#include "support/naive_acl.h"

namespace {

// Each entry as "type flags mask sid", joined by "; ", "*" for Everyone.
std::string Read(std::string text) {
    std::string entries;
    kiv::AclTextReader reader(text.data());
    kiv::AclTextEntry entry;
    while (reader.Next(entry)) {
        char numbers[40];
        std::snprintf(numbers, sizeof numbers, "%u %u %x ", entry.type, entry.flags, entry.mask);
        entries += (entries.empty() ? "" : "; ") + std::string(numbers) + (entry.sid != nullptr ? entry.sid : "*");
    }
    return entries;
}

}  // namespace

// The examples of docs/acl-text.md are executed beside these.
TEST_CASE("what a text says") {
    const std::pair<const char*, const char*> rows[] = {
        {"{0-3-0x10000000-[S-1-5-32-544]}-{1-3-0x40000-[S-1-1-0]}", "0 3 10000000 S-1-5-32-544; 1 3 40000 S-1-1-0"},
        {"{+1--1-0x-2-[a]}", "1 255 fffffffe a"},
        {"{257-4294967298-0x1ABCDEF12-[a]}", "1 2 abcdef12 a"},
        {"{1-2-0x-[a]}", "1 2 80000000 a"},  // what follows the first mistake keeps its default
        {"{1 -2-0x3-[a]}", "1 0 80000000 a"},
        {"{08-2-0x3-[a]}", "0 0 80000000 a"},
        {"{0x-2-0x3-[a]}", "0 0 80000000 a"},
        {"{1-2-0x3-[a]b]}", "1 2 3 a"},
        {"{1-2-0x3-[a}b]}", "1 2 3 *"},
        {"{{1-2-0x3-[a]}", "0 0 80000000 a"},
        {"{1-2-0x3-[a]", ""},  // where reading ends
        {"{1-2-0x3-[a]}- {1-2-0x3-[b]}", "1 2 3 a"},
        {"{}-{}-x", "0 0 80000000 *; 0 0 80000000 *"},
    };
    kiv::test::CheckRows(rows, Read);
}

TEST_CASE("the text of a list") {
    kiv::test::NaiveAcl list;
    list.Add(kiv::test::MakeAce(0, 3, 0x10000000, 32, 1));
    list.Add(kiv::test::MakeAce(3, 255, 0xFFFFFFFF, 18));
    list.Add(kiv::test::MakeAce(1, 0, 0, 11, 14));
    std::vector<std::uint8_t> bytes = list.Bytes();
    CHECK(kiv::WriteAclText(bytes.data()) == "{1-0-0x0-[S-1-5-11-0-0-0-0-0-0-0-0-0-0-0-0-0-0]}-"
                                             "{0-3-0x10000000-[S-1-5-32-0]}-{3-255-0xffffffff-[S-1-5-18]}");
    bytes[kiv::kAclHeaderSize] = 6;  // an entry of another type
    CHECK(kiv::WriteAclText(bytes.data()).substr(0, 13) == "{6-0-0x0-[]}-");
    bytes[4] = 200;  // more entries than the list holds, and a list that is shorter than its first
    bytes[2] = 80;
    bytes[3] = 0;
    CHECK(kiv::WriteAclText(bytes.data()).empty());
}
