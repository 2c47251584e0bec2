#include "support/windows_api.h"

#include <cstddef>
#include <cstring>
#include <string>

#include <sddl.h>

#include "security/account_lookup.h"
#include "security/token_api.h"
#include "support/check.h"
#include "support/recording_log.h"
#include "support/resource_count.h"
#include "support/swapped_api.h"
#include "tavkivut/security.h"

struct CKivSidLayout {
    static_assert(offsetof(CKivSid, m_sid) == 0 && offsetof(CKivSid, m_heapOwned) == sizeof(void*));
    static_assert(offsetof(CKivSid, m_text) == 2 * sizeof(void*) && offsetof(CKivSid, m_name) == 3 * sizeof(void*));
    static_assert(offsetof(CKivSid, m_domain) == 4 * sizeof(void*));
    static int HeapOwned(const CKivSid& sid) { return sid.m_heapOwned; }
};

namespace {

std::string TextOf(CKivSid& sid) {
    const char* text = sid;
    return text != nullptr ? text : "(null)";
}

// Whether it is the SID that the system reads in a text, and says so itself.
bool Is(CKivSid& sid, const char* text) {
    PSID expected = nullptr;
    REQUIRE(::ConvertStringSidToSidA(text, &expected));
    const bool same = sid.IsValid() && ::EqualSid(expected, sid) && TextOf(sid) == text;
    ::LocalFree(expected);
    return same;
}

bool IsEmpty(const CKivSid& sid) {
    return sid.GetSid() == nullptr && CKivSidLayout::HeapOwned(sid) == 1;
}

// An account database that asks for more room than it is given, once or every time; `junk`: it succeeds with no SID.
bool g_endless, g_junk;
int g_lookUps;

bool Fits(DWORD& size) {
    ++g_lookUps;
    const bool fits = !g_endless && size >= 200;
    size = g_endless ? size + 1 : 200;
    ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return fits;
}

}  // namespace

// Which SID is which number's is in the transcript of kivctl.
TEST_CASE("well-known SIDs are taken by number, others are made of their parts") {
    CKivSid sid("S-1-5-18");
    for (const int unknown : {1, 3, 5, 11, -1})
        sid = static_cast<CKivSid::WellKnownSid>(unknown);
    CHECK(Is(sid, "S-1-5-18"));
    sid = static_cast<CKivSid::WellKnownSid>(8);
    CHECK(Is(sid, "S-1-5-32-544"));
    CHECK((sid.Create(CKivSid::AUTH_CREATOR, 2, 0xFFFFFFFFUL, 7UL) == 1 && Is(sid, "S-1-3-4294967295-7")));
    CHECK(CKivSidLayout::HeapOwned(sid) == 0);
    CHECK((sid.Create(static_cast<CKivSid::Authorities>(77), 0) == 1 && TextOf(sid) == "S-1-5"));
    CHECK(sid.Create(CKivSid::AUTH_NULL, 10, 1UL, 2UL, 3UL, 4UL, 5UL, 6UL, 7UL, 8UL, 9UL, 10UL) == 1);
    CHECK(Is(sid, "S-1-0-1-2-3-4-5-6-7-8"));
}

TEST_CASE("objects own copies, of their own parts too; null and what is no SID leave them empty") {
    CKivSid sid("S-1-5-32-544");
    sid = sid.GetSid();
    CHECK(CKivSidLayout::HeapOwned(sid) == 1);
    const CKivSid& itself = sid;
    sid = itself;
    sid = static_cast<const char*>(sid);
    CHECK((Is(sid, "S-1-5-32-544") && sid.GetName() == std::string("Administrators")));
    sid = "S-1-1-0";  // drops the cached texts
    CHECK((Is(sid, "S-1-1-0") && sid.GetName() == std::string("Everyone")));
    CKivSid copy(sid);
    CHECK((copy.GetSid() != sid.GetSid() && copy == sid && !(copy == CKivSid("S-1-1-1")) && !(copy == nullptr)));
    unsigned char longest[8 + 15 * 4] = {1, 15, 0xFF, 0, 0, 0, 0, 1, 9};
    copy = static_cast<void*>(longest);
    CHECK((copy == longest && TextOf(copy) == "S-1-0xff0000000001-9-0-0-0-0-0-0-0-0-0-0-0-0-0-0"));

    unsigned char tooMany[8 + 16 * 4] = {1, 16};
    CHECK((IsEmpty(nullptr) && IsEmpty(CKivSid(static_cast<const char*>(nullptr)))));
    sid = static_cast<void*>(tooMany);
    CHECK((IsEmpty(sid) && sid == CKivSid() && sid.IsValid() == 0));
    CHECK((TextOf(sid) == "(null)" && sid.GetName() == nullptr && sid.GetDomain() == nullptr));
}

TEST_CASE("an account gets two look-ups, and the second must answer a SID") {
    kiv::test::SwappedApi<kiv::AccountApi> accounts;
    accounts->sidOfName = [](LPCSTR, LPCSTR name, PSID sid, LPDWORD size, LPSTR, LPDWORD, SID_NAME_USE*)
                              WINAPI -> BOOL {
        std::memset(sid, 0xEE, *size);
        return name == std::string("somebody") && Fits(*size) &&
               (g_junk || ::CopySid(*size, sid, CKivSid("S-1-5-21-7")));
    };
    accounts->nameOfSid = [](LPCSTR, PSID, LPSTR name, LPDWORD size, LPSTR domain, LPDWORD, SID_NAME_USE*)
                              WINAPI -> BOOL {
        std::memset(name, 'n', *size);
        std::strcpy(domain, "DOM");
        return Fits(*size);
    };
    CKivSid sid("S-1-5-18");
    CHECK((sid.GetName() == std::string(200, 'n') && sid.GetDomain() == std::string("DOM")));
    sid = ".\\somebody";
    CHECK((Is(sid, "S-1-5-21-7") && g_lookUps == 4));
    g_endless = true;
    CHECK((std::string(sid.GetName()).empty() && std::string(sid.GetDomain()).empty()));
    sid = "somebody";
    CHECK((::GetLastError() == ERROR_INSUFFICIENT_BUFFER && IsEmpty(sid) && g_lookUps == 8));
    g_endless = false;
    g_junk = true;
    sid = "somebody";
    CHECK(IsEmpty(sid));
    for (const char* unknown : {"", ".\\"}) {  // the system would answer the built-in domain
        sid = unknown;
        CHECK((::GetLastError() == ERROR_NONE_MAPPED && IsEmpty(sid)));
    }
}

TEST_CASE("nothing is left behind; without the system's call no token is duplicated") {
    kiv::test::RecordingLog log;
    CHECK(kiv::test::LeavesNothing([&] {
        CKivSid sid("S-1-5-32-544");
        TextOf(sid);
        sid.GetName();
        sid = CKivSid(sid).GetSid();
        sid = "Users";
        sid = "no such account";
        sid = CKivSid::WKS_EVERYONE;
        CKivToken token;
        token.OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY);
        CKivToken copy(token);
        token.GetGroupAt(copy.GetGroupCount() - 1);
        token.DumpToLog("Any");
        token.OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY);
        const CKivPrivilege privilege("SeShutdownPrivilege", 1);
        CKivPrivilege second(privilege);
        second = privilege;
        KivFreeSid(KivGetCurrentProcessLogonSid());
        KivAddAccountPrivilege(nullptr, "Users", "");
        log.Clear();
    }));

    CKivToken token;
    REQUIRE(token.OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE) == 1);
    kiv::test::SwappedApi<kiv::TokenApi> tokens;
    tokens->duplicate = nullptr;
    void* duplicate = &token;
    CHECK((token.DuplicateTo(&duplicate, SecurityIdentification, nullptr) == 0 && duplicate == nullptr));
    CHECK(::GetLastError() == ERROR_PROC_NOT_FOUND);
}
