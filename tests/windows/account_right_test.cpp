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

// A local security authority that records what it is handed.
NTSTATUS g_openStatus, g_addStatus;
int g_opened;  // and not closed
std::string g_calls;

std::string Text(const LSA_UNICODE_STRING* text) {
    if (text == nullptr)
        return "(null)";
    CHECK((text->MaximumLength == text->Length + 2 && text->Buffer[text->Length / 2] == L'\0'));
    return kiv::AnsiFromWide({text->Buffer, text->Length / sizeof(wchar_t)});
}

NTSTATUS NTAPI Open(PLSA_UNICODE_STRING system, PLSA_OBJECT_ATTRIBUTES, ACCESS_MASK access, PLSA_HANDLE policy) {
    CHECK(access == 0xF0FFF);
    g_calls = "on " + Text(system);
    g_opened += g_openStatus == 0;
    *policy = g_openStatus == 0 ? &g_opened : nullptr;
    return g_openStatus;
}

NTSTATUS NTAPI Add(LSA_HANDLE policy, PSID account, PLSA_UNICODE_STRING rights, ULONG count) {
    CHECK((policy == &g_opened && count == 1));
    g_calls += " " + Text(rights) + " to " + CKivSid(account).GetName();
    return g_addStatus;
}

NTSTATUS NTAPI Close(LSA_HANDLE) {
    --g_opened;
    ::SetLastError(ERROR_SUCCESS);
    return 0;
}

}  // namespace

TEST_CASE("a right is granted on the machine that is named, or the log says why not; an unknown account is silent") {
    kiv::test::SwappedApi<kiv::LsaApi> lsa({Open, Add, Close, kiv::Lsa().errorOfStatus});
    const kiv::test::RecordingLog log;
    const std::string machine = CKivSystem::GetComputerNameA();
    const std::string longest(255, 'r');
    CHECK(KivAddAccountPrivilege(machine.c_str(), "Administrators", "SeServiceLogonRight") == 1);
    CHECK(g_calls == "on " + machine + " SeServiceLogonRight to Administrators");
    CHECK(KivAddAccountPrivilege(nullptr, "Users", longest.c_str()) == 1);
    CHECK((g_calls == "on (null) " + longest + " to Users" && log.Lines().empty()));

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
        {"", "Users", longest + "r", 0, 0, 87, notAdded},
        {"", "Users", "", 0, 0, 87, notAdded},
        {"", "no such account", "Se", 0, 0, 1332, nullptr},
        {"", "", "Se", 0, 0, 1332, nullptr},
    };
    std::vector<std::string> expected;
    for (const auto& row : rows) {
        g_openStatus = static_cast<NTSTATUS>(row.openStatus);
        g_addStatus = static_cast<NTSTATUS>(row.addStatus);
        if (row.line != nullptr)
            expected.push_back(row.line + std::to_string(row.error) + ")");
        const int result = KivAddAccountPrivilege(row.machine.c_str(), row.account.c_str(), row.right.c_str());
        CHECK((::GetLastError() == row.error && result == 0));
    }
    lsa->addRights = nullptr;
    CHECK(KivAddAccountPrivilege(nullptr, "Users", "Se") == 0);
    expected.push_back(std::string(noPolicy) + "127)");
    CHECK((log.Lines() == expected && g_opened == 0));
}
