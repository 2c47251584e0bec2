#include "security/account_right.h"

#include <optional>
#include <string>
#include <vector>

#include "security/account_lookup.h"
#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/recording_log.h"
#include "support/swapped_api.h"
#include "support/text_convert.h"
#include "support/this_release.h"
#include "tavkivut/security.h"

namespace {

using Lines = std::vector<std::string>;

constexpr NTSTATUS kAccessDenied = static_cast<NTSTATUS>(0xC0000022);
constexpr NTSTATUS kNoSuchPrivilege = static_cast<NTSTATUS>(0xC0000060);

// Plays the local security authority of a machine and its accounts.
struct PlayedAuthority {
    static inline NTSTATUS openStatus;
    static inline NTSTATUS addStatus;
    static inline int opened;  // and not closed
    static inline Lines calls;

    static LSA_HANDLE Handle() { return &opened; }

    static std::string Text(const LSA_UNICODE_STRING* text) {
        if (text == nullptr)
            return "(null)";
        CHECK(text->MaximumLength == text->Length + 2);
        CHECK(text->Buffer[text->Length / 2] == L'\0');
        return kiv::AnsiFromWide({text->Buffer, text->Length / sizeof(wchar_t)});
    }

    static NTSTATUS NTAPI Open(PLSA_UNICODE_STRING system, PLSA_OBJECT_ATTRIBUTES, ACCESS_MASK access,
                               PLSA_HANDLE policy) {
        CHECK(access == 0xF0FFF);
        calls.push_back("open " + Text(system));
        if (openStatus != 0)
            return openStatus;
        ++opened;
        *policy = Handle();
        return 0;
    }

    static NTSTATUS NTAPI Add(LSA_HANDLE policy, PSID account, PLSA_UNICODE_STRING rights, ULONG count) {
        CHECK(policy == Handle());
        CHECK(count == 1);
        CKivSid sid(account);
        calls.push_back("add " + std::string(sid) + " " + Text(rights));
        return addStatus;
    }

    static NTSTATUS NTAPI Close(LSA_HANDLE policy) {
        CHECK(policy == Handle());
        --opened;
        ::SetLastError(ERROR_SUCCESS);
        return 0;
    }

    static BOOL WINAPI SidOfName(const char* machine, const char* name, PSID sid, DWORD* size, char*, DWORD* domainSize,
                                 SID_NAME_USE*) {
        CHECK(*domainSize >= 255);
        calls.push_back("look up " + std::string(name) + " on " + (machine != nullptr ? machine : "(null)"));
        *domainSize = 4;
        if (std::string(name) != "service") {
            ::SetLastError(ERROR_NONE_MAPPED);
            return FALSE;
        }
        if (*size >= 28)
            return ::CopySid(*size, sid, CKivSid("S-1-5-21-1-2-3-1000").GetSid());
        *size = 28;
        ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
};

class SwappedAuthority {
public:
    SwappedAuthority() {
        lsa->open = &PlayedAuthority::Open;
        lsa->addRights = &PlayedAuthority::Add;
        lsa->close = &PlayedAuthority::Close;
        accounts->sidOfName = &PlayedAuthority::SidOfName;
        PlayedAuthority::openStatus = 0;
        PlayedAuthority::addStatus = 0;
        PlayedAuthority::calls.clear();
    }
    ~SwappedAuthority() { CHECK(PlayedAuthority::opened == 0); }
    SwappedAuthority(const SwappedAuthority&) = delete;
    SwappedAuthority& operator=(const SwappedAuthority&) = delete;

    kiv::test::SwappedApi<kiv::LsaApi> lsa;
    kiv::test::SwappedApi<kiv::AccountApi> accounts;
};

const auto onNt = doctest::skip(kiv::test::ThisReleaseIs9x());

}  // namespace

TEST_CASE("a right is granted on the machine that is named" * onNt) {
    const SwappedAuthority authority;
    const kiv::test::RecordingLog log;
    CHECK(KivAddAccountPrivilege("\\\\HOST", "service", "SeServiceLogonRight") == 1);
    CHECK(PlayedAuthority::calls == Lines{"open \\\\HOST", "look up service on \\\\HOST", "look up service on \\\\HOST",
                                          "add S-1-5-21-1-2-3-1000 SeServiceLogonRight"});
    PlayedAuthority::calls.clear();
    const std::string longest(255, 'r');
    CHECK(KivAddAccountPrivilege(nullptr, "service", longest.c_str()) == 1);
    CHECK(PlayedAuthority::calls.front() == "open (null)");
    CHECK(PlayedAuthority::calls.back() == "add S-1-5-21-1-2-3-1000 " + longest);
    CHECK(log.Lines().empty());
}

TEST_CASE("a right that cannot be granted says why" * onNt) {
    SwappedAuthority authority;
    const struct {
        const char* account;
        std::size_t rightLength;
        NTSTATUS openStatus;
        NTSTATUS addStatus;
        DWORD error;
        Lines lines;
    } rows[] = {
        {"service", 9, kAccessDenied, 0, 5, {"1E Failed to open security policy (5)"}},
        {"service", 9, 0, kNoSuchPrivilege, 1313, {"1E Failed to add account right (1313)"}},
        {"service", 256, 0, 0, 87, {"1E Failed to add account right (87)"}},
        {"service", 0, 0, 0, 87, {"1E Failed to add account right (87)"}},
        {"nobody", 9, 0, 0, ERROR_NONE_MAPPED, {}},
        {"", 9, 0, 0, ERROR_NONE_MAPPED, {}},
        {nullptr, 9, 0, 0, ERROR_NONE_MAPPED, {}},
    };
    for (const auto& row : rows) {
        CAPTURE(row.error);
        PlayedAuthority::openStatus = row.openStatus;
        PlayedAuthority::addStatus = row.addStatus;
        const kiv::test::RecordingLog log;
        const int result = KivAddAccountPrivilege(nullptr, row.account, std::string(row.rightLength, 'r').c_str());
        CHECK(::GetLastError() == row.error);
        CHECK(result == 0);
        CHECK(log.Lines() == row.lines);
    }
    const kiv::test::RecordingLog log;
    CHECK(KivAddAccountPrivilege(std::string(256, 'm').c_str(), "service", "r") == 0);
    authority.lsa->addRights = nullptr;
    CHECK(KivAddAccountPrivilege(nullptr, "service", "r") == 0);
    CHECK(::GetLastError() == ERROR_PROC_NOT_FOUND);
    CHECK(log.Lines() == Lines{"1E Failed to open security policy (87)", "1E Failed to open security policy (127)"});
}

TEST_CASE("the real authority takes a right of a real account" * onNt) {
    CKivSid user = CKivSid::FromProcessUser(::GetCurrentProcess());
    CHECK(KivAddAccountPrivilege(nullptr, user.GetName(), "SeServiceLogonRight") == 1);
}

TEST_CASE("no right is granted on the 9x family") {
    const SwappedAuthority authority;
    std::optional<kiv::test::ForcedOsFamily> family;
    if (!kiv::test::ThisReleaseIs9x())
        family.emplace(kiv::OsFamily::k9x);
    const kiv::test::RecordingLog log;
    CHECK(KivAddAccountPrivilege(nullptr, "service", "SeServiceLogonRight") == 0);
    CHECK(PlayedAuthority::calls.empty());
    CHECK(log.Lines().empty());
}
