#include "security/account_right.h"

#include <string>
#include <vector>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/swapped_api.h"
#include "support/text_convert.h"
#include "tavkivut/security.h"
#include "tavkivut/system.h"

namespace {

using Lines = std::vector<std::string>;

// A local security authority that records what it is handed.
struct PlayedAuthority {
    static inline NTSTATUS openStatus;
    static inline NTSTATUS addStatus;
    static inline int opened;  // and not closed
    static inline Lines calls;

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
        opened += openStatus == 0;
        *policy = openStatus == 0 ? &opened : nullptr;
        return openStatus;
    }

    static NTSTATUS NTAPI Add(LSA_HANDLE policy, PSID account, PLSA_UNICODE_STRING rights, ULONG count) {
        CHECK(policy == &opened);
        CHECK(count == 1);
        calls.push_back("add " + Text(rights) + " to " + CKivSid(account).GetName());
        return addStatus;
    }

    static NTSTATUS NTAPI Close(LSA_HANDLE) {
        --opened;
        ::SetLastError(ERROR_SUCCESS);
        return 0;
    }

    PlayedAuthority() {
        lsa->open = &Open;
        lsa->addRights = &Add;
        lsa->close = &Close;
        openStatus = addStatus = 0;
        calls.clear();
    }
    ~PlayedAuthority() { CHECK(opened == 0); }
    PlayedAuthority(const PlayedAuthority&) = delete;
    PlayedAuthority& operator=(const PlayedAuthority&) = delete;

    kiv::test::SwappedApi<kiv::LsaApi> lsa;
};

}  // namespace

TEST_CASE("a right is granted on the machine that is named") {
    const PlayedAuthority authority;
    const kiv::test::RecordingLog log;
    const std::string machine = CKivSystem::GetComputerNameA();
    const std::string longest(255, 'r');
    CHECK(KivAddAccountPrivilege(machine.c_str(), "Administrators", "SeServiceLogonRight") == 1);
    CHECK(KivAddAccountPrivilege(nullptr, "Administrators", longest.c_str()) == 1);
    CHECK(PlayedAuthority::calls == Lines{"open " + machine, "add SeServiceLogonRight to Administrators", "open (null)",
                                          "add " + longest + " to Administrators"});
    CHECK(log.Lines().empty());
}

TEST_CASE("a right that cannot be granted says why, an unknown account does not") {
    PlayedAuthority authority;
    const char* const noPolicy = "1E Failed to open security policy (";
    const char* const notAdded = "1E Failed to add account right (";
    const struct {
        std::string machine, account, right;
        DWORD openStatus, addStatus, error;
        const char* line;
    } rows[] = {
        {"", "Users", "Se", 0xC0000022, 0, 5, noPolicy},
        {std::string(256, 'm'), "Users", "Se", 0, 0, 87, noPolicy},
        {"", "Users", "Se", 0, 0xC0000060, 1313, notAdded},
        {"", "Users", std::string(256, 'r'), 0, 0, 87, notAdded},
        {"", "Users", "", 0, 0, 87, notAdded},
        {"", "no such account", "Se", 0, 0, 1332, nullptr},
        {"", "", "Se", 0, 0, 1332, nullptr},
    };
    const kiv::test::RecordingLog log;
    Lines expected;
    for (const auto& row : rows) {
        PlayedAuthority::openStatus = static_cast<NTSTATUS>(row.openStatus);
        PlayedAuthority::addStatus = static_cast<NTSTATUS>(row.addStatus);
        if (row.line != nullptr)
            expected.push_back(row.line + std::to_string(row.error) + ")");
        const int result = KivAddAccountPrivilege(row.machine.c_str(), row.account.c_str(), row.right.c_str());
        CHECK((::GetLastError() == row.error && result == 0));
    }
    CHECK((KivAddAccountPrivilege("", nullptr, "Se") == 0 && ::GetLastError() == ERROR_NONE_MAPPED));
    authority.lsa->addRights = nullptr;
    CHECK(KivAddAccountPrivilege(nullptr, "Users", "Se") == 0);
    expected.push_back(std::string(noPolicy) + "127)");
    CHECK(log.Lines() == expected);
}
