#include "support/windows_api.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <sddl.h>

#include "support/check.h"
#include "support/recording_log.h"
#include "tavkivut/security.h"

struct CKivTokenLayout {
    static_assert(offsetof(CKivToken, m_token) == 0 && offsetof(CKivToken, m_groups) == sizeof(void*));
    static const void* Groups(const CKivToken& token) { return token.m_groups; }
};

namespace {

using kiv::test::RecordingLog;
using Lines = std::vector<std::string>;

void* const kCurrent = reinterpret_cast<void*>(static_cast<std::uintptr_t>(0xFFFFFFFFU));

std::string UserText(HANDLE token) {
    alignas(void*) char bytes[256];
    DWORD size = 0;
    char* text = nullptr;
    REQUIRE(::GetTokenInformation(token, TokenUser, bytes, sizeof bytes, &size));
    REQUIRE(::ConvertSidToStringSidA(reinterpret_cast<TOKEN_USER*>(bytes)->User.Sid, &text));
    const std::string copy = text;
    ::LocalFree(text);
    return copy;
}

bool IsOpen(HANDLE handle) {
    DWORD flags;
    return ::GetHandleInformation(handle, &flags) != 0;
}

class ProcessToken : public CKivToken {
public:
    ProcessToken() { REQUIRE(OpenProcessToken(kCurrent, TOKEN_QUERY | TOKEN_DUPLICATE) == 1); }
};

}  // namespace

TEST_CASE("a token tells its user and groups") {
    ProcessToken token;
    CHECK(std::string(token.GetOwner()) == UserText(token));
    alignas(void*) char bytes[4096];
    DWORD size = 0;
    REQUIRE(::GetTokenInformation(token, TokenGroups, bytes, sizeof bytes, &size));
    const auto* groups = reinterpret_cast<const TOKEN_GROUPS*>(bytes);
    const int count = static_cast<int>(groups->GroupCount);
    REQUIRE(token.GetGroupCount() == count);
    for (int i = 0; i < count; ++i)
        CHECK(token.GetGroupAt(i) == groups->Groups[i].Sid);
    CHECK((token.GetGroupAt(count).GetSid() == nullptr && token.GetGroupAt(-1).GetSid() == nullptr));
    void* const logon = KivGetTokenLogonSid(token);  // the group with both marks
    REQUIRE(logon != nullptr);
    CHECK(std::string(CKivSid(logon)).find("S-1-5-5-") == 0);
    KivFreeSid(logon);
    CHECK(KivGetTokenLogonSid(nullptr) == nullptr);

    CHECK(token.OpenProcessToken(nullptr, TOKEN_QUERY) + token.OpenThreadToken(nullptr, TOKEN_QUERY) == 0);
    CHECK(::GetLastError() == ERROR_INVALID_HANDLE);
    void* duplicate = &token;
    CHECK((token.DuplicateTo(&duplicate, nullptr) == 0 && duplicate == nullptr));
    CHECK((token.GetOwner().GetSid() == nullptr && token.GetGroupCount() == -1));
    CHECK((token.IsPrimary() == 1 && token.Detach() == nullptr));
}

TEST_CASE("a thread without a token answers for its process") {
    CKivToken token;
    REQUIRE((token.OpenThreadToken(kCurrent, TOKEN_QUERY) == 1 && token.IsPrimary() == 1));
    CHECK(std::string(CKivSid::FromThreadUser(kCurrent)) == UserText(token));
    REQUIRE(::ImpersonateSelf(SecurityImpersonation));
    REQUIRE(token.OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY | TOKEN_DUPLICATE) == 1);
    CHECK(token.IsImpersonation() == 1);
    SECURITY_IMPERSONATION_LEVEL level = SecurityAnonymous;
    void* handle = nullptr;
    REQUIRE(token.DuplicateTo(&handle, nullptr) == 1);
    token.Attach(handle);
    CHECK((token.GetImpersonationLevel(&level) == 1 && level == SecurityImpersonation));
    REQUIRE(ProcessToken().DuplicateTo(&handle, SecurityIdentification, nullptr) == 1);
    token.Attach(handle);
    CHECK((token.GetImpersonationLevel(&level) == 1 && level == SecurityIdentification));
    ::RevertToSelf();
}

TEST_CASE("copies share the handle, the last one closes it") {
    CKivToken first = ProcessToken();
    HANDLE handle = first;
    auto second = std::make_unique<CKivToken>(first);
    CKivToken third;
    third = *second;
    const CKivToken& itself = third;
    third = itself;
    CHECK((second->GetGroupCount() > 0 && first.GetGroupCount() == second->GetGroupCount()));
    CHECK(CKivTokenLayout::Groups(first) == CKivTokenLayout::Groups(*second));
    first.Close();
    second.reset();
    CHECK(third.GetGroupCount() > 0);
    third.Attach(handle);
    {
        const CKivToken copy(third);
        CHECK((third.Detach() == handle && static_cast<void*>(third) == nullptr));
    }
    CHECK(IsOpen(handle));  // given away
    first.Attach(handle);
    third = first;
    first = CKivToken();
    third = CKivToken();
    CHECK_FALSE(IsOpen(handle));
}

TEST_CASE("the text of a token's user needs room") {
    const ProcessToken token;
    const std::string user = UserText(token);
    const unsigned long needed = 12 * *::GetSidSubAuthorityCount(token.GetOwner()) + 28UL;
    std::string buffer(needed, '#');
    unsigned long size = needed - 1;
    const RecordingLog log;
    CHECK((KivGetTokenSid(token, buffer.data(), &size) == 0 && ::GetLastError() == ERROR_INSUFFICIENT_BUFFER));
    CHECK((size == needed && buffer[0] == '#' && KivGetTokenSid(token, nullptr, &size) == 0));
    CHECK((KivGetTokenSid(token, buffer.data(), &size) == 1 && buffer.c_str() == user));
    buffer[0] = '#';
    CHECK((KivGetCurrentProcessSid(buffer.data(), &size) == 1 && buffer.c_str() == user));
    CHECK((KivGetTokenSid(nullptr, buffer.data(), &size) == 0 && ::GetLastError() == ERROR_INVALID_HANDLE));
    CHECK((KivGetCurrentThreadSid(buffer.data(), &size, 1) == 0 && ::GetLastError() == ERROR_NO_TOKEN));
    REQUIRE(::ImpersonateSelf(SecurityImpersonation));
    buffer[0] = '#';
    CHECK((KivGetCurrentThreadSid(buffer.data(), &size, 0) == 1 && buffer.c_str() == user));
    ::RevertToSelf();
    CHECK(log.Lines() == Lines{"1E Authority : failed to retrieve token information (6)",
                               "1E Authority : failed to open thread token (1008)"});
}
