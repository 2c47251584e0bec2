#include "support/windows_api.h"

#include <string>

#include "security/object_security.h"
#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/scoped_resource.h"
#include "support/sddl_text.h"
#include "support/swapped_api.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/security.h"

// Who may read the policy key of a share. The session's share is asked for once in a process, so all is one case.

namespace {

// Plays the access list that a new key gets from the key above it.
const char* g_inherited;
LSTATUS WINAPI GetInherited(HKEY, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR buffer, DWORD* size) {
    const bool fits = kiv::test::SystemDescriptor(g_inherited).CopyTo(buffer, *size, *size);
    return fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER;
}

}  // namespace

TEST_CASE("a new policy key of a share is for everyone to read, on the NT family") {
    const std::string computer = kiv::test::ThisComputer();
    const kiv::test::RedirectedKey machine(HKEY_LOCAL_MACHINE);
    // The call that opens another machine's registry looks up its own name here.
    kiv::test::SetText(machine.Handle(), "ComputerName", computer,
                       "System\\CurrentControlSet\\Control\\ComputerName\\ActiveComputerName");
    CKivInstServer::SetSessionServerPath(("\\\\" + computer + "\\apps\\folder").c_str());
    const std::string policies = "Software\\TAV\\TAVSetup\\Policies";
    kiv::test::CreateSubkeys(machine.Handle(), {policies + "\\other"});
    // The entries of a key's DACL in their order, as the system tells them.
    const auto accessList = [&](const char* key) {
        const kiv::ScopedRegistryKey opened(
            kiv::test::OpenSubkey(machine.Handle(), policies + "\\" + key, READ_CONTROL));
        const std::string text = kiv::test::SddlOfKey(opened.Get());
        return text.substr(text.find('('));
    };
    const auto setPolicy = [&](const char* value) {
        CHECK(CKivInstServer::SetServerPolicy("LbX", value) == 1);
        CHECK(kiv::test::ShownData(machine.Handle(), "LbX", policies + "\\apps") == std::string("1:") + value);
        return accessList("apps");
    };
    const std::string usual = accessList("other");
    REQUIRE(usual.find(";;;WD)") == std::string::npos);
    {
        const kiv::test::ForcedOsFamily family(kiv::OsFamily::k9x);
        CHECK(setPolicy("1") == usual);
    }
    CHECK(setPolicy("2") == usual);  // a key that is there already stays as it is
    ::RegDeleteKeyA(machine.Handle(), (policies + "\\apps").c_str());
    CHECK(setPolicy("3") == usual + "(A;OICI;GR;;;WD)");

    const std::pair<const char*, std::string> rows[] = {
        {"D:(A;CIID;KA;;;BA)(D;CIID;WD;;;AU)", "(A;OICI;GR;;;WD)(D;CIID;WD;;;AU)(A;CIID;KA;;;BA)"},
        {"D:(D;;WD;;;AU)(A;;KA;;;BA)", "(D;;WD;;;AU)(A;;KA;;;BA)(A;OICI;GR;;;WD)"},
        {"O:BA", usual}};  // no list: open to all as it is
    kiv::test::SwappedApi<kiv::ObjectSecurityApi> api;
    api->getRegKey = &GetInherited;
    for (const auto& row : rows) {
        g_inherited = row.first;
        ::RegDeleteKeyA(machine.Handle(), (policies + "\\apps").c_str());
        CHECK(setPolicy("4") == row.second);
    }
}
