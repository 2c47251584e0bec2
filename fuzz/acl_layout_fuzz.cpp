#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "../tests/support/naive_acl.h"
#include "security/acl_layout.h"
#include "security/acl_text.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

void Require(bool condition) {
    if (!condition)
        std::abort();
}

// The bytes as the list that their size field tells, in a block of just that size, so that a read beyond it is seen.
Bytes ListOf(const std::uint8_t* data, std::size_t size) {
    Bytes list(data, data + std::min(size, kiv::kAclSizeLimit));
    list.resize(std::max(list.size(), kiv::kAclHeaderSize));
    list[2] = static_cast<std::uint8_t>(list.size());
    list[3] = static_cast<std::uint8_t>(list.size() >> 8);
    list.shrink_to_fit();
    return list;
}

std::size_t CountEntries(const Bytes& list) {
    std::size_t count = 0;
    kiv::AceWalk walk(list.data());
    while (walk.Next())
        ++count;
    return count;
}

// Adds, then deletes; the list has what was there, and the new entry at its place.
void Edit(Bytes list, const kiv::test::AceBytes& ace) {
    const std::size_t count = CountEntries(list);
    const kiv::AclAddition plan = kiv::PlanAddition(list.data(), {ace.data()});
    if (plan.error != kiv::kAclDone)
        return;
    list.resize(plan.size);
    kiv::AddAce(list.data(), {ace.data()}, plan);
    Require(CountEntries(list) == count + 1 && kiv::AclCount(list.data()) == count + 1);
    const std::size_t at = ace[0] == kiv::kAceDenied ? 0 : count;
    const std::uint8_t* added = kiv::FindAce(list.data(), at);
    Require(added != nullptr && kiv::AreEqualAces({added}, {ace.data()}));
    Require(kiv::DeleteAce(list.data(), at) == kiv::kAclDone);
    Require(CountEntries(list) == count && kiv::DeleteAce(list.data(), count) != kiv::kAclDone);
}

// A sound list gives the same copy built at once and step by step, and every entry once in the preferred order.
void Copy(const Bytes& list) {
    kiv::AclBuilder builder(list.size());
    kiv::test::NaiveAcl naive(list.size());
    std::uint32_t error = kiv::kAclDone;
    kiv::AceWalk walk(list.data());
    while (error == kiv::kAclDone && walk.Next())
        error = naive.Add({walk.Entry().bytes, walk.Entry().bytes + walk.Entry().Size()});
    Require(kiv::CopyEntries(list.data(), builder) == error);
    if (error == kiv::kAclDone) {
        Bytes copy(builder.Size());
        builder.Write(copy.data());
        Require(copy == naive.Bytes());
    }
    Bytes ordered(list.size());
    Require(kiv::CopyInPreferredOrder(list.data(), ordered.data()));
    Require(kiv::AclUsedSize(ordered.data()) == kiv::AclUsedSize(list.data()) &&
            CountEntries(ordered) == CountEntries(list));
}

}  // namespace

// Whatever a list says about itself, nothing outside it is read, and edits do what the rule says.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes list = ListOf(data, size);
    const bool sound = kiv::IsSoundAcl(list.data());
    Require(!sound || CountEntries(list) == kiv::AclCount(list.data()));
    kiv::WriteAclText(list.data());
    const std::uint8_t seed = list[size % list.size()];
    Edit(list, kiv::test::MakeAce(seed % 5, seed, seed, seed, seed % 15));
    if (sound)
        Copy(list);
    return 0;
}
