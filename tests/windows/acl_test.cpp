#include "support/windows_api.h"

#include <cstddef>
#include <string>
#include <utility>

#include "support/check.h"
#include "support/sddl_text.h"
#include "tavkivut/security.h"

struct CKivAceLayout {
    static_assert(offsetof(CKivAce, m_ace) == 0 && sizeof(CKivAce) == sizeof(void*));
};
struct CKivAclLayout {
    static_assert(offsetof(CKivAcl, m_acl) == 0);
    static_assert(offsetof(CKivAcl, m_text) == sizeof(void*));
};

namespace {

using kiv::test::SddlOf;
using kiv::test::SystemDescriptor;

constexpr DWORD kWrongType = ERROR_REVISION_MISMATCH;

CKivAcl Parse(const char* text) {
    CKivAcl acl;
    acl = text;
    return acl;
}

// A list as the system shows it; "(none)" without one.
std::string Shown(const CKivAcl& acl) {
    return acl.GetAcl() != nullptr ? SddlOf(acl.GetAcl()) : "(none)";
}

std::string TextOf(CKivAcl& acl) {
    const char* text = acl;
    return text != nullptr ? text : "(null)";
}

}  // namespace

TEST_CASE("a text reads as the system's own list, which is written as the same text") {
    const std::pair<const char*, const char*> rows[] = {
        {"{1-3-0x40000-[S-1-1-0]}-{0-3-0x10000000-[S-1-5-32-544]}", "D:(D;OICI;WD;;;WD)(A;OICI;GA;;;BA)"},
        {"{0-19-0x80000000-[S-1-5-11]}-{0-0-0x1f01ff-[S-1-1-0]}", "D:(A;OICIID;GR;;;AU)(A;;FA;;;WD)"},
    };
    for (const auto& row : rows) {
        CHECK(Shown(Parse(row.first)) == row.second);
        CKivAcl acl(SystemDescriptor(row.second).Dacl());
        CHECK((TextOf(acl) == row.first && acl.IsValid() == 1));
    }
    CKivAcl empty(SystemDescriptor("D:").Dacl());
    CHECK((TextOf(empty).empty() && CKivAcl(empty).GetAceCount() == 0));
    for (const char* text : {"", static_cast<const char*>(nullptr)}) {
        CKivAcl none = Parse(text);
        CHECK((TextOf(none) == "(null)" && none.IsValid() == 0 && CKivAcl(none).GetAceCount() == -1));
    }
    CKivSid user = CKivSid::FromProcessUser(::GetCurrentProcess());
    CKivAcl named = Parse(("{0-0-0x1-[.\\" + std::string(user.GetName()) + "]}").c_str());
    CHECK(TextOf(named) == "{0-0-0x1-[" + std::string(user) + "]}");
}

TEST_CASE("entries are added, found and deleted") {
    CKivSid everyone("S-1-1-0");
    CKivAcl acl;
    CHECK((acl.AddAce(7, 0, 1, everyone) == 0 && acl.GetAcl() == nullptr && acl.DeleteAce(0) == 0));
    REQUIRE(acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, GENERIC_READ, everyone) == 1);
    REQUIRE(acl.AddAce(ACCESS_DENIED_ACE_TYPE, 0, GENERIC_WRITE, everyone) == 1);
    REQUIRE(acl.AddAce(CKivAce(CKivSid("S-1-5-18"), GENERIC_ALL, 1)) == 1);
    REQUIRE(acl.AddAce(acl.GetAceAt(1)) == 1);
    CHECK(Shown(acl) == "D:(D;;GW;;;WD)(A;;GR;;;WD)(A;OICI;GA;;;SY)(A;;GR;;;WD)");
    CHECK((acl.GetAceCount() == 4 && CKivAce(acl.GetAceAt(2)).GetAccessMask() == GENERIC_ALL));
    CHECK((acl.GetAceAt(4) == nullptr && acl.GetAceAt(-1) == nullptr));
    CHECK((acl.DeleteAce(1) == 1 && acl.DeleteAce(3) == 0 && acl.DeleteAce(-1) == 0));
    CHECK(::GetLastError() == ERROR_INVALID_PARAMETER);
    char noSid[SECURITY_MAX_SID_SIZE] = {9};
    CHECK((acl.AddAce(0, 0, 1, noSid) == 0 && ::GetLastError() == ERROR_INVALID_SID));
    CHECK((acl.AddAce(7, 0, 1, everyone) == 0 && ::GetLastError() == kWrongType && acl.AddAce(nullptr) == 0));
    CHECK(Shown(acl) == "D:(D;;GW;;;WD)(A;OICI;GA;;;SY)(A;;GR;;;WD)");
    while (acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, 1, everyone)) {
    }
    CHECK((::GetLastError() == ERROR_ALLOTTED_SPACE_EXCEEDED && acl.GetAceCount() == (65535 - 8) / 20));
}

TEST_CASE("a list survives assignment of its own parts; a malformed or foreign one cannot be copied") {
    CKivAcl acl = Parse("{1-0-0x1-[S-1-1-0]}-{1-0-0x2-[S-1-1-0]}");
    const CKivAcl& itself = acl;
    acl = itself;
    CHECK(Shown(acl) == "D:(D;;DC;;;WD)(D;;CC;;;WD)");
    acl = acl.GetAcl();
    CHECK(Shown(acl) == "D:(D;;CC;;;WD)(D;;DC;;;WD)");
    acl = static_cast<const char*>(acl);
    CHECK(Shown(acl) == "D:(D;;DC;;;WD)(D;;CC;;;WD)");

    const SystemDescriptor descriptor("D:(A;;CC;;;WD)(A;;DC;;;WD)");
    ACL* const list = descriptor.Dacl();
    list->AceCount = 3;
    CHECK((CKivAcl(list).GetAcl() == nullptr && ::GetLastError() == ERROR_INVALID_ACL));
    list->AceCount = 2;
    reinterpret_cast<ACE_HEADER*>(list + 1)->AceType = 9;
    CHECK((CKivAcl(list).GetAcl() == nullptr && ::GetLastError() == kWrongType));
}

TEST_CASE("the preferred order") {
    CKivAcl acl(SystemDescriptor("D:(A;ID;CC;;;WD)(A;;DC;;;WD)").Dacl());
    CKivSid everyone("S-1-1-0");
    REQUIRE(acl.AddAce(ACCESS_DENIED_ACE_TYPE, INHERITED_ACE, 4, everyone) == 1);
    REQUIRE(acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, 8, everyone) == 1);
    REQUIRE(acl.AddAce(ACCESS_DENIED_ACE_TYPE, 0, 16, everyone) == 1);
    acl.SetPreferredDaclOrder();
    CHECK(Shown(acl) == "D:(D;;RP;;;WD)(A;;DC;;;WD)(A;;SW;;;WD)(D;ID;LC;;;WD)(A;ID;CC;;;WD)");
    acl.GetAcl()->AceCount = 9;  // cannot be read: left as it is
    acl.SetPreferredDaclOrder();
    CHECK(acl.GetAceCount() == 9);
}

TEST_CASE("an entry is made, copied and compared") {
    CKivSid system("S-1-5-18");
    CKivAce allowed(system, 0x1F01FF, 1);
    CHECK((::EqualSid(allowed.GetSid(), system) && static_cast<unsigned long>(allowed) == 0x1F01FF));
    CKivAce copy(allowed);
    CHECK(copy.GetAce() != allowed.GetAce());
    copy = copy.GetAce();
    CHECK(copy == allowed);
    REQUIRE(copy.Create(1, 3, 0x1F01FF, copy.GetSid()) == 1);
    CHECK((copy == CKivAce(system, 0x1F01FF, 0) && !(copy == allowed)));
    CHECK_FALSE(allowed == CKivAce(CKivSid("S-1-5-19"), 0x1F01FF, 1));
    CHECK((allowed.Create(0, 0, 1, nullptr) == 0 && ::GetLastError() == ERROR_INVALID_SID));
    CHECK((allowed.GetAce() == nullptr && allowed.GetSid() == nullptr && allowed.GetAccessMask() == 0));
    CHECK_FALSE(allowed == allowed);

    unsigned char objectAce[] = {5, 0, 16, 0, 1, 0, 0, 0, 0xEE, 0xEE, 0xEE, 0xEE, 0, 0, 0, 0};
    CHECK((CKivAce(objectAce) == objectAce && CKivAce(objectAce).GetSid() == nullptr));
    objectAce[0] = 0;  // now a SID should follow
    CHECK((CKivAce(objectAce).GetAce() == nullptr && ::GetLastError() == ERROR_INVALID_PARAMETER));
}
