#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "tavkivut/security.h"

namespace {

const std::string kRule = "\n" + std::string(79, '=');

// The lines of a dump, each followed by a "|", without the rights that an entry does not grant.
template <class Object>
std::string DumpOf(Object& object, const char* label) {
    const kiv::test::RecordingLog log;
    ::SetLastError(1234);
    object.DumpToLog(label);
    CHECK(::GetLastError() == 1234);
    std::string lines;
    for (const std::string& line : log.Lines())
        lines += line.rfind(" no") == line.size() - 3 ? "" : line + "|";
    return lines;
}

// "DOMAIN\name (text)", as dumps show a SID.
std::string Shown(CKivSid sid) {
    return sid.GetDomain() + ("\\" + std::string(sid.GetName())) + " (" + static_cast<const char*>(sid) + ")";
}

}  // namespace

TEST_CASE("the dump of a token shows what it tells") {
    CKivToken token;
    REQUIRE(token.OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE) == 1);
    const std::string dump = DumpOf(token, "Service");
    CHECK(dump.find("3  " + kRule + "|3  Service access token at 0x") == 0);
    const std::string parts[] = {" (" + std::to_string(token.GetGroupCount()) +
                                     " group entries, primary)\n|3  Token owner:    " + Shown(token.GetOwner()) +
                                     "|3  Group entry 00: " + Shown(token.GetGroupAt(0)) + "|3  Group entry 01: ",
                                 "  SeShutdownPrivilege is disabled|3  Privilege ",
                                 "  SeChangeNotifyPrivilege is enabled|3  "};
    for (const std::string& part : parts)
        CHECK_MESSAGE(dump.find(part) != std::string::npos, part);
    REQUIRE(::ImpersonateSelf(SecurityIdentification));
    REQUIRE(token.OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY) == 1);
    CHECK(DumpOf(token, "").find(" group entries, impersonation)\n") != std::string::npos);
    ::RevertToSelf();
    token.Close();
    CHECK(DumpOf(token, nullptr) == "3  " + kRule + "|3  Access token at 0x0 (-1 group entries, primary)\n|" +
                                        "3  Token owner:    \\ ()|3  " + kRule + "\n|");
}

TEST_CASE("the dump of a list names every right of every entry") {
    CKivAcl acl;
    acl = "{0-0-0x920f8001-[S-1-5-18]}-{0-0-0x60f00000-[S-1-5-21-9-9-9-9]}";
    const std::string dump = DumpOf(acl, "Key");
    CHECK(dump.find("3  " + kRule + "|3  Key access-control list at 0x") == 0);
    CHECK(dump.substr(dump.find(" (2 ")) ==
          " (2 entries)\n|3  Entry 00: NT AUTHORITY\\SYSTEM (S-1-5-18)|3    Specific right 00: yes|"
          "3    Specific right 15: yes|3    DELETE:            yes|3    READ_CONTROL:      yes|"
          "3    WRITE_DAC:         yes|3    WRITE_OWNER:       yes|3    MAXIMUM_ALLOWED:   yes|"
          "3    GENERIC_ALL:       yes|3    GENERIC_READ:      yes|3  Entry 01: \\ (S-1-5-21-9-9-9-9)|"
          "3    SYNCHRONIZE:       yes|3    GENERIC_EXECUTE:   yes|3    GENERIC_WRITE:     yes|3  " +
              kRule.substr(1) + "\n|");
    CKivAce().DumpToLog(0);
    acl = nullptr;
    CHECK(DumpOf(acl, nullptr) ==
          "3  " + kRule + "|3  Access-control list at 0x0 (-1 entries)\n|3  " + kRule.substr(1) + "\n|");
}
