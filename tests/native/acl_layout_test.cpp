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

// Entries and lists as letters: a capital letter is a denied entry, any other an allowed one. Their sizes differ: 20
// bytes for "B" and "c", 24 for "a".
AceBytes AceOf(char letter) {
    const bool denied = letter >= 'A' && letter <= 'Z';
    return MakeAce(denied ? kiv::kAceDenied : kiv::kAceAllowed, 0, 0x1234, static_cast<std::uint8_t>(letter),
                   static_cast<std::size_t>(letter) % 3);
}

// The entries up to where the list stops making sense.
std::string Letters(const List& list) {
    std::string letters;
    kiv::AceWalk walk(list.data());
    while (walk.Next())
        letters += static_cast<char>(walk.Entry().Sid()[kiv::kSidHeaderSize]);
    return letters;
}

// A list of at least that size whose entries stand in that order.
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

TEST_CASE("a list is sound when all that it says of itself fits") {
    constexpr std::size_t kSecond = 8 + 24;  // where "B" begins
    const struct {
        std::size_t at;
        std::uint8_t byte;
        const char* entries;
        bool sound;
    } rows[] = {
        {0, 4, "aBc", true},
        {0, 5, "aBc", false},  // the revision
        {4, 2, "aB", true},
        {4, 4, "aBc", false},  // the count
        {2, 70, "aB", false},
        {2, 7, "", false},  // the size of the list
        {kSecond + 2, 0, "a", false},
        {kSecond + 2, 8, "a", false},  // the size of an entry
        {kSecond + 2, 21, "a", false},
        {kSecond + 3, 1, "a", false},
        {kSecond + 8, 2, "a", false},
        {kSecond + 9, 15, "a", false},  // its SID
        {kSecond + 9, 255, "a", false},
        {kSecond + 9, 0, "aBc", true},  // with slack behind
    };
    for (const auto& row : rows) {
        CAPTURE(row.at);
        CAPTURE(row.byte);
        List list = ListOf("aBc");
        list[row.at] = row.byte;
        CHECK(Letters(list) == row.entries);
        CHECK(kiv::IsSoundAcl(list.data()) == row.sound);
        CHECK((AddTo(list, AceOf('d')) == kiv::kAclDone) == row.sound);
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
