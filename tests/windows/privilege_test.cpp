#include "support/windows_api.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/this_release.h"
#include "tavkivut/security.h"

struct CKivPrivilegeLayout {
    static_assert(offsetof(CKivPrivilege, m_name) == 0);
    static_assert(offsetof(CKivPrivilege, m_granted) == sizeof(void*));
    static_assert(offsetof(CKivPrivilege, m_processWide) == sizeof(void*) + 4);
    static_assert(offsetof(CKivPrivilege, m_token) == sizeof(void*) + 8);
};

namespace {

using kiv::test::RecordingLog;
using Lines = std::vector<std::string>;

const char* const kName = "SeShutdownPrivilege";
const std::string kEnabling = "3  Security : Enabling privilege 'SeShutdownPrivilege'...";
const std::string kDisabling = "3  Security : Disabling privilege 'SeShutdownPrivilege'...";

// Whether the system has the privilege enabled in a token.
bool IsOn(HANDLE token) {
    LUID id;
    REQUIRE(::LookupPrivilegeValueA(nullptr, kName, &id));
    DWORD size = 0;
    ::GetTokenInformation(token, TokenPrivileges, nullptr, 0, &size);
    std::vector<char> record(size);
    REQUIRE(::GetTokenInformation(token, TokenPrivileges, record.data(), size, &size));
    const auto* privileges = reinterpret_cast<TOKEN_PRIVILEGES*>(record.data());
    for (DWORD i = 0; i < privileges->PrivilegeCount; ++i) {
        if (privileges->Privileges[i].Luid.LowPart == id.LowPart)
            return (privileges->Privileges[i].Attributes & SE_PRIVILEGE_ENABLED) != 0;
    }
    FAIL("the token lacks the privilege");
    return false;
}

class OpenToken {
public:
    explicit OpenToken(bool ofThread) {
        constexpr DWORD kAccess = TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES;
        if (ofThread)
            REQUIRE(::OpenThreadToken(::GetCurrentThread(), kAccess, FALSE, &m_token));
        else
            REQUIRE(::OpenProcessToken(::GetCurrentProcess(), kAccess, &m_token));
    }
    ~OpenToken() { ::CloseHandle(m_token); }
    OpenToken(const OpenToken&) = delete;
    OpenToken& operator=(const OpenToken&) = delete;
    HANDLE Get() const { return m_token; }

private:
    HANDLE m_token = nullptr;
};

const auto onNt = doctest::skip(kiv::test::ThisReleaseIs9x());
const auto on9x = doctest::skip(!kiv::test::ThisReleaseIs9x());

}  // namespace

TEST_CASE("a privilege of the process is on while the object lives" * onNt) {
    const OpenToken process(false);
    const RecordingLog log;
    {
        const CKivPrivilege privilege(kName, 1);
        CHECK(privilege.Granted() == 1);
        CHECK(IsOn(process.Get()));
        ::SetLastError(77);
    }
    CHECK(::GetLastError() == 77);
    CHECK_FALSE(IsOn(process.Get()));
    {
        const CKivPrivilege privilege(process.Get(), kName);
        CHECK(privilege.Granted() == 1);
        CHECK(IsOn(process.Get()));
    }
    CHECK_FALSE(IsOn(process.Get()));
    CHECK(log.Lines() == Lines{kEnabling, kDisabling, kEnabling, kDisabling});
}

TEST_CASE("a privilege of a thread needs a token of the thread's own" * onNt) {
    const OpenToken process(false);
    const RecordingLog log;
    {
        const CKivPrivilege privilege(kName, 0);
        CHECK(::GetLastError() == ERROR_NO_TOKEN);
        CHECK(privilege.Granted() == 0);
    }
    REQUIRE(::ImpersonateSelf(SecurityImpersonation));
    {
        const OpenToken thread(true);
        const CKivPrivilege off(thread.Get(), kName);
        {
            const CKivPrivilege privilege(kName, 0);
            CHECK(privilege.Granted() == 1);
            CHECK(IsOn(thread.Get()));
            CHECK_FALSE(IsOn(process.Get()));
        }
        CHECK_FALSE(IsOn(thread.Get()));  // although it had been on before
    }
    ::RevertToSelf();
    CHECK(log.Lines() == Lines{"3E Security : cannot set privilege for thread (not impersonating) (1008)", kEnabling,
                               kEnabling, kDisabling, kDisabling});
}

TEST_CASE("a privilege that cannot be changed is not granted" * onNt) {
    const RecordingLog log;
    {
        const CKivPrivilege unknown("SeNoSuchPrivilege", 1);
        CHECK(::GetLastError() == ERROR_NO_SUCH_PRIVILEGE);
        CHECK(unknown.Granted() == 0);
        const CKivPrivilege noToken(nullptr, kName);
        CHECK(::GetLastError() == ERROR_INVALID_HANDLE);
        CHECK(noToken.Granted() == 0);
        const CKivPrivilege noName(nullptr, 1);
        CHECK(::GetLastError() == ERROR_INVALID_PARAMETER);
        CHECK(noName.Granted() == 0);
    }
    CHECK(log.Lines() == Lines{"3  Security : Enabling privilege 'SeNoSuchPrivilege'...",
                               "3E Security : failed to set privilege (1313)", kEnabling,
                               "3E Security : failed to set privilege (6)"});
}

TEST_CASE("a copy turns the privilege off too, with a name of its own" * onNt) {
    const OpenToken process(false);
    const RecordingLog log;
    {
        CKivPrivilege copy("SeNoSuchPrivilege", 1);
        {
            const CKivPrivilege privilege(process.Get(), kName);
            copy = privilege;
        }
        CHECK_FALSE(IsOn(process.Get()));
        CHECK(copy.Granted() == 1);
        const CKivPrivilege& itself = copy;
        copy = itself;
        const CKivPrivilege second(copy);
        CHECK(second.Granted() == 1);
    }
    CHECK(log.Lines().size() == 6);
    CHECK(log.Lines().back() == kDisabling);
}

TEST_CASE("on the 9x family a privilege is granted and nothing happens" * on9x) {
    const RecordingLog log;
    {
        const CKivPrivilege process(kName, 1);
        const CKivPrivilege thread(kName, 0);
        const CKivPrivilege token(nullptr, kName);
        CHECK(process.Granted() == 1);
        CHECK(thread.Granted() == 1);
        CHECK(token.Granted() == 1);
    }
    CHECK(log.Lines().empty());
}
