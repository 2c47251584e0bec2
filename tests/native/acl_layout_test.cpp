#include "security/acl_layout.h"

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/check.h"
#include "support/naive_acl.h"

using kiv::test::AceBytes;
using kiv::test::MakeAce;
using kiv::test::NaiveAcl;

namespace {

using List = std::vector<std::uint8_t>;

// Entries and lists as letters: a capital letter is a denied entry, any other an allowed one. Different letters have
// different sizes.
AceBytes AceOf(char letter) {
    const bool denied = letter >= 'A' && letter <= 'Z';
    return MakeAce(denied ? kiv::kAceDenied : kiv::kAceAllowed, 0, 0x1234, static_cast<std::uint8_t>(letter),
                   static_cast<std::size_t>(letter) % 3);
}

std::string Letters(const List& list) {
    std::string letters;
    kiv::AceWalk walk(list.data());
    while (walk.Next())
        letters += static_cast<char>(walk.Entry().Sid()[kiv::kSidHeaderSize]);
    CHECK(walk.IsComplete());
    return letters;
}

// A list of that size (0: with room for just its entries) whose entries stand in that order.
List ListOf(std::string_view letters, std::size_t size = 0) {
    List list(kiv::kAclHeaderSize);
    for (const char letter : letters) {
        const AceBytes ace = AceOf(letter);
        list.insert(list.end(), ace.begin(), ace.end());
    }
    list.resize(std::max(size, list.size()));
    kiv::WriteEmptyAcl(list.data(), list.size(), kiv::kAclRevision);
    list[4] = static_cast<std::uint8_t>(letters.size());
    return list;
}

std::uint32_t AddTo(List& list, const AceBytes& ace) {
    const bool isNew = list.empty();
    const kiv::AclAddition plan = isNew ? kiv::PlanNewAcl({ace.data()}) : kiv::PlanAddition(list.data(), {ace.data()});
    if (plan.error != kiv::kAclDone)
        return plan.error;
    list.resize(plan.size);
    if (isNew)
        kiv::WriteEmptyAcl(list.data(), plan.size, kiv::kAclRevision);
    kiv::AddAce(list.data(), {ace.data()}, plan);
    return kiv::kAclDone;
}

}  // namespace

TEST_CASE("an entry is sound when its size fits what it holds") {
    const struct {
        std::size_t at;
        std::uint8_t byte;
        bool sound;
    } rows[] = {
        {0, 3, true},   {9, 1, true},  // slack behind the SID
        {2, 29, false}, {2, 24, false},
        {2, 8, false},  {2, 4, false},  // no multiple of 4, less than SID, any SID, mask
        {3, 1, false},  {8, 2, false},
        {9, 4, false},  {9, 255, false},  // more than there is; revision; sub-authorities
    };
    const AceBytes sound = MakeAce(0, 3, 0x1F01FF, 7, 2);
    CHECK_FALSE(kiv::IsSoundAce(sound.data(), sound.size() - 1));
    for (const auto& row : rows) {
        CAPTURE(row.at);
        AceBytes ace = sound;
        ace[row.at] = row.byte;
        CHECK(kiv::IsSoundAce(ace.data(), ace.size()) == row.sound);
    }
    AceBytes object = sound;
    object[0] = 5;
    object[8] = 77;  // not a SID in this type
    CHECK(kiv::IsSoundAce(object.data(), object.size()));
}

TEST_CASE("a walk never leaves its list") {
    const struct {
        const char* what;
        std::size_t at;
        std::uint8_t byte;
        const char* entries;
        bool sound;
    } rows[] = {
        {"revision 4", 0, 4, "aBc", true},
        {"unknown revision", 0, 5, "aBc", false},
        {"counts less than there is", 4, 2, "aB", true},
        {"counts more than there is", 4, 4, "aBc", false},
        {"ends within an entry", 2, 60, "aB", false},
        {"ends within its header", 2, 7, "", false},
        {"the second entry's size is 0", 8 + 24 + 2, 0, "a", false},
        {"the second entry reaches beyond the list", 8 + 24 + 3, 1, "a", false},
    };
    for (const auto& row : rows) {
        CAPTURE(row.what);
        List list = ListOf("aBc");
        list[row.at] = row.byte;
        std::string letters;
        kiv::AceWalk walk(list.data());
        while (walk.Next())
            letters += static_cast<char>(walk.Entry().Sid()[kiv::kSidHeaderSize]);
        CHECK(letters == row.entries);
        CHECK(kiv::IsSoundAcl(list.data()) == row.sound);
        CHECK((kiv::FindAce(list.data(), letters.size()) == nullptr));
    }
}

TEST_CASE("denied entries go to the front, and growth reverses those already there") {
    const struct {
        const char* list;
        std::size_t room;
        const char* added;
        const char* result;
    } rows[] = {
        {"", 0, "ABC", "CAB"},       {"", 0, "ABc", "ABc"},          {"", 0, "abc", "abc"},
        {"", 0, "aAbBcC", "CBAabc"}, {"", 1000, "ABC", "CBA"},       {"a", 0, "B", "Ba"},
        {"ABa", 0, "C", "CBAa"},     {"ABa", 0, "b", "BAab"},        {"ABa", 1000, "C", "CABa"},
        {"aAbBc", 0, "d", "BAabcd"}, {"aAbBc", 1000, "D", "DaAbBc"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.list);
        CAPTURE(row.added);
        List list = ListOf(row.list, row.room);
        for (const char letter : std::string_view(row.added))
            REQUIRE(AddTo(list, AceOf(letter)) == kiv::kAclDone);
        CHECK(Letters(list) == row.result);
        CHECK(kiv::AclSize(list.data()) == list.size());
    }
}

TEST_CASE("adding one by one, building at once and the rule step by step agree") {
    std::mt19937 random(4711);
    for (int round = 0; round < 300; ++round) {
        const std::size_t start = round % 3 == 0 ? 0 : 8 + 4 * (random() % 60);
        NaiveAcl naive(start);
        kiv::AclBuilder builder(start);
        List list = naive.Bytes();
        for (int i = 0; i < 40; ++i) {
            const AceBytes ace = MakeAce(static_cast<std::uint8_t>(random() % 5), static_cast<std::uint8_t>(random()),
                                         random(), static_cast<std::uint8_t>(i), random() % 4);
            const std::uint32_t expected = naive.Add(ace);
            REQUIRE(builder.Add({ace.data()}) == expected);
            REQUIRE(AddTo(list, ace) == expected);
        }
        List built(builder.Size());
        if (builder.HasList())
            builder.Write(built.data());
        REQUIRE(built == naive.Bytes());
        REQUIRE(list == naive.Bytes());
    }
}

TEST_CASE("what a list does not take leaves it as it was") {
    List list = ListOf("AB");
    const List before = list;
    CHECK(AddTo(list, MakeAce(4, 0, 1, 1)) == kiv::kAclWrongType);
    CHECK(list == before);

    list[4] = 3;  // one entry more than there is
    const List lying = list;
    CHECK(AddTo(list, AceOf('c')) == kiv::kAclBadArgument);
    CHECK(kiv::DeleteAce(list.data(), 0) == kiv::kAclBadArgument);
    CHECK(list == lying);
    list[4] = 2;
    list[0] = 4;  // the revision with all types
    CHECK(AddTo(list, MakeAce(5, 0, 1, 1)) == kiv::kAclDone);
}

TEST_CASE("a list takes entries up to the limit of its size field") {
    kiv::AclBuilder builder;
    const AceBytes large = MakeAce(0, 0, 1, 1, 12);
    const AceBytes small = MakeAce(1, 0, 1, 2);
    List list;
    std::uint32_t error = kiv::kAclDone;
    while (error == kiv::kAclDone) {
        error = builder.Add({large.data()});
        REQUIRE(AddTo(list, large) == error);
    }
    CHECK(error == kiv::kAclFull);
    CHECK(list.size() == 8 + 963 * 68);
    // Smaller ones still fit, up to the last byte that the alignment leaves.
    for (const std::uint32_t expected : {kiv::kAclDone, kiv::kAclDone, kiv::kAclFull}) {
        CHECK(builder.Add({small.data()}) == expected);
        CHECK(AddTo(list, small) == expected);
    }
    CHECK(list.size() == 0xFFFC);
    List built(builder.Size());
    builder.Write(built.data());
    CHECK(built == list);
    CHECK(kiv::IsSoundAcl(list.data()));
    // And there is an entry that no list has room for.
    AceBytes huge(0xFFFC);
    kiv::WriteAce(huge.data(), 0, 0, 1, small.data() + kiv::kAceSidOffset, 12);
    huge[2] = 0xFC;
    huge[3] = 0xFF;
    List none;
    CHECK(AddTo(none, huge) == kiv::kAclFull);
    CHECK(kiv::AclBuilder().Add({huge.data()}) == kiv::kAclFull);
}

TEST_CASE("deleting closes the gap and keeps the size") {
    List list = ListOf("aBcD", 300);
    CHECK(kiv::DeleteAce(list.data(), 4) == kiv::kAclBadArgument);
    CHECK(kiv::DeleteAce(list.data(), 1) == kiv::kAclDone);
    CHECK(Letters(list) == "acD");
    CHECK(kiv::DeleteAce(list.data(), 2) == kiv::kAclDone);
    CHECK(Letters(list) == "ac");
    CHECK(kiv::AclSize(list.data()) == 300);
}
