#include "support/windows_api.h"

#include <cstddef>
#include <cstring>
#include <string>

#include "security/acl_rights.h"
#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/resource_count.h"
#include "support/sddl_text.h"
#include "support/swapped_api.h"
#include "tavkivut/security.h"

struct CKivSecurityDescriptorLayout {
    static_assert(offsetof(CKivSecurityDescriptor, m_sd) == 0);
    static_assert(offsetof(CKivSecurityDescriptor, m_owner) == sizeof(void*));
    static_assert(offsetof(CKivSecurityDescriptor, m_group) == sizeof(void*) + sizeof(CKivSid));
    static_assert(offsetof(CKivSecurityDescriptor, m_dacl) == sizeof(void*) + 2 * sizeof(CKivSid));
};

namespace {

using kiv::test::ForcedOsFamily;
using kiv::test::SddlOf;
using kiv::test::SystemDescriptor;

class Attachable : public CKivSecurityDescriptor {
public:
    using CKivSecurityDescriptor::Attach;
};

// As the system shows it; "(none)" without a descriptor.
std::string Shown(const CKivSecurityDescriptor& sd) {
    return sd.GetSecurityDescriptor() != nullptr ? SddlOf(sd.GetSecurityDescriptor()) : "(none)";
}

SECURITY_DESCRIPTOR_CONTROL ControlOf(void* sd) {
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    REQUIRE(::GetSecurityDescriptorControl(sd, &control, &revision));
    return control;
}

}  // namespace

TEST_CASE("both forms are made as one block; a copy of either has the owner and the DACL, not the group and the SACL") {
    const std::pair<const char*, const char*> rows[] = {
        {"O:SYG:BAD:(D;;WD;;;WD)(A;OICI;GA;;;BA)S:(AU;SA;GA;;;WD)", "O:SYD:(D;;WD;;;WD)(A;OICI;GA;;;BA)"},
        {"G:BAD:P(A;;GA;;;BA)", "D:P(A;;GA;;;BA)"},
        {"O:BAD:", "O:BAD:"},
        {"", ""},
    };
    for (const auto& row : rows) {
        CAPTURE(row.first);
        const SystemDescriptor source(row.first);
        void* const absolute = CKivSecurityDescriptor::MakeAbsoluteCopy(source.Get());
        REQUIRE(absolute != nullptr);
        CHECK(((ControlOf(absolute) & SE_SELF_RELATIVE) == 0 && SddlOf(absolute) == row.first));
        CHECK(CKivSecurityDescriptor::MakeAbsoluteCopy(absolute) == nullptr);
        for (void* const from : {absolute, static_cast<void*>(source.Get())}) {
            void* const selfRelative = CKivSecurityDescriptor::MakeSelfRelativeCopy(from);
            REQUIRE(selfRelative != nullptr);
            CHECK(((ControlOf(selfRelative) & SE_SELF_RELATIVE) != 0 && SddlOf(selfRelative) == row.first));
            CHECK(::LocalFree(selfRelative) == nullptr);
            CKivSecurityDescriptor sd(from);
            const CKivSecurityDescriptor copy(sd);
            CHECK((Shown(sd) == row.second && Shown(copy) == row.second && (ControlOf(sd) & SE_SELF_RELATIVE) == 0));
            CHECK(copy.GetSecurityDescriptor() != sd.GetSecurityDescriptor());
            CHECK((sd.GetDacl() == nullptr || copy.GetDacl() != sd.GetDacl()));
        }
        CHECK(::HeapFree(::GetProcessHeap(), 0, absolute));
    }
    CHECK(CKivSecurityDescriptor::MakeSelfRelativeCopy(nullptr) == nullptr);
    CHECK(CKivSecurityDescriptor::MakeAbsoluteCopy(nullptr) == nullptr);
}

TEST_CASE("absent, null and empty DACLs stay apart") {
    ACL* list = reinterpret_cast<ACL*>(&list);
    CKivSecurityDescriptor sd;
    CHECK((Shown(sd).empty() && sd.GetDacl(&list) == 0 && list == nullptr));
    CHECK((sd.SetDacl(nullptr) == 1 && sd.GetDacl(&list) == 1 && list == nullptr));
    CHECK((ControlOf(sd) == SE_DACL_PRESENT && ControlOf(CKivSecurityDescriptor(sd)) == SE_DACL_PRESENT));
    const SystemDescriptor empty("D:");
    CHECK((sd.SetDacl(empty.Dacl()) == 1 && sd.GetDacl(&list) == 1));
    REQUIRE(list != nullptr);
    CHECK((list == sd.GetDacl() && list->AceCount == 0));
}

TEST_CASE("parts are set as copies, and what is invalid changes nothing") {
    const SystemDescriptor source("O:SYG:BAD:(D;;CC;;;WD)(D;;DC;;;WD)");
    CKivSecurityDescriptor sd(source.Get());
    CKivSid users("S-1-5-32-545");
    CHECK((sd.SetPrimaryGroup(users) == 1 && sd.GetPrimaryGroup() != users.GetSid()));
    char noSid[SECURITY_MAX_SID_SIZE] = {9};
    ACL noList = {9, 0, sizeof(ACL), 0, 0};
    CHECK((sd.SetOwner(noSid) == 0 && ::GetLastError() == ERROR_INVALID_SID));
    CHECK((sd.SetDacl(&noList) == 0 && ::GetLastError() == ERROR_INVALID_ACL));
    CHECK(Shown(sd) == "O:SYG:BUD:(D;;DC;;;WD)(D;;CC;;;WD)");

    // Its own parts, each list copy turning the denied entries around.
    CHECK(sd.SetOwner(sd.GetOwner()) + sd.SetPrimaryGroup(sd.GetOwner()) + sd.SetDacl(sd.GetDacl()) == 3);
    CHECK(Shown(sd) == "O:SYG:SYD:(D;;CC;;;WD)(D;;DC;;;WD)");
    sd = sd.GetSecurityDescriptor();
    const CKivSecurityDescriptor& itself = sd;
    sd = itself;
    CHECK(Shown(sd) == "O:SYD:(D;;DC;;;WD)(D;;CC;;;WD)");
    CHECK((sd.SetOwner(nullptr) == 1 && Shown(sd) == "D:(D;;DC;;;WD)(D;;CC;;;WD)"));
}

TEST_CASE("a DACL of foreign types is kept, a malformed one is not lost in silence") {
    const SystemDescriptor source("D:(A;;CC;;;SY)(A;;DC;;;WD)");
    ACL* const dacl = source.Dacl();
    dacl->AclRevision = 4;
    dacl->AceCount = 1;  // 28 bytes, and slack
    reinterpret_cast<ACE_HEADER*>(dacl + 1)->AceType = 5;
    SECURITY_DESCRIPTOR absolute;
    REQUIRE(::InitializeSecurityDescriptor(&absolute, SECURITY_DESCRIPTOR_REVISION));
    REQUIRE(::SetSecurityDescriptorDacl(&absolute, TRUE, dacl, FALSE));
    absolute.Control |= SE_DACL_PROTECTED;
    CKivSecurityDescriptor first(&absolute);
    const CKivSecurityDescriptor sd(first);
    first = nullptr;
    ACL* list = nullptr;
    REQUIRE((sd.GetDacl(&list) == 1 && list != nullptr && list != dacl && sd.GetDacl() == nullptr));
    CHECK((list->AclSize == 28 && std::memcmp(list + 1, dacl + 1, 20) == 0));
    CHECK((list->AclRevision == 4 && (ControlOf(sd) & SE_DACL_PROTECTED) != 0));
    CKivSecurityDescriptor other;
    CHECK((other.SetDacl(dacl) == 0 && ::GetLastError() == 1306 && other.GetDacl(nullptr) == 0));
    dacl->AceCount = 7;
    other = &absolute;
    CHECK((::GetLastError() == ERROR_INVALID_ACL && Shown(other) == "(none)"));
    CHECK(CKivSecurityDescriptor(other).GetSecurityDescriptor() == nullptr);

    SECURITY_DESCRIPTOR unknown = {};
    unknown.Revision = 77;
    CKivSecurityDescriptor none(&unknown);
    CHECK(none.SetOwner(nullptr) + none.SetPrimaryGroup(nullptr) + none.SetDacl(nullptr) + none.GetDacl(nullptr) == 0);
    CHECK(none.SetKernelObjectDacl(::GetCurrentProcess()) == 0);
    CHECK((::GetLastError() == ERROR_INVALID_PARAMETER && none.GetOwner() == nullptr));
}

TEST_CASE("a descriptor that is taken over keeps its group; objects of all kinds leave nothing behind") {
    const SystemDescriptor source("O:SYG:BAD:(D;;WD;;;WD)(A;OICI;GA;;;BA)S:(AU;SA;GA;;;WD)");
    CHECK(kiv::test::LeavesNothing([&] {
        const DWORD length = ::GetSecurityDescriptorLength(source.Get());
        void* const selfRelative = ::HeapAlloc(::GetProcessHeap(), 0, length);
        std::memcpy(selfRelative, source.Get(), length);
        Attachable taken;
        for (void* const block : {selfRelative, CKivSecurityDescriptor::MakeAbsoluteCopy(source.Get())}) {
            taken.Attach(block);
            taken.Attach(taken.GetSecurityDescriptor());
            CHECK(Shown(taken) == "O:SYG:BAD:(D;;WD;;;WD)(A;OICI;GA;;;BA)");
        }
        taken.Attach(nullptr);
        CHECK(Shown(taken) == "(none)");
        CKivSecurityDescriptor sd(source.Get());
        CKivSecurityDescriptor copy(sd);
        copy = sd.GetSecurityDescriptor();
        sd.FromKernelObject(::GetCurrentProcess());
        CKivAcl acl(copy.GetDacl());
        acl = static_cast<const char*>(acl);
        acl.AddAce(acl.GetAceAt(0));
        acl.SetPreferredDaclOrder();
        CKivAce ace(acl.GetAceAt(1));
        ace.Create(0, 0, 1, ace.GetSid());
        acl = "{0-0-0x1-[no such account]}-{9-0-0x1}";
        sd.SetDacl(acl);
    }));

    const ForcedOsFamily family(kiv::OsFamily::k9x);  // which takes over nothing
    CHECK(CKivSecurityDescriptor(source.Get()).GetSecurityDescriptor() == nullptr);
    CHECK(CKivSecurityDescriptor::MakeSelfRelativeCopy(source.Get()) == nullptr);
    CHECK(CKivSecurityDescriptor::MakeAbsoluteCopy(source.Get()) == nullptr);
    CHECK((CKivAcl(source.Dacl()).GetAcl() == nullptr && CKivAce(source.Dacl() + 1).GetAce() == nullptr));
}

TEST_CASE("the effective rights are the system's answer") {
    static DWORD status;
    static std::string asked;
    CKivSid users("S-1-5-32-545");
    CKivAcl acl;
    kiv::test::SwappedApi<kiv::AclRightsApi> api;
    api->effectiveRights = [](ACL* list, TRUSTEE_A* whose, ACCESS_MASK* rights) WINAPI -> DWORD {
        CKivSid sid(static_cast<void*>(whose->ptstrName));
        asked = SddlOf(list) + " " + std::to_string(whose->TrusteeForm) + " " + static_cast<const char*>(sid);
        return *rights = 0x1200A9, status;
    };
    CHECK(acl.GetEffectiveRights(users) == 0);
    acl = "{0-0-0x1200a9-[S-1-5-32-545]}";
    CHECK((acl.GetEffectiveRights(users) == 0x1200A9 && acl.GetEffectiveRights(nullptr) == 0));
    CHECK(asked == "D:(A;;0x1200a9;;;BU) 0 S-1-5-32-545");
    status = ERROR_NONE_MAPPED;
    CHECK((acl.GetEffectiveRights(users) == 0 && ::GetLastError() == ERROR_NONE_MAPPED));
    api->effectiveRights = nullptr;
    CHECK((acl.GetEffectiveRights(users) == 0 && ::GetLastError() == ERROR_PROC_NOT_FOUND));
}
