#include "support/windows_api.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/recording_log.h"
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

using kiv::test::RecordingLog;
using kiv::test::SddlOf;
using kiv::test::SystemDescriptor;

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

std::string UserName() {
    char name[256];
    DWORD size = sizeof name;
    REQUIRE(::GetUserNameA(name, &size));
    return name;
}

}  // namespace

TEST_CASE("a text reads as the system's own list") {
    const struct {
        const char* text;
        const char* list;
    } rows[] = {
        {"{0-3-0x10000000-[S-1-5-32-544]}-{1-3-0x40000-[S-1-1-0]}", "D:(D;OICI;WD;;;WD)(A;OICI;GA;;;BA)"},
        {"{0-19-0x80000000-[S-1-5-11]}-{0-0-0x1f01ff}", "D:(A;OICIID;GR;;;AU)(A;;FA;;;WD)"},
        // Each addition makes the list grow, and growth turns the denied entries around.
        {"{1-0-0x1-[S-1-1-0]}-{1-0-0x2-[S-1-1-0]}-{1-0-0x4-[S-1-1-0]}", "D:(D;;LC;;;WD)(D;;CC;;;WD)(D;;DC;;;WD)"},
        {"{1-0-0x1-[S-1-1-0]}-{1-0-0x2-[S-1-1-0]}-{0-0-0x4-[S-1-1-0]}", "D:(D;;CC;;;WD)(D;;DC;;;WD)(A;;LC;;;WD)"},
        {"{0-0-0x1-[no such account]}-{0-0-0x2-[S-1-5-21-4294967295]}", "D:(A;;DC;;;S-1-5-21-4294967295)"},
        {"", "(none)"},
        {nullptr, "(none)"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.text);
        CHECK(Shown(Parse(row.text)) == row.list);
    }
    CHECK(Parse(nullptr).GetAceCount() == -1);
}

TEST_CASE("the system's own list is written as a text") {
    const struct {
        const char* list;
        const char* text;
    } rows[] = {
        {"D:(D;;WD;;;WD)(A;ID;GA;;;BA)", "{1-0-0x40000-[S-1-1-0]}-{0-16-0x10000000-[S-1-5-32-544]}"},
        {"D:(D;;CC;;;WD)(D;;DC;;;WD)(A;;LC;;;S-1-5-21-1-2-3-1000)",  // a copy turns the denied entries around
         "{1-0-0x2-[S-1-1-0]}-{1-0-0x1-[S-1-1-0]}-{0-0-0x4-[S-1-5-21-1-2-3-1000]}"},
        {"D:", ""},
    };
    for (const auto& row : rows) {
        CAPTURE(row.list);
        const SystemDescriptor descriptor(row.list);
        CKivAcl acl(descriptor.Dacl());
        CHECK(TextOf(acl) == row.text);
        CHECK(acl.IsValid() == 1);
        CHECK(CKivAcl(acl).GetAceCount() == acl.GetAceCount());
    }
    CKivAcl none;
    CHECK(TextOf(none) == "(null)");
    CHECK(none.IsValid() == 0);
    CHECK(CKivAcl(none).GetAcl() == nullptr);
}

TEST_CASE("the examples of the documentation are true") {
    std::ifstream page(std::string(std::getenv("KIV_TEST_DATA")) + "/../../docs/acl-text.md");
    std::string line;
    int examples = 0;
    while (std::getline(page, line)) {
        // | `text` | `written again` | why |
        if (line.rfind("| `", 0) != 0)
            continue;
        const std::size_t end = line.find("` | ");
        const std::string written = line.substr(end + 4, line.find(" | ", end + 4) - end - 4);
        CKivAcl acl = Parse(line.substr(3, end - 3).c_str());
        CAPTURE(line);
        CHECK((acl.GetAcl() != nullptr ? "`" + TextOf(acl) + "`" : "no list") == written);
        ++examples;
    }
    CHECK(examples == 19);
}

TEST_CASE("an account may stand for its SID") {
    CKivSid user = CKivSid::FromProcessUser(::GetCurrentProcess());
    const std::string expected = "{0-0-0x1-[" + std::string(user) + "]}";
    for (const char* prefix : {"", ".\\"}) {
        CKivAcl acl = Parse(("{0-0-0x1-[" + (prefix + UserName()) + "]}").c_str());
        CHECK(TextOf(acl) == expected);
    }
}

TEST_CASE("entries are added, found and deleted") {
    CKivSid everyone;
    everyone = CKivSid::WKS_EVERYONE;
    CKivSid system;
    system = CKivSid::WKS_LOCAL_SYSTEM;
    CKivAcl acl;
    CHECK(acl.DeleteAce(0) == 0);
    CHECK(::GetLastError() == ERROR_INVALID_PARAMETER);
    REQUIRE(acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, GENERIC_READ, everyone) == 1);
    REQUIRE(acl.AddAce(ACCESS_DENIED_ACE_TYPE, 0, GENERIC_WRITE, everyone) == 1);
    REQUIRE(acl.AddAce(CKivAce(system, GENERIC_ALL, 1)) == 1);
    CHECK(Shown(acl) == "D:(D;;GW;;;WD)(A;;GR;;;WD)(A;OICI;GA;;;SY)");
    REQUIRE(acl.AddAce(acl.GetAceAt(0)) == 1);
    CHECK(Shown(acl) == "D:(D;;GW;;;WD)(D;;GW;;;WD)(A;;GR;;;WD)(A;OICI;GA;;;SY)");
    CHECK(acl.GetAceCount() == 4);
    CHECK(CKivAce(acl.GetAceAt(3)).GetAccessMask() == GENERIC_ALL);
    CHECK(acl.GetAceAt(4) == nullptr);
    CHECK(acl.GetAceAt(-1) == nullptr);
    CHECK(acl.DeleteAce(-1) == 0);
    REQUIRE(acl.DeleteAce(0) == 1);
    REQUIRE(acl.DeleteAce(1) == 1);
    CHECK(Shown(acl) == "D:(D;;GW;;;WD)(A;OICI;GA;;;SY)");
    CHECK(acl.DeleteAce(2) == 0);

    char noSid[SECURITY_MAX_SID_SIZE] = {9};
    CHECK(acl.AddAce(0, 0, 1, noSid) == 0);
    CHECK(::GetLastError() == ERROR_INVALID_SID);
    CHECK(acl.AddAce(7, 0, 1, everyone) == 0);
    CHECK(::GetLastError() == 1306);
    CHECK(acl.AddAce(nullptr) == 0);
    CHECK(Shown(acl) == "D:(D;;GW;;;WD)(A;OICI;GA;;;SY)");

    CKivAcl stillNone;
    CHECK(stillNone.AddAce(7, 0, 1, everyone) == 0);
    CHECK(stillNone.GetAcl() == nullptr);
}

TEST_CASE("a list takes what fits into 64 KB") {
    CKivSid sid("S-1-5-21-1-2-3-1000");
    CKivAcl acl;
    while (acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, 1, sid)) {
    }
    CHECK(::GetLastError() == ERROR_ALLOTTED_SPACE_EXCEEDED);
    CHECK(acl.GetAceCount() == (65535 - 8) / 36);
    CHECK(acl.GetAcl()->AclSize == 8 + 36 * acl.GetAceCount());
    CHECK(Parse((TextOf(acl) + "-{}").c_str()).GetAceCount() == acl.GetAceCount());
}

TEST_CASE("a list survives assignment of its own parts") {
    CKivAcl acl = Parse("{1-0-0x1-[S-1-1-0]}-{1-0-0x2-[S-1-1-0]}");
    REQUIRE(Shown(acl) == "D:(D;;DC;;;WD)(D;;CC;;;WD)");
    const CKivAcl& itself = acl;
    acl = itself;
    CHECK(Shown(acl) == "D:(D;;DC;;;WD)(D;;CC;;;WD)");
    acl = acl.GetAcl();
    CHECK(Shown(acl) == "D:(D;;CC;;;WD)(D;;DC;;;WD)");
    acl = static_cast<const char*>(acl);
    CHECK(Shown(acl) == "D:(D;;DC;;;WD)(D;;CC;;;WD)");
    acl = nullptr;
    CHECK(acl.GetAcl() == nullptr);
}

TEST_CASE("a malformed list, and one with foreign types, cannot be copied") {
    const SystemDescriptor descriptor("D:(A;;CC;;;WD)(A;;DC;;;WD)");
    ACL* const list = descriptor.Dacl();
    list->AceCount = 3;
    CHECK(CKivAcl(list).GetAcl() == nullptr);
    CHECK(::GetLastError() == ERROR_INVALID_ACL);
    list->AceCount = 2;
    reinterpret_cast<ACE_HEADER*>(list + 1)->AceType = 9;
    CHECK(CKivAcl(list).GetAcl() == nullptr);
    CHECK(::GetLastError() == 1306);
}

TEST_CASE("the preferred order") {
    const SystemDescriptor descriptor("D:(A;ID;CC;;;WD)(A;;DC;;;WD)");
    CKivAcl acl(descriptor.Dacl());
    CKivSid everyone;
    everyone = CKivSid::WKS_EVERYONE;
    REQUIRE(acl.AddAce(ACCESS_DENIED_ACE_TYPE, INHERITED_ACE, 4, everyone) == 1);
    REQUIRE(acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, 8, everyone) == 1);
    const WORD size = acl.GetAcl()->AclSize;
    acl.SetPreferredDaclOrder();
    CHECK(Shown(acl) == "D:(A;;DC;;;WD)(A;;SW;;;WD)(D;ID;LC;;;WD)(A;ID;CC;;;WD)");
    CHECK(acl.GetAcl()->AclSize == size);
    acl.GetAcl()->AceCount = 9;  // cannot be read: left as it is
    acl.SetPreferredDaclOrder();
    CHECK(acl.GetAceCount() == 9);
}

TEST_CASE("an entry is made, copied and compared") {
    CKivSid system("S-1-5-18");
    CKivAce allowed(system, 0x1F01FF, 1);
    CKivAce denied(system, 0x1F01FF, 0);
    CHECK(::EqualSid(allowed.GetSid(), system));
    CHECK(static_cast<unsigned long>(allowed) == 0x1F01FF);
    CHECK_FALSE(allowed == denied);
    CKivAce copy(allowed);
    CHECK(copy == allowed);
    CHECK(copy.GetAce() != allowed.GetAce());
    copy = copy.GetAce();
    CHECK(copy == allowed);
    REQUIRE(copy.Create(1, 3, 0x1F01FF, copy.GetSid()) == 1);
    CHECK(copy == denied);

    CKivAce none;
    CHECK(none.GetAce() == nullptr);
    CHECK(none.GetSid() == nullptr);
    CHECK(none.GetAccessMask() == 0);
    CHECK_FALSE(none == none);
    CHECK_FALSE(none == allowed);
    copy = none;
    CHECK(copy.GetAce() == nullptr);
    CHECK(allowed.Create(0, 0, 1, nullptr) == 0);
    CHECK(::GetLastError() == ERROR_INVALID_SID);
    CHECK(allowed.GetAce() == nullptr);

    unsigned char objectAce[] = {5, 0, 16, 0, 1, 0, 0, 0, 0xEE, 0xEE, 0xEE, 0xEE, 0, 0, 0, 0};
    const CKivAce object(objectAce);
    CHECK(object == objectAce);
    CHECK(object.GetAccessMask() == 1);
    CHECK(object.GetSid() == nullptr);
    objectAce[0] = 0;  // now a SID should follow
    CHECK(CKivAce(objectAce).GetAce() == nullptr);
    CHECK(::GetLastError() == ERROR_INVALID_PARAMETER);
}

TEST_CASE("a dump names every right of every entry") {
    CKivSid user = CKivSid::FromProcessUser(::GetCurrentProcess());
    CKivAcl acl;
    REQUIRE(acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, 0x920F8001, user) == 1);
    REQUIRE(acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, 0x60F00000, CKivSid("S-1-5-21-9-9-9-9")) == 1);
    char address[20];
    std::snprintf(address, sizeof address, "%x", static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(acl.GetAcl())));
    const std::string rule(79, '=');
    std::vector<std::string> expected = {"3  \n" + rule,
                                         "3  Key access-control list at 0x" + std::string(address) + " (2 entries)\n"};
    const auto expect = [&](const std::string& heading, std::uint32_t mask) {
        expected.push_back("3  " + heading);
        for (int bit = 0; bit < 16; ++bit) {
            char line[40];
            std::snprintf(line, sizeof line, "3    Specific right %02i: %s", bit,
                          (mask >> bit & 1) != 0 ? "yes" : "no");
            expected.push_back(line);
        }
        const struct {
            const char* name;
            int bit;
        } named[] = {{"DELETE:            ", 16}, {"READ_CONTROL:      ", 17}, {"WRITE_DAC:         ", 18},
                     {"WRITE_OWNER:       ", 19}, {"SYNCHRONIZE:       ", 20}, {"MAXIMUM_ALLOWED:   ", 25},
                     {"GENERIC_ALL:       ", 28}, {"GENERIC_EXECUTE:   ", 29}, {"GENERIC_WRITE:     ", 30},
                     {"GENERIC_READ:      ", 31}};
        for (const auto& right : named)
            expected.push_back("3    " + std::string(right.name) + ((mask >> right.bit & 1) != 0 ? "yes" : "no"));
    };
    expect("Entry 00: " + std::string(user.GetDomain()) + "\\" + UserName() + " (" + std::string(user) + ")",
           0x920F8001);
    expect("Entry 01: \\ (S-1-5-21-9-9-9-9)", 0x60F00000);
    expected.push_back("3  " + rule + "\n");

    RecordingLog log;
    ::SetLastError(1234);
    acl.DumpToLog("Key");
    CHECK(::GetLastError() == 1234);
    CHECK(log.Lines() == expected);

    log.Clear();
    CKivAcl().DumpToLog(nullptr);
    CHECK(log.Lines() == std::vector<std::string>{"3  \n" + rule, "3  Access-control list at 0x0 (-1 entries)\n",
                                                  "3  " + rule + "\n"});
    log.Clear();
    CKivAce().DumpToLog(0);
    CHECK(log.Lines().empty());
}
