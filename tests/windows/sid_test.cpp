#include "support/windows_api.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include <sddl.h>

#include "security/account_lookup.h"
#include "security/token_api.h"
#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/swapped_api.h"
#include "support/this_release.h"
#include "tavkivut/security.h"

struct CKivSidLayout {
    static_assert(offsetof(CKivSid, m_sid) == 0);
    static_assert(offsetof(CKivSid, m_heapOwned) == sizeof(void*));
    static_assert(offsetof(CKivSid, m_text) == 2 * sizeof(void*));
    static_assert(offsetof(CKivSid, m_name) == 3 * sizeof(void*));
    static_assert(offsetof(CKivSid, m_domain) == 4 * sizeof(void*));
    static int HeapOwned(const CKivSid& sid) { return sid.m_heapOwned; }
};

namespace {

using kiv::test::ForcedOsFamily;

// The system's own reading of a text form.
class SystemSid {
public:
    explicit SystemSid(const char* text) { REQUIRE(::ConvertStringSidToSidA(text, &m_sid)); }
    ~SystemSid() { ::LocalFree(m_sid); }
    SystemSid(const SystemSid&) = delete;
    SystemSid& operator=(const SystemSid&) = delete;
    bool Is(const CKivSid& other) const { return other.IsValid() && ::EqualSid(m_sid, other.GetSid()); }
    PSID Get() const { return m_sid; }

private:
    PSID m_sid = nullptr;
};

std::string TextOf(CKivSid& sid) {
    const char* text = sid;
    return text != nullptr ? text : "(null)";
}

bool IsEmpty(const CKivSid& sid) {
    return sid.GetSid() == nullptr && CKivSidLayout::HeapOwned(sid) == 1;
}

// Plays an account database whose answers outgrow the room, as often as told.
struct PlayedDatabase {
    static inline int growths;
    static inline int calls;
    static inline bool junk;  // answers success with something that is no SID
    static inline std::string asked;

    static bool Fits(DWORD* size) {
        const DWORD needed = growths == 0 ? 28 : 200 + 100 * static_cast<DWORD>(std::min(calls, growths - 1));
        const DWORD room = std::exchange(*size, needed);
        ++calls;
        ::SetLastError(room >= needed ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER);
        return room >= needed;
    }

    static BOOL WINAPI SidOfName(const char*, const char* name, PSID sid, DWORD* sidSize, char* domain,
                                 DWORD* domainSize, SID_NAME_USE*) {
        asked = name;
        std::memset(sid, 0xEE, *sidSize);
        std::memset(domain, 'd', *domainSize);
        return Fits(sidSize) && (junk || ::CopySid(*sidSize, sid, SystemSid("S-1-5-21-1-2-3-1000").Get()));
    }

    static BOOL WINAPI NameOfSid(const char*, PSID, char* name, DWORD* nameSize, char* domain, DWORD* domainSize,
                                 SID_NAME_USE*) {
        std::memset(name, 'x', *nameSize);
        std::memcpy(domain, "DOM", 4);
        *domainSize = 4;
        if (!Fits(nameSize))
            return FALSE;
        std::memset(name, 'n', *nameSize - 1);
        name[*nameSize - 1] = '\0';
        return TRUE;
    }
};

class SwappedDatabase {
public:
    explicit SwappedDatabase(int growths, bool junk = false) {
        m_accounts->sidOfName = &PlayedDatabase::SidOfName;
        m_accounts->nameOfSid = &PlayedDatabase::NameOfSid;
        PlayedDatabase::growths = growths;
        PlayedDatabase::calls = 0;
        PlayedDatabase::junk = junk;
    }

private:
    kiv::test::SwappedApi<kiv::AccountApi> m_accounts;
};

const auto onNt = doctest::skip(kiv::test::ThisReleaseIs9x());

}  // namespace

TEST_CASE("well-known SIDs are the system's, by number and by text" * onNt) {
    const struct {
        int which;
        const char* text;
    } rows[] = {{0, "S-1-1-0"},  {2, "S-1-5-32-546"}, {4, "S-1-5-32-545"}, {6, "S-1-5-32-547"},
                {7, "S-1-5-11"}, {8, "S-1-5-32-544"}, {9, "S-1-0-0"},      {10, "S-1-5-18"}};
    for (const auto& row : rows) {
        CAPTURE(row.text);
        const SystemSid expected(row.text);
        CKivSid known;
        known = static_cast<CKivSid::WellKnownSid>(row.which);
        CHECK(expected.Is(known));
        CHECK(TextOf(known) == row.text);
        CHECK(expected.Is(CKivSid(row.text)));
    }
    for (const int other : {1, 3, 5, 11, -1}) {
        CKivSid sid("S-1-5-21-7");
        sid = static_cast<CKivSid::WellKnownSid>(other);
        CHECK(TextOf(sid) == "S-1-5-21-7");
    }
}

TEST_CASE("a SID is built from its parts" * onNt) {
    CKivSid sid("S-1-5-18");
    CHECK(sid.Create(CKivSid::AUTH_NT, 2, 32UL, 544UL) == 1);
    CHECK(SystemSid("S-1-5-32-544").Is(sid));
    CHECK(CKivSidLayout::HeapOwned(sid) == 0);
    CHECK(sid.Create(CKivSid::AUTH_CREATOR, 1, 0xFFFFFFFFUL) == 1);
    CHECK(TextOf(sid) == "S-1-3-4294967295");
    CHECK(sid.Create(static_cast<CKivSid::Authorities>(77), 0) == 1);
    CHECK(TextOf(sid) == "S-1-5");
    CHECK(sid.Create(CKivSid::AUTH_NULL, 10, 1UL, 2UL, 3UL, 4UL, 5UL, 6UL, 7UL, 8UL, 9UL, 10UL) == 1);
    CHECK(TextOf(sid) == "S-1-0-1-2-3-4-5-6-7-8");
}

TEST_CASE("objects own copies, of their own parts too" * onNt) {
    CKivSid sid("S-1-5-32-544");
    sid = sid.GetSid();
    CHECK(SystemSid("S-1-5-32-544").Is(sid));
    CHECK(CKivSidLayout::HeapOwned(sid) == 1);
    const CKivSid& itself = sid;
    sid = itself;
    CHECK(TextOf(sid) == "S-1-5-32-544");
    sid = static_cast<const char*>(sid);
    CHECK(TextOf(sid) == "S-1-5-32-544");
    sid.GetName();
    sid = "S-1-1-0";  // drops the cached texts
    CHECK(TextOf(sid) == "S-1-1-0");
    CHECK(std::string(sid.GetName()) != "Administrators");

    const CKivSid copy(sid);
    CHECK(copy.GetSid() != sid.GetSid());
    CHECK(copy == sid);
    CHECK(copy == sid.GetSid());
    CHECK_FALSE(copy == CKivSid("S-1-1-1"));
    CHECK_FALSE(copy == nullptr);

    unsigned char longest[8 + 15 * 4] = {1, 15, 0xFF, 0, 0, 0, 0, 1, 9};
    longest[sizeof longest - 1] = 0x80;
    CKivSid large(static_cast<void*>(longest));
    CHECK(::EqualSid(longest, large.GetSid()));
    CHECK(TextOf(large) == "S-1-0xff0000000001-9-0-0-0-0-0-0-0-0-0-0-0-0-0-2147483648");
}

TEST_CASE("null and what is no SID leave the object empty") {
    unsigned char tooMany[8 + 16 * 4] = {1, 16};
    unsigned char otherRevision[12] = {2, 1, 0, 0, 0, 0, 0, 1};
    CKivSid fromNull = nullptr;
    CHECK(IsEmpty(fromNull));
    CHECK(IsEmpty(CKivSid(static_cast<const char*>(nullptr))));
    CKivSid sid("S-1-5-18");
    sid = static_cast<void*>(tooMany);
    CHECK(IsEmpty(sid));
    sid = CKivSid("S-1-5-18");
    sid = static_cast<void*>(otherRevision);
    CHECK(IsEmpty(sid));
    CHECK(sid == fromNull);
    CHECK(sid.IsValid() == 0);
    CHECK(TextOf(sid) == "(null)");
    CHECK(sid.GetName() == nullptr);
    CHECK(sid.GetDomain() == nullptr);
    sid = "S-1-5-18";
    sid = nullptr;
    CHECK(IsEmpty(sid));
}

TEST_CASE("accounts of this machine are found by name and named" * onNt) {
    CKivSid user = CKivSid::FromProcessUser(reinterpret_cast<void*>(0xFFFFFFFFULL));
    REQUIRE(user.IsValid());
    const std::string name = user.GetName();
    const std::string domain = user.GetDomain();
    REQUIRE_FALSE(name.empty());
    CHECK(CKivSid((domain + "\\" + name).c_str()) == user);
    CHECK(CKivSid((".\\" + name).c_str()) == user);
    CHECK(CKivSidLayout::HeapOwned(CKivSid(name.c_str())) == 1);
    CHECK(user.GetName() == user.GetName());

    for (const std::string& unknown : {std::string(), std::string(".\\"), std::string("no such account"),
                                       std::string(300, 'a'), std::string("s-1-5-18")}) {
        CAPTURE(unknown);
        CKivSid sid("S-1-5-18");
        sid = unknown.c_str();
        CHECK(IsEmpty(sid));
        CHECK(::GetLastError() == ERROR_NONE_MAPPED);
    }
    CKivSid nobody("S-1-5-21-1-2-3-4");
    CHECK(std::string(nobody.GetDomain()).empty());
    CHECK(std::string(nobody.GetName()).empty());
}

TEST_CASE("the second look-up counts, whatever it answers" * onNt) {
    CKivSid sid;
    {
        const SwappedDatabase database(1);
        sid = ".\\somebody";
        CHECK(PlayedDatabase::asked == "somebody");
        CHECK(PlayedDatabase::calls == 2);
        CHECK(SystemSid("S-1-5-21-1-2-3-1000").Is(sid));
    }
    {
        const SwappedDatabase database(2);
        sid = "somebody";
        CHECK(IsEmpty(sid));
        CHECK(::GetLastError() == ERROR_INSUFFICIENT_BUFFER);
        CHECK(PlayedDatabase::calls == 2);
    }
    {
        const SwappedDatabase database(0, true);
        sid = "somebody";
        CHECK(IsEmpty(sid));
    }
    sid = "S-1-5-18";
    {
        const SwappedDatabase database(1);
        CHECK(std::string(sid.GetDomain()) == "DOM");
        CHECK(sid.GetName() == std::string(199, 'n'));
        CHECK(PlayedDatabase::calls == 2);
    }
    sid = "S-1-5-18";
    const SwappedDatabase database(2);
    CHECK(std::string(sid.GetName()).empty());
    CHECK(std::string(sid.GetDomain()).empty());
    CHECK(PlayedDatabase::calls == 2);
}

TEST_CASE("without the system's call no token is duplicated" * onNt) {
    CKivToken token;
    REQUIRE(token.OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE) == 1);
    kiv::test::SwappedApi<kiv::TokenApi> tokens;
    tokens->duplicate = nullptr;
    void* duplicate = &token;
    CHECK(token.DuplicateTo(&duplicate, SecurityIdentification, nullptr) == 0);
    CHECK(::GetLastError() == ERROR_PROC_NOT_FOUND);
    CHECK(duplicate == nullptr);
}

TEST_CASE("on the 9x family every SID stays empty") {
    SID everyone = {SID_REVISION, 1, SECURITY_WORLD_SID_AUTHORITY, {SECURITY_WORLD_RID}};
    std::optional<ForcedOsFamily> family;
    if (!kiv::test::ThisReleaseIs9x())
        family.emplace(kiv::OsFamily::k9x);
    CKivSid sid("S-1-1-0");
    sid = CKivSid::WKS_EVERYONE;
    CHECK(sid.Create(CKivSid::AUTH_WORLD, 1, 0UL) == 0);
    CHECK(IsEmpty(sid));
    sid = &everyone;
    CHECK(IsEmpty(sid));
    CHECK(IsEmpty(CKivSid("Administrators")));
    CHECK(IsEmpty(CKivSid::FromProcessUser(::GetCurrentProcess())));
    CHECK(IsEmpty(CKivSid::FromThreadUser(::GetCurrentThread())));
}
