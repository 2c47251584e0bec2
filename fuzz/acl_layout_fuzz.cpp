#include <algorithm>
#include <vector>

#include "../tests/support/naive_acl.h"
#include "require.h"
#include "security/acl_layout.h"
#include "security/acl_text.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

std::size_t CountEntries(const Bytes& list) {
    std::size_t count = 0;
    kiv::AceWalk walk(list.data());
    while (walk.Next())
        ++count;
    return count;
}

// Adds, then deletes: the list has the new entry at its place, and is as long as before in the end.
void Edit(Bytes list, const kiv::test::AceBytes& ace) {
    const std::size_t count = CountEntries(list);
    const kiv::AclAddition plan = kiv::PlanAddition(list.data(), {ace.data()});
    if (plan.error != kiv::kAclDone)
        return;
    list.resize(plan.size);
    kiv::AddAce(list.data(), {ace.data()}, plan);
    const std::size_t at = ace[0] == kiv::kAceDenied ? 0 : count;
    const std::uint8_t* added = kiv::FindAce(list.data(), at);
    Require(CountEntries(list) == count + 1 && added != nullptr && kiv::AreEqualAces({added}, {ace.data()}));
    Require(kiv::DeleteAce(list.data(), at) == kiv::kAclDone && CountEntries(list) == count);
}

// A sound list can be built again, and keeps its entries in the preferred order.
void Copy(const Bytes& list) {
    kiv::AclBuilder builder(list.size());
    const std::uint32_t error = kiv::CopyEntries(list.data(), builder);
    Bytes copy(builder.Size());
    builder.Write(copy.data());
    Require(error != kiv::kAclDone || CountEntries(copy) == CountEntries(list));
    Bytes ordered(list.size());
    Require(kiv::CopyInPreferredOrder(list.data(), ordered.data()) && CountEntries(ordered) == CountEntries(list));
}

}  // namespace

// Whatever a list says about itself, nothing outside it is read, and edits do what the rule says.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // In a block of just the size that its header tells, so that a read beyond it is seen.
    Bytes list(std::max(std::min(size, kiv::kAclSizeLimit), kiv::kAclHeaderSize));
    std::copy(data, data + std::min(size, list.size()), list.begin());
    list[2] = static_cast<std::uint8_t>(list.size());
    list[3] = static_cast<std::uint8_t>(list.size() >> 8);

    kiv::WriteAclText(list.data());
    const std::uint8_t seed = list[size % list.size()];
    Edit(list, kiv::test::MakeAce(seed % 5, seed, seed, seed, seed % 15));
    if (kiv::IsSoundAcl(list.data()))
        Copy(list);
    return 0;
}
