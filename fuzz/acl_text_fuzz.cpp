#include <string>
#include <vector>

#include "../tests/support/naive_acl.h"
#include "require.h"
#include "security/acl_layout.h"
#include "security/acl_text.h"
#include "security/sid_text.h"

namespace {

// The entry that a text asks for; empty where the SID is an account, which only the system knows.
kiv::test::AceBytes AceOf(const kiv::AclTextEntry& entry) {
    kiv::SidParts parts;
    if (!kiv::ReadSidText(entry.sid != nullptr ? entry.sid : "S-1-1-0", parts))
        return {};
    std::uint8_t sid[kiv::kSidSizeLimit];
    const std::size_t length = kiv::WriteSid(parts, sid);
    Require(kiv::SidLength(sid, length) == length);
    kiv::test::AceBytes ace(kiv::kAceSidOffset + length);
    kiv::WriteAce(ace.data(), entry.type, entry.flags, entry.mask, sid, length);
    return ace;
}

// The list that a text gives.
std::vector<std::uint8_t> Read(std::string text) {
    kiv::AclBuilder builder;
    kiv::AclTextReader reader(text.data());
    kiv::AclTextEntry entry;
    while (reader.Next(entry)) {
        const kiv::test::AceBytes ace = AceOf(entry);
        if (!ace.empty())
            builder.Add({ace.data()});
    }
    std::vector<std::uint8_t> list(builder.Size());
    if (builder.HasList())
        builder.Write(list.data());
    return list;
}

}  // namespace

// Any bytes are read; what a list says in its text is read again as the same entries.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 4096)
        return 0;
    const std::vector<std::uint8_t> list = Read(std::string(reinterpret_cast<const char*>(data), size));
    if (list.empty())
        return 0;
    const std::string text = kiv::WriteAclText(list.data());
    kiv::test::NaiveAcl again;
    kiv::AceWalk walk(list.data());
    while (walk.Next())
        again.Add({walk.Entry().bytes, walk.Entry().bytes + walk.Entry().Size()});
    Require(Read(text) == again.Bytes());
    return 0;
}
