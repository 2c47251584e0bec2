#include "support/windows_api.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <sddl.h>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/this_release.h"
#include "tavkivut/security.h"

struct CKivTokenLayout {
    static_assert(offsetof(CKivToken, m_token) == 0);
    static_assert(offsetof(CKivToken, m_groups) == sizeof(void*));
    static const void* Groups(const CKivToken& token) { return token.m_groups; }
};

namespace {

using kiv::test::RecordingLog;
using Lines = std::vector<std::string>;

void* const kCurrent = reinterpret_cast<void*>(static_cast<std::uintptr_t>(0xFFFFFFFFU));

class TokenWithPrivileges : public CKivToken {
public:
    using CKivToken::AllocPrivileges;
    using CKivToken::FreePrivileges;
    using CKivToken::GetPrivilegeAt;
    using CKivToken::GetPrivilegeCount;
};

// What the system itself tells of a token.
std::vector<char> Ask(HANDLE token, TOKEN_INFORMATION_CLASS which) {
    DWORD size = 0;
    ::GetTokenInformation(token, which, nullptr, 0, &size);
    std::vector<char> record(size);
    REQUIRE(::GetTokenInformation(token, which, record.data(), size, &size));
    return record;
}

std::string SystemText(PSID sid) {
    char* text = nullptr;
    REQUIRE(::ConvertSidToStringSidA(sid, &text));
    const std::string copy = text;
    ::LocalFree(text);
    return copy;
}

std::string UserText(HANDLE token) {
    auto user = Ask(token, TokenUser);
    return SystemText(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid);
}

// "DOMAIN\name (text)" of a SID, as dumps show it.
std::string Shown(PSID sid) {
    char name[256] = "";
    char domain[256] = "";
    DWORD nameSize = sizeof name;
    DWORD domainSize = sizeof domain;
    SID_NAME_USE use;
    if (!::LookupAccountSidA(nullptr, sid, name, &nameSize, domain, &domainSize, &use))
        *name = *domain = '\0';
    return std::string(domain) + "\\" + name + " (" + SystemText(sid) + ")";
}

bool IsOpen(HANDLE handle) {
    DWORD flags;
    return ::GetHandleInformation(handle, &flags) != 0;
}

// The current thread acts for its own user meanwhile.
class Impersonation {
public:
    explicit Impersonation(SECURITY_IMPERSONATION_LEVEL level) { REQUIRE(::ImpersonateSelf(level)); }
    ~Impersonation() { ::RevertToSelf(); }
    Impersonation(const Impersonation&) = delete;
    Impersonation& operator=(const Impersonation&) = delete;
};

std::string Numbered(const char* format, int number) {
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

// The lines of a dump, told by the system.
Lines ExpectedDump(HANDLE token, const std::string& heading, const char* kind) {
    const std::string rule(79, '=');
    auto groupRecord = Ask(token, TokenGroups);
    const auto* groups = reinterpret_cast<TOKEN_GROUPS*>(groupRecord.data());
    char address[32];
    std::snprintf(address, sizeof address, "%x", static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(token)));
    auto user = Ask(token, TokenUser);
    Lines lines = {"3  \n" + rule,
                   "3  " + heading + " at 0x" + address + " (" + std::to_string(groups->GroupCount) +
                       " group entries, " + kind + ")\n",
                   "3  Token owner:    " + Shown(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid)};
    for (DWORD i = 0; i < groups->GroupCount; ++i)
        lines.push_back(Numbered("3  Group entry %02i: ", static_cast<int>(i)) + Shown(groups->Groups[i].Sid));
    auto privilegeRecord = Ask(token, TokenPrivileges);
    auto* privileges = reinterpret_cast<TOKEN_PRIVILEGES*>(privilegeRecord.data());
    for (DWORD i = 0; i < privileges->PrivilegeCount; ++i) {
        char name[128];
        DWORD size = sizeof name;
        REQUIRE(::LookupPrivilegeNameA(nullptr, &privileges->Privileges[i].Luid, name, &size));
        lines.push_back(Numbered("3  Privilege %02i:   ", static_cast<int>(i)) + name + " is " +
                        (privileges->Privileges[i].Attributes != 0 ? "enabled" : "disabled"));
    }
    lines.push_back("3  \n" + rule + "\n");
    return lines;
}

const auto onNt = doctest::skip(kiv::test::ThisReleaseIs9x());
const auto on9x = doctest::skip(!kiv::test::ThisReleaseIs9x());

}  // namespace

TEST_CASE("the token of a process tells its user and groups" * onNt) {
    for (void* process : {kCurrent, ::GetCurrentProcess()}) {
        CKivToken token;
        REQUIRE(token.OpenProcessToken(process, TOKEN_QUERY) == 1);
        CHECK(std::string(token.GetOwner()) == UserText(token));
        CHECK(token.IsPrimary() == 1);
        CHECK(token.IsImpersonation() == 0);
        auto record = Ask(token, TokenGroups);
        const auto* groups = reinterpret_cast<TOKEN_GROUPS*>(record.data());
        const int count = static_cast<int>(groups->GroupCount);
        REQUIRE(count > 0);
        CHECK(token.GetGroupCount() == count);
        for (int i = 0; i < count; ++i)
            CHECK(token.GetGroupAt(i) == groups->Groups[i].Sid);
        CHECK(token.GetGroupAt(count).GetSid() == nullptr);
        CHECK(token.GetGroupAt(-1).GetSid() == nullptr);
        CHECK(std::string(CKivSid::FromProcessUser(process)) == UserText(token));
    }
    CKivToken none;
    CHECK(none.OpenProcessToken(nullptr, TOKEN_QUERY) == 0);
    CHECK(::GetLastError() == ERROR_INVALID_HANDLE);
    CHECK(static_cast<void*>(none) == nullptr);
    CHECK(CKivSid::FromProcessUser(nullptr).GetSid() == nullptr);
}

TEST_CASE("a thread without a token answers for its process" * onNt) {
    CKivToken token;
    REQUIRE(token.OpenThreadToken(kCurrent, TOKEN_QUERY) == 1);
    CHECK(token.IsPrimary() == 1);
    {
        const Impersonation impersonation(SecurityImpersonation);
        REQUIRE(token.OpenThreadToken(kCurrent, TOKEN_QUERY) == 1);
        CHECK(token.IsImpersonation() == 1);
        SECURITY_IMPERSONATION_LEVEL level = SecurityAnonymous;
        CHECK(token.GetImpersonationLevel(&level) == 1);
        CHECK(level == SecurityImpersonation);
        CHECK(std::string(CKivSid::FromThreadUser(::GetCurrentThread())) == UserText(token));
    }
    CHECK(std::string(CKivSid::FromThreadUser(kCurrent)) == UserText(token));
    CHECK(token.OpenThreadToken(nullptr, TOKEN_QUERY) == 0);
    CHECK(::GetLastError() == ERROR_INVALID_HANDLE);
}

TEST_CASE("a token that is not open answers nothing") {
    CKivToken token;
    SECURITY_IMPERSONATION_LEVEL level;
    void* duplicate = &token;
    CHECK(token.GetOwner().GetSid() == nullptr);
    CHECK(token.GetGroupCount() == -1);
    CHECK(token.GetGroupAt(0).GetSid() == nullptr);
    CHECK(token.IsImpersonation() == 0);
    CHECK(token.IsPrimary() == 1);
    CHECK(token.GetImpersonationLevel(&level) == 0);
    CHECK(token.IsPrivilegeEnabled("SeBackupPrivilege") == 0);
    CHECK(token.DuplicateTo(&duplicate, nullptr) == 0);
    CHECK(duplicate == nullptr);
    CHECK(token.Detach() == nullptr);
}

TEST_CASE("copies share the handle, the last one closes it" * onNt) {
    CKivToken first;
    REQUIRE(first.OpenProcessToken(kCurrent, TOKEN_QUERY) == 1);
    const HANDLE handle = first;
    auto second = std::make_unique<CKivToken>(first);
    CKivToken third;
    third = *second;
    const CKivToken& itself = third;
    third = itself;
    CHECK(second->GetGroupCount() > 0);
    CHECK(first.GetGroupCount() == second->GetGroupCount());
    CHECK(CKivTokenLayout::Groups(first) == CKivTokenLayout::Groups(*second));
    first.Close();
    CHECK(static_cast<void*>(first) == nullptr);
    CHECK(third.GetGroupCount() == second->GetGroupCount());
    second.reset();
    CHECK(IsOpen(handle));
    third.Attach(handle);
    CHECK(IsOpen(handle));
    third = CKivToken();
    CHECK_FALSE(IsOpen(handle));
}

TEST_CASE("a handle that is given away stays open" * onNt) {
    CKivToken token;
    REQUIRE(token.OpenProcessToken(kCurrent, TOKEN_QUERY) == 1);
    HANDLE handle = token.Detach();
    CHECK(static_cast<void*>(token) == nullptr);
    CHECK(IsOpen(handle));
    token.Attach(handle);
    {
        CKivToken copy(token);
        CHECK(token.Detach() == handle);
        CHECK(copy.GetGroupCount() > 0);
    }
    CHECK(IsOpen(handle));
    token.Attach(handle);
    token.Attach(nullptr);
    CHECK_FALSE(IsOpen(handle));
}

TEST_CASE("privileges are read from the token" * onNt) {
    TokenWithPrivileges token;
    REQUIRE(token.OpenProcessToken(kCurrent, TOKEN_QUERY) == 1);
    auto record = Ask(token, TokenPrivileges);
    auto* expected = reinterpret_cast<TOKEN_PRIVILEGES*>(record.data());
    TOKEN_PRIVILEGES* privileges = token.AllocPrivileges();
    REQUIRE(token.GetPrivilegeCount(privileges) == expected->PrivilegeCount);
    for (DWORD i = 0; i < expected->PrivilegeCount; ++i) {
        char name[128];
        DWORD size = sizeof name;
        REQUIRE(::LookupPrivilegeNameA(nullptr, &token.GetPrivilegeAt(privileges, i)->Luid, name, &size));
        CHECK(token.IsPrivilegeEnabled(name) == (expected->Privileges[i].Attributes != 0));
    }
    CHECK(token.GetPrivilegeAt(privileges, expected->PrivilegeCount) == nullptr);
    token.FreePrivileges(privileges);
    CHECK(token.GetPrivilegeCount(nullptr) == 0);
    CHECK(token.IsPrivilegeEnabled("SeNoSuchPrivilege") == 0);
    CHECK(token.IsPrivilegeEnabled(nullptr) == 0);
}

TEST_CASE("a token is duplicated as the kind that it is" * onNt) {
    CKivToken primary;
    REQUIRE(primary.OpenProcessToken(kCurrent, TOKEN_QUERY | TOKEN_DUPLICATE) == 1);
    CKivToken duplicate;
    void* handle = nullptr;
    REQUIRE(primary.DuplicateTo(&handle, SecurityImpersonation, nullptr) == 1);
    duplicate.Attach(handle);
    CHECK(duplicate.IsImpersonation() == 1);
    CHECK(std::string(duplicate.GetOwner()) == UserText(primary));

    CKivToken again;
    REQUIRE(duplicate.DuplicateTo(&handle, nullptr) == 1);
    again.Attach(handle);
    SECURITY_IMPERSONATION_LEVEL level = SecurityAnonymous;
    CHECK(again.GetImpersonationLevel(&level) == 1);
    CHECK(level == SecurityImpersonation);
    CHECK(primary.DuplicateTo(nullptr, nullptr) == 0);
    SECURITY_IMPERSONATION_LEVEL none = SecurityAnonymous;
    const bool hasLevel = primary.GetImpersonationLevel(&none) != 0;
    REQUIRE(primary.DuplicateTo(&handle, nullptr) == 1);
    again.Attach(handle);
    CHECK(again.IsImpersonation() == hasLevel);
}

TEST_CASE("a dump shows what the system tells" * onNt) {
    CKivToken token;
    REQUIRE(token.OpenProcessToken(kCurrent, TOKEN_QUERY) == 1);
    RecordingLog log;
    token.DumpToLog(nullptr);
    CHECK(log.Lines() == ExpectedDump(token, "Access token", "primary"));

    const Impersonation impersonation(SecurityIdentification);
    REQUIRE(token.OpenThreadToken(kCurrent, TOKEN_QUERY) == 1);
    log.Clear();
    token.DumpToLog("Service");
    CHECK(log.Lines() == ExpectedDump(token, "Service access token", "impersonation"));

    token.Close();
    log.Clear();
    token.DumpToLog("");
    const std::string rule(79, '=');
    CHECK(log.Lines() == Lines{"3  \n" + rule, "3   access token at 0x0 (-1 group entries, primary)\n",
                               "3  Token owner:    \\ ()", "3  \n" + rule + "\n"});
}

TEST_CASE("the text SID of a token needs room" * onNt) {
    CKivToken token;
    REQUIRE(token.OpenProcessToken(kCurrent, TOKEN_QUERY) == 1);
    auto user = Ask(token, TokenUser);
    const unsigned long needed =
        12 * *::GetSidSubAuthorityCount(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid) + 28UL;
    std::string buffer(needed, '#');
    unsigned long size = needed - 1;
    CHECK(KivGetTokenSid(token, buffer.data(), &size) == 0);
    CHECK(::GetLastError() == ERROR_INSUFFICIENT_BUFFER);
    CHECK(size == needed);
    CHECK(buffer == std::string(needed, '#'));
    CHECK(KivGetTokenSid(token, nullptr, &size) == 0);
    CHECK(KivGetTokenSid(token, buffer.data(), nullptr) == 0);
    CHECK(KivGetTokenSid(token, buffer.data(), &size) == 1);
    CHECK(size == needed);
    CHECK(buffer.c_str() == UserText(token));
    buffer.assign(needed, '#');
    CHECK(KivGetCurrentProcessSid(buffer.data(), &size) == 1);
    CHECK(buffer.c_str() == UserText(token));

    const RecordingLog log;
    CHECK(KivGetTokenSid(nullptr, buffer.data(), &size) == 0);
    CHECK(::GetLastError() == ERROR_INVALID_HANDLE);
    CHECK(KivGetCurrentThreadSid(buffer.data(), &size, 1) == 0);
    CHECK(::GetLastError() == ERROR_NO_TOKEN);
    const Impersonation impersonation(SecurityImpersonation);
    for (const int openAsSelf : {0, 1}) {
        buffer.assign(needed, '#');
        CHECK(KivGetCurrentThreadSid(buffer.data(), &size, openAsSelf) == 1);
        CHECK(buffer.c_str() == UserText(token));
    }
    CHECK(log.Lines() == Lines{"1E Authority : failed to retrieve token information (6)",
                               "1E Authority : failed to open thread token (1008)"});
}

TEST_CASE("the logon SID is the group with both marks" * onNt) {
    CKivToken token;
    REQUIRE(token.OpenProcessToken(kCurrent, TOKEN_QUERY) == 1);
    auto record = Ask(token, TokenGroups);
    const auto* groups = reinterpret_cast<TOKEN_GROUPS*>(record.data());
    PSID expected = nullptr;
    for (DWORD i = groups->GroupCount; i-- > 0;) {
        if ((groups->Groups[i].Attributes & SE_GROUP_LOGON_ID) == SE_GROUP_LOGON_ID)
            expected = groups->Groups[i].Sid;
    }
    REQUIRE(expected != nullptr);
    for (void* sid : {KivGetTokenLogonSid(token), KivGetCurrentProcessLogonSid()}) {
        REQUIRE(sid != nullptr);
        CHECK(::EqualSid(sid, expected));
        KivFreeSid(sid);
    }
    CHECK(KivGetTokenLogonSid(nullptr) == nullptr);
    KivFreeSid(nullptr);
}

TEST_CASE("on the 9x family no token opens and nothing is written" * on9x) {
    const RecordingLog log;
    CKivToken token;
    CHECK(token.OpenProcessToken(kCurrent, TOKEN_QUERY) == 0);
    CHECK(token.OpenThreadToken(kCurrent, TOKEN_QUERY) == 0);
    CHECK(static_cast<void*>(token) == nullptr);
    token.DumpToLog("Service");
    char buffer[256] = "#";
    unsigned long size = sizeof buffer;
    CHECK(KivGetTokenSid(kCurrent, buffer, &size) == 0);
    CHECK(KivGetCurrentProcessSid(buffer, &size) == 0);
    CHECK(KivGetCurrentThreadSid(buffer, &size, 1) == 0);
    CHECK(KivGetCurrentProcessLogonSid() == nullptr);
    CHECK(size == sizeof buffer);
    CHECK(buffer[0] == '#');
    CHECK(log.Lines().empty());
}
