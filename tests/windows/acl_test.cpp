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

std::string UserName() {
    char name[256];
    DWORD size = sizeof name;
    REQUIRE(::GetUserNameA(name, &size));
    return name;
}

}  // namespace

TEST_CASE("a text reads as the system's own list, which is written as the same text") {
    const struct {
        const char* text;
        const char* list;
    } rows[] = {
        {"{1-3-0x40000-[S-1-1-0]}-{0-3-0x10000000-[S-1-5-32-544]}", "D:(D;OICI;WD;;;WD)(A;OICI;GA;;;BA)"},
        {"{0-19-0x80000000-[S-1-5-11]}-{0-0-0x1f01ff-[S-1-1-0]}", "D:(A;OICIID;GR;;;AU)(A;;FA;;;WD)"},
        {"{0-0-0x2-[S-1-5-21-4294967295]}", "D:(A;;DC;;;S-1-5-21-4294967295)"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.text);
        CHECK(Shown(Parse(row.text)) == row.list);
        CKivAcl acl(SystemDescriptor(row.list).Dacl());
        CHECK(TextOf(acl) == row.text);
        CHECK(acl.IsValid() == 1);
    }
    CKivAcl empty(SystemDescriptor("D:").Dacl());
    CHECK(TextOf(empty).empty());
    CHECK(CKivAcl(empty).GetAceCount() == 0);
    for (const char* text : {"", " {}", static_cast<const char*>(nullptr)}) {
        CKivAcl none = Parse(text);
        CHECK(TextOf(none) == "(null)");
        CHECK(none.IsValid() == 0);
        CHECK(CKivAcl(none).GetAceCount() == -1);
    }
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
    CKivSid everyone("S-1-1-0");
    CKivAcl acl;
    CHECK(acl.AddAce(7, 0, 1, everyone) == 0);
    CHECK(acl.GetAcl() == nullptr);
    CHECK(acl.DeleteAce(0) == 0);
    REQUIRE(acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, GENERIC_READ, everyone) == 1);
    REQUIRE(acl.AddAce(ACCESS_DENIED_ACE_TYPE, 0, GENERIC_WRITE, everyone) == 1);
    REQUIRE(acl.AddAce(CKivAce(CKivSid("S-1-5-18"), GENERIC_ALL, 1)) == 1);
    REQUIRE(acl.AddAce(acl.GetAceAt(1)) == 1);
    CHECK(Shown(acl) == "D:(D;;GW;;;WD)(A;;GR;;;WD)(A;OICI;GA;;;SY)(A;;GR;;;WD)");
    CHECK(acl.GetAceCount() == 4);
    CHECK(CKivAce(acl.GetAceAt(2)).GetAccessMask() == GENERIC_ALL);
    CHECK(acl.GetAceAt(4) == nullptr);
    CHECK(acl.GetAceAt(-1) == nullptr);
    REQUIRE(acl.DeleteAce(1) == 1);
    CHECK(acl.DeleteAce(3) == 0);
    CHECK(acl.DeleteAce(-1) == 0);
    CHECK(::GetLastError() == ERROR_INVALID_PARAMETER);
    char noSid[SECURITY_MAX_SID_SIZE] = {9};
    CHECK(acl.AddAce(0, 0, 1, noSid) == 0);
    CHECK(::GetLastError() == ERROR_INVALID_SID);
    CHECK(acl.AddAce(7, 0, 1, everyone) == 0);
    CHECK(::GetLastError() == kWrongType);
    CHECK(acl.AddAce(nullptr) == 0);
    CHECK(Shown(acl) == "D:(D;;GW;;;WD)(A;OICI;GA;;;SY)(A;;GR;;;WD)");
}

TEST_CASE("a list takes what fits into 64 KB") {
    CKivSid sid("S-1-5-21-1-2-3-1000");
    CKivAcl acl;
    while (acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, 1, sid)) {
    }
    CHECK(::GetLastError() == ERROR_ALLOTTED_SPACE_EXCEEDED);
    CHECK(acl.GetAceCount() == (65535 - 8) / 36);
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
    CHECK(::GetLastError() == kWrongType);
}

TEST_CASE("the preferred order") {
    CKivAcl acl(SystemDescriptor("D:(A;ID;CC;;;WD)(A;;DC;;;WD)").Dacl());
    CKivSid everyone("S-1-1-0");
    REQUIRE(acl.AddAce(ACCESS_DENIED_ACE_TYPE, INHERITED_ACE, 4, everyone) == 1);
    REQUIRE(acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, 8, everyone) == 1);
    REQUIRE(acl.AddAce(ACCESS_DENIED_ACE_TYPE, 0, 16, everyone) == 1);
    acl.SetPreferredDaclOrder();
    const char* const ordered = "D:(D;;RP;;;WD)(A;;DC;;;WD)(A;;SW;;;WD)(D;ID;LC;;;WD)(A;ID;CC;;;WD)";
    CHECK(Shown(acl) == ordered);
    acl.GetAcl()->AceCount = 9;  // cannot be read: left as it is
    acl.SetPreferredDaclOrder();
    CHECK(acl.GetAceCount() == 9);
}

TEST_CASE("an entry is made, copied and compared") {
    CKivSid system("S-1-5-18");
    CKivAce allowed(system, 0x1F01FF, 1);
    CHECK(::EqualSid(allowed.GetSid(), system));
    CHECK(static_cast<unsigned long>(allowed) == 0x1F01FF);
    CKivAce copy(allowed);
    CHECK(copy.GetAce() != allowed.GetAce());
    copy = copy.GetAce();
    CHECK(copy == allowed);
    REQUIRE(copy.Create(1, 3, 0x1F01FF, copy.GetSid()) == 1);
    CHECK(copy == CKivAce(system, 0x1F01FF, 0));
    CHECK_FALSE(copy == allowed);
    CHECK_FALSE(allowed == CKivAce(CKivSid("S-1-5-19"), 0x1F01FF, 1));

    CHECK(allowed.Create(0, 0, 1, nullptr) == 0);
    CHECK(::GetLastError() == ERROR_INVALID_SID);
    CHECK(allowed.GetAce() == nullptr);
    CHECK(allowed.GetSid() == nullptr);
    CHECK(allowed.GetAccessMask() == 0);
    CHECK_FALSE(allowed == allowed);

    unsigned char objectAce[] = {5, 0, 16, 0, 1, 0, 0, 0, 0xEE, 0xEE, 0xEE, 0xEE, 0, 0, 0, 0};
    CHECK(CKivAce(objectAce) == objectAce);
    CHECK(CKivAce(objectAce).GetSid() == nullptr);
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
    const struct {
        const char* name;
        int bit;
    } named[] = {{"DELETE:            ", 16}, {"READ_CONTROL:      ", 17}, {"WRITE_DAC:         ", 18},
                 {"WRITE_OWNER:       ", 19}, {"SYNCHRONIZE:       ", 20}, {"MAXIMUM_ALLOWED:   ", 25},
                 {"GENERIC_ALL:       ", 28}, {"GENERIC_EXECUTE:   ", 29}, {"GENERIC_WRITE:     ", 30},
                 {"GENERIC_READ:      ", 31}};
    const auto expect = [&](const std::string& heading, std::uint32_t mask) {
        const auto answer = [mask](int bit) { return (mask >> bit & 1) != 0 ? "yes" : "no"; };
        expected.push_back("3  " + heading);
        for (int bit = 0; bit < 16; ++bit)
            expected.push_back("3    Specific right " + std::string(bit < 10 ? "0" : "") + std::to_string(bit) + ": " +
                               answer(bit));
        for (const auto& right : named)
            expected.push_back("3    " + std::string(right.name) + answer(right.bit));
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
    CKivAce().DumpToLog(0);
    CKivAcl().DumpToLog(nullptr);
    CHECK(log.Lines() == std::vector<std::string>{"3  \n" + rule, "3  Access-control list at 0x0 (-1 entries)\n",
                                                  "3  " + rule + "\n"});
}
