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
    const kiv::AclAddition plan = kiv::PlanAddition(list.data(), {ace.data()});
    if (plan.error != kiv::kAclDone)
        return plan.error;
    list.resize(plan.size);
    kiv::AddAce(list.data(), {ace.data()}, plan);
    return kiv::kAclDone;
}

}  // namespace

TEST_CASE("an entry is sound when its size fits what it holds") {
    const AceBytes sound = MakeAce(0, 3, 0x1F01FF, 7, 2);
    const auto with = [&](std::size_t at, std::uint8_t byte) {
        AceBytes ace = sound;
        ace[at] = byte;
        return kiv::IsSoundAce(ace.data(), ace.size());
    };
    CHECK(kiv::IsSoundAce(sound.data(), sound.size()));
    CHECK_FALSE(kiv::IsSoundAce(sound.data(), sound.size() - 1));
    CHECK_FALSE(with(2, 29));  // no multiple of 4
    CHECK_FALSE(with(2, 24));  // shorter than its SID
    CHECK_FALSE(with(2, 8));   // without any SID
    CHECK_FALSE(with(2, 4));   // without a mask
    CHECK_FALSE(with(2, 0));
    CHECK_FALSE(with(3, 1));  // longer than its memory
    CHECK_FALSE(with(8, 2));  // revision of the SID
    CHECK_FALSE(with(9, 4));  // one sub-authority too many
    CHECK_FALSE(with(9, 255));
    CHECK(with(9, 1));  // slack behind the SID
    CHECK(with(0, 3));
    AceBytes object = sound;
    object[0] = 5;
    object[8] = 77;  // not a SID in this type
    CHECK(kiv::IsSoundAce(object.data(), object.size()));
    CHECK(kiv::AceView{object.data()}.Sid() == nullptr);
}

TEST_CASE("a walk never leaves its list") {
    const struct {
        const char* what;
        std::size_t at;
        std::uint8_t byte;
        const char* entries;
        bool sound;
    } rows[] = {
        {"as it is", 0, 2, "aBc", true},
        {"revision 4", 0, 4, "aBc", true},
        {"unknown revision", 0, 5, "aBc", false},
        {"revision 1", 0, 1, "aBc", false},
        {"counts less than there is", 4, 2, "aB", true},
        {"counts more than there is", 4, 4, "aBc", false},
        {"counts thousands", 5, 0xFF, "aBc", false},
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

TEST_CASE("a copy follows the rule for adding and keeps the size") {
    const struct {
        const char* list;
        const char* copy;
    } rows[] = {{"ABC", "CBA"}, {"aBc", "Bac"}, {"", ""}, {"aAbBcC", "CBAabc"}};
    for (const auto& row : rows) {
        const List list = ListOf(row.list, 500);
        kiv::AclBuilder builder(kiv::AclSize(list.data()));
        REQUIRE(kiv::CopyEntries(list.data(), builder) == kiv::kAclDone);
        List copy(builder.Size());
        builder.Write(copy.data());
        CHECK(Letters(copy) == row.copy);
        CHECK(copy.size() == 500);
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
            if (list.empty()) {
                const kiv::AclAddition plan = kiv::PlanNewAcl({ace.data()});
                REQUIRE(plan.error == expected);
                if (plan.error != kiv::kAclDone)
                    continue;
                list.resize(plan.size);
                kiv::WriteEmptyAcl(list.data(), plan.size, kiv::kAclRevision);
                kiv::AddAce(list.data(), {ace.data()}, plan);
            } else {
                REQUIRE(AddTo(list, ace) == expected);
            }
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
    CHECK(AddTo(list, MakeAce(9, 0, 1, 1)) == kiv::kAclWrongType);
    CHECK(list == before);

    SUBCASE("a list of a higher revision takes more types") {
        list[0] = 3;
        CHECK(AddTo(list, MakeAce(5, 0, 1, 1)) == kiv::kAclWrongType);
        CHECK(AddTo(list, MakeAce(4, 0, 1, 1)) == kiv::kAclDone);
        list[0] = 4;
        CHECK(AddTo(list, MakeAce(5, 0, 1, 1)) == kiv::kAclDone);
    }
    SUBCASE("a list that lies about its entries is not touched") {
        list[4] = 3;
        const List lying = list;
        CHECK(AddTo(list, AceOf('c')) == kiv::kAclBadArgument);
        CHECK(kiv::DeleteAce(list.data(), 0) == kiv::kAclBadArgument);
        List block(list.size());
        CHECK_FALSE(kiv::CopyInPreferredOrder(list.data(), block.data()));
        CHECK(list == lying);
    }
}

TEST_CASE("a list takes entries up to the limit of its size field") {
    kiv::AclBuilder builder;
    const AceBytes large = MakeAce(0, 0, 1, 1, 12);
    const AceBytes small = MakeAce(1, 0, 1, 2);
    List list = ListOf("");
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
    CHECK(kiv::PlanNewAcl({huge.data()}).error == kiv::kAclFull);
    CHECK(kiv::AclBuilder().Add({huge.data()}) == kiv::kAclFull);
}

TEST_CASE("deleting closes the gap and keeps the size") {
    List list = ListOf("aBcD", 300);
    CHECK(kiv::DeleteAce(list.data(), 4) == kiv::kAclBadArgument);
    CHECK(kiv::DeleteAce(list.data(), 1) == kiv::kAclDone);
    CHECK(Letters(list) == "acD");
    CHECK(kiv::DeleteAce(list.data(), 2) == kiv::kAclDone);
    CHECK(kiv::DeleteAce(list.data(), 0) == kiv::kAclDone);
    CHECK(kiv::DeleteAce(list.data(), 0) == kiv::kAclDone);
    CHECK(Letters(list).empty());
    CHECK(kiv::AclSize(list.data()) == 300);
    CHECK(kiv::DeleteAce(list.data(), 0) == kiv::kAclBadArgument);
}

TEST_CASE("the preferred order is own before inherited, denied before others") {
    const struct {
        char letter;
        std::uint8_t type;
        std::uint8_t flags;
    } entries[] = {{'1', 0, 0x10}, {'2', 1, 0x13}, {'3', 0, 3}, {'4', 1, 0},
                   {'5', 2, 0},    {'6', 1, 0x10}, {'7', 1, 2}, {'8', 0, 0x10}};
    List list(kiv::kAclHeaderSize);
    for (const auto& entry : entries) {
        const AceBytes ace = MakeAce(entry.type, entry.flags, 1, static_cast<std::uint8_t>(entry.letter));
        list.insert(list.end(), ace.begin(), ace.end());
    }
    kiv::WriteEmptyAcl(list.data(), list.size(), 3);
    list[4] = static_cast<std::uint8_t>(std::size(entries));
    List ordered(list.size());
    REQUIRE(kiv::CopyInPreferredOrder(list.data(), ordered.data()));
    CHECK(Letters(ordered) == "47352618");
    CHECK(ordered[0] == 3);
}

TEST_CASE("entries are equal by type, flags, mask and SID") {
    const AceBytes ace = MakeAce(0, 3, 0x10, 7);
    const auto equals = [&](const AceBytes& other) { return kiv::AreEqualAces({ace.data()}, {other.data()}); };
    CHECK(equals(ace));
    CHECK_FALSE(equals(MakeAce(1, 3, 0x10, 7)));
    CHECK_FALSE(equals(MakeAce(0, 2, 0x10, 7)));
    CHECK_FALSE(equals(MakeAce(0, 3, 0x11, 7)));
    CHECK_FALSE(equals(MakeAce(0, 3, 0x10, 8)));
    CHECK_FALSE(equals(MakeAce(0, 3, 0x10, 7, 1)));
    AceBytes slack = ace;
    slack.resize(slack.size() + 4, 0xAA);
    slack[2] = static_cast<std::uint8_t>(slack.size());
    CHECK(equals(slack));
}
