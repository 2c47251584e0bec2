#include "support/windows_api.h"

#include <cstddef>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/recording_log.h"
#include "tavkivut/security.h"

struct CKivPrivilegeLayout {
    static_assert(offsetof(CKivPrivilege, m_name) == 0 && offsetof(CKivPrivilege, m_granted) == sizeof(void*));
    static_assert(offsetof(CKivPrivilege, m_processWide) == sizeof(void*) + 4);
    static_assert(offsetof(CKivPrivilege, m_token) == sizeof(void*) + 8);
};

namespace {

using Lines = std::vector<std::string>;

const char* const kName = "SeShutdownPrivilege";
const std::string kEnabling = "3  Security : Enabling privilege 'SeShutdownPrivilege'...";
const std::string kDisabling = "3  Security : Disabling privilege 'SeShutdownPrivilege'...";

// Whether a token of the process or the thread has the privilege on, as the system tells.
bool IsOn(const CKivToken& token) {
    PRIVILEGE_SET wanted{1, PRIVILEGE_SET_ALL_NECESSARY, {{{0, 0}, 0}}};
    REQUIRE(::LookupPrivilegeValueA(nullptr, kName, &wanted.Privilege[0].Luid));
    BOOL on = FALSE;
    REQUIRE(::PrivilegeCheck(token, &wanted, &on));
    CHECK(token.IsPrivilegeEnabled(kName) == on);
    return on != FALSE;
}

}  // namespace

TEST_CASE("a privilege is on while the object lives") {
    const kiv::test::RecordingLog log;
    CKivToken process;
    REQUIRE(process.OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES) == 1);
    {
        const CKivPrivilege privilege(kName, 1);
        CHECK((privilege.Granted() == 1 && IsOn(process)));
        CHECK(CKivPrivilege(process, kName).Granted() == 1);
        CHECK_FALSE(IsOn(process));  // although it had been on before
        ::SetLastError(77);
    }
    CHECK(::GetLastError() == 77);
    CHECK(log.Lines() == Lines{kEnabling, kEnabling, kDisabling, kDisabling});
}

TEST_CASE("a thread needs a token of its own; what cannot be changed is not granted") {
    const kiv::test::RecordingLog log;
    CKivToken process;
    REQUIRE(process.OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES) == 1);
    CHECK((CKivPrivilege(kName, 0).Granted() == 0 && ::GetLastError() == ERROR_NO_TOKEN));
    REQUIRE(::ImpersonateSelf(SecurityImpersonation));
    CKivToken thread;
    REQUIRE(thread.OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY) == 1);
    {
        const CKivPrivilege privilege(kName, 0);
        CHECK((privilege.Granted() == 1 && IsOn(thread) && !IsOn(process)));
    }
    CHECK_FALSE(IsOn(thread));
    ::RevertToSelf();
    CHECK((CKivPrivilege("SeNoSuchPrivilege", 1).Granted() == 0 && ::GetLastError() == ERROR_NO_SUCH_PRIVILEGE));
    CHECK((CKivPrivilege(nullptr, kName).Granted() == 0 && ::GetLastError() == ERROR_INVALID_HANDLE));
    CHECK((CKivPrivilege(nullptr, 1).Granted() == 0 && ::GetLastError() == ERROR_INVALID_PARAMETER));
    CHECK(log.Lines() == Lines{"3E Security : cannot set privilege for thread (not impersonating) (1008)", kEnabling,
                               kDisabling, "3  Security : Enabling privilege 'SeNoSuchPrivilege'...",
                               "3E Security : failed to set privilege (1313)", kEnabling,
                               "3E Security : failed to set privilege (6)"});
}

TEST_CASE("a copy turns the privilege off too, with a name of its own") {
    const kiv::test::RecordingLog log;
    {
        CKivPrivilege copy("SeNoSuchPrivilege", 1);
        copy = CKivPrivilege(kName, 1);
        const CKivPrivilege& itself = copy;
        copy = itself;
        CHECK(CKivPrivilege(copy).Granted() == 1);
    }
    Lines lines = log.Lines();
    lines.erase(lines.begin(), lines.begin() + 2);
    CHECK(lines == Lines{kEnabling, kDisabling, kDisabling, kDisabling});
}
