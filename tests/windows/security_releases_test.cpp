#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/this_release.h"
#include "tavkivut/security.h"

// Run as each release: the NT family has security data, the 9x family has nothing of it.

namespace {

const bool g_has = !kiv::test::ThisReleaseIs9x();

}  // namespace

TEST_CASE("security data exist on the NT family only") {
    kiv::test::RecordingLog log;
    CKivSid sid("S-1-1-0");
    CHECK(sid.IsValid() == g_has);
    sid = CKivSid::WKS_EVERYONE;
    CHECK(sid.Create(CKivSid::AUTH_WORLD, 1, 0UL) == g_has);
    SID everyone = {SID_REVISION, 1, SECURITY_WORLD_SID_AUTHORITY, {SECURITY_WORLD_RID}};
    CHECK(sid == CKivSid(&everyone));
    CHECK((CKivSid::FromThreadUser(::GetCurrentThread()).GetSid() != nullptr) == g_has);

    CKivToken token;
    char text[256] = "";
    unsigned long size = sizeof text;
    CHECK(token.OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY) == g_has);
    CHECK(token.OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY) == g_has);
    CHECK((KivGetCurrentProcessSid(text, &size) == g_has && (text[0] == 'S') == g_has));
    void* logon = KivGetCurrentProcessLogonSid();
    CHECK((logon != nullptr) == g_has);
    KivFreeSid(logon);
    CHECK((KivAddAccountPrivilege(nullptr, "Users", "") == 0 && KivGetCurrentThreadSid(text, &size, 1) == 0));
    for (const char* name : {"SeShutdownPrivilege", "SeNoSuchPrivilege"}) {  // granted on 9x, and nothing happens
        CHECK((CKivPrivilege(name, 1).Granted() != 0) == (!g_has || std::string(name) == "SeShutdownPrivilege"));
        CHECK((CKivPrivilege(name, 0).Granted() == !g_has && CKivPrivilege(nullptr, name).Granted() == !g_has));
    }

    CKivAcl acl;
    acl = "{0-3-0x10000000-[S-1-5-32-544]}";
    CHECK(((acl.GetAcl() != nullptr) == g_has && acl.GetAceCount() == (g_has ? 1 : -1)));
    CHECK((static_cast<const char*>(acl) != nullptr) == g_has);
    CHECK((acl.AddAce(1, 0, 1, &everyone) == g_has && (CKivAce(&everyone, 1, 1).GetAce() != nullptr) == g_has));
    CKivSecurityDescriptor sd;
    CHECK(((sd.GetSecurityDescriptor() != nullptr) == g_has && sd.SetDacl(nullptr) == g_has));
    CHECK(sd.FromKernelObject(::GetCurrentProcess()) == g_has);
    CHECK((CKivSecurityDescriptor::MakeSelfRelativeCopy(sd) == nullptr) == !g_has);
    CHECK(sd.SetKernelObjectDacl(::GetCurrentProcess()) == g_has);
    if (g_has)
        return;
    token.DumpToLog("Any");
    acl.DumpToLog("Any");
    CHECK(log.Lines().empty());
}
