#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/this_release.h"
#include "tavkivut/security.h"

// Run as each release: the NT family has access lists, the 9x family has nothing of it.

namespace {

const bool g_has = !kiv::test::ThisReleaseIs9x();

}  // namespace

TEST_CASE("lists exist on the NT family only") {
    kiv::test::RecordingLog log;
    CKivAcl acl;
    acl = "{0-3-0x10000000-[S-1-5-32-544]}";
    CHECK((acl.GetAcl() != nullptr) == g_has);
    CHECK(acl.GetAceCount() == (g_has ? 1 : -1));
    CHECK((static_cast<const char*>(acl) != nullptr) == g_has);
    CKivSid everyone("S-1-1-0");
    CHECK(acl.AddAce(1, 0, 1, everyone) == g_has);
    CHECK((CKivAce(everyone, 1, 1).GetAce() != nullptr) == g_has);
    acl.DumpToLog("Any");
    CHECK(log.Lines().empty() == !g_has);
}

TEST_CASE("descriptors exist on the NT family only") {
    CKivSecurityDescriptor sd;
    CHECK((sd.GetSecurityDescriptor() != nullptr) == g_has);
    CHECK(sd.SetDacl(nullptr) == g_has);
    CHECK(sd.FromKernelObject(::GetCurrentProcess()) == g_has);
    CHECK((CKivSecurityDescriptor::MakeSelfRelativeCopy(sd) == nullptr) == !g_has);
    CHECK(sd.SetKernelObjectDacl(::GetCurrentProcess()) == g_has);
}
