// The text form of access lists: written and read, beside building the same list by hand with the system's calls.

#include "bench.h"

#include <cstdlib>
#include <string>
#include <vector>

#include "tavkivut/security.h"

namespace {

constexpr unsigned kSidSize = 28;  // S-1-5-21-a-b-c-rid
constexpr unsigned kMostEntries = (0xFFFF - sizeof(ACL)) / (8 + kSidSize);

bool IsDenied(unsigned entry, unsigned deniedOf10) {
    return entry % 10 < deniedOf10;
}

// The list as the system's own calls build it, into a block that is large enough.
void BuildByHand(std::vector<char>& block, unsigned entries, unsigned deniedOf10) {
    ACL* const list = reinterpret_cast<ACL*>(block.data());
    if (!::InitializeAcl(list, static_cast<DWORD>(block.size()), ACL_REVISION))
        std::abort();
    for (unsigned i = 0; i < entries; ++i) {
        SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
        PSID sid = nullptr;
        if (!::AllocateAndInitializeSid(&authority, 5, 21, 1000, 2000, 3000, 1000 + i, 0, 0, 0, &sid))
            std::abort();
        const BOOL added = IsDenied(i, deniedOf10) ? ::AddAccessDeniedAceEx(list, ACL_REVISION, 3, 0x1F01FF, sid)
                                                   : ::AddAccessAllowedAceEx(list, ACL_REVISION, 3, 0x1F01FF, sid);
        if (!added)
            std::abort();
        ::FreeSid(sid);
    }
}

std::string TextOf(unsigned entries, unsigned deniedOf10) {
    std::string text;
    for (unsigned i = 0; i < entries; ++i)
        text += std::string(i == 0 ? "" : "-") + (IsDenied(i, deniedOf10) ? "{1" : "{0") +
                "-3-0x1f01ff-[S-1-5-21-1000-2000-3000-" + std::to_string(1000 + i) + "]}";
    return text;
}

void CompareText(const char* work, double goal, unsigned entries, unsigned deniedOf10) {
    const std::string text = TextOf(entries, deniedOf10);
    const unsigned times = 100000 / entries;
    std::vector<char> block(0xFFFC);
    CKivAcl acl;
    kiv::bench::Compare(
        work, goal, 5,
        [&] {
            for (unsigned i = 0; i < times; ++i) {
                acl = text.c_str();
                if (acl.GetAceCount() != static_cast<long>(entries) || static_cast<const char*>(acl) == nullptr)
                    std::abort();
            }
        },
        [&] {
            for (unsigned i = 0; i < times; ++i)
                BuildByHand(block, entries, deniedOf10);
        });
}

// Entry after entry is added to the library's list, which grows each time.
void CompareAdding(const char* work, unsigned entries, unsigned deniedOf10) {
    const unsigned times = 100000 / entries;
    std::vector<char> block(0xFFFC);
    kiv::bench::Compare(
        work, 0, 5,
        [&] {
            for (unsigned round = 0; round < times; ++round) {
                CKivAcl acl;
                for (unsigned i = 0; i < entries; ++i) {
                    CKivSid sid;
                    sid.Create(CKivSid::AUTH_NT, 5, 21, 1000, 2000, 3000, 1000 + i);
                    if (!acl.AddAce(IsDenied(i, deniedOf10) ? 1 : 0, 3, 0x1F01FF, sid))
                        std::abort();
                }
            }
        },
        [&] {
            for (unsigned round = 0; round < times; ++round)
                BuildByHand(block, entries, deniedOf10);
        });
}

}  // namespace

int main() {
    std::printf("%-60s %13s %13s %8s\n", "100,000 entries in all; peer: the system's own calls", "ours", "peer",
                "ratio");
    CompareText("ACL text, 100 entries, write and read", 2, 100, 1);
    CompareText("ACL text, 1,000 entries, write and read", 2, 1000, 1);
    CompareText("ACL text, 1,000 denied entries, write and read", 2, 1000, 10);
    CompareText("ACL text, as many entries as fit, write and read", 2, kMostEntries, 1);
    CompareAdding("list, 1,000 entries added one by one", 1000, 1);
    CompareAdding("list, 1,000 denied entries added one by one", 1000, 10);
    return 0;
}
