#include "support/windows_api.h"

#include <cstring>
#include <string>

#include "security/object_security.h"
#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/redirected_key.h"
#include "support/sddl_text.h"
#include "support/swapped_api.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/security.h"

// Who may read the policy key of a share. The session's share is asked for once in a process, so all is one case.

namespace {

constexpr char kPolicies[] = "Software\\TAV\\TAVSetup\\Policies";

class OpenKey {
public:
    OpenKey(HKEY parent, const std::string& path) { REQUIRE(::RegCreateKeyA(parent, path.c_str(), &m_key) == 0); }
    ~OpenKey() { ::RegCloseKey(m_key); }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    operator HKEY() const { return m_key; }

private:
    HKEY m_key = nullptr;
};

// The entries of a key's DACL in their order, as the system tells them.
std::string AccessList(HKEY key) {
    const std::string text = kiv::test::SddlOfKey(key);
    return text.substr(text.find('('));
}

std::string TextValue(HKEY key, const char* name) {
    char text[64] = "";
    DWORD size = sizeof text;
    ::RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    return text;
}

// Plays the access list that a new key gets from the key above it.
const char* g_inherited;
LSTATUS WINAPI GetInherited(HKEY, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR buffer, DWORD* size) {
    const kiv::test::SystemDescriptor descriptor(g_inherited);
    const DWORD needed = ::GetSecurityDescriptorLength(descriptor.Get());
    if (*size < needed) {
        *size = needed;
        return ERROR_INSUFFICIENT_BUFFER;
    }
    std::memcpy(buffer, descriptor.Get(), needed);
    return ERROR_SUCCESS;
}

}  // namespace

TEST_CASE("a new policy key of a share is for everyone to read, on the NT family") {
    char computer[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = sizeof computer;
    REQUIRE(::GetComputerNameA(computer, &size));
    const kiv::test::RedirectedKey machine(HKEY_LOCAL_MACHINE);
    // The call that opens another machine's registry looks up its own name here.
    const OpenKey name(machine.Handle(), "System\\CurrentControlSet\\Control\\ComputerName\\ActiveComputerName");
    ::RegSetValueExA(name, "ComputerName", 0, REG_SZ, reinterpret_cast<const BYTE*>(computer), size + 1);
    CKivInstServer::SetSessionServerPath(("\\\\" + std::string(computer) + "\\apps\\folder").c_str());

    const OpenKey policies(machine.Handle(), kPolicies);
    const std::string usual = AccessList(OpenKey(policies, "other"));
    REQUIRE(usual.find(";;;WD)") == std::string::npos);
    {
        const kiv::test::ForcedOsFamily family(kiv::OsFamily::k9x);
        CHECK(CKivInstServer::SetServerPolicy("LbX", "1") == 1);
        const OpenKey key(policies, "apps");
        CHECK(TextValue(key, "LbX") == "1");
        CHECK(AccessList(key) == usual);
    }
    // A key that is there already stays as it is.
    CHECK(CKivInstServer::SetServerPolicy("LbX", "2") == 1);
    CHECK(AccessList(OpenKey(policies, "apps")) == usual);

    REQUIRE(::RegDeleteKeyA(policies, "apps") == ERROR_SUCCESS);
    CHECK(CKivInstServer::SetServerPolicy("LbX", "3") == 1);
    CHECK(TextValue(OpenKey(policies, "apps"), "LbX") == "3");
    CHECK(AccessList(OpenKey(policies, "apps")) == usual + "(A;OICI;GR;;;WD)");

    const struct {
        const char* inherited;
        std::string list;
    } rows[] = {{"D:(A;CIID;KA;;;BA)(D;CIID;WD;;;AU)", "(A;OICI;GR;;;WD)(D;CIID;WD;;;AU)(A;CIID;KA;;;BA)"},
                {"D:(D;;WD;;;AU)(A;;KA;;;BA)", "(D;;WD;;;AU)(A;;KA;;;BA)(A;OICI;GR;;;WD)"},
                {"O:BA", usual}};  // no list: open to all as it is
    kiv::test::SwappedApi<kiv::ObjectSecurityApi> api;
    api->getRegKey = &GetInherited;
    for (const auto& row : rows) {
        CAPTURE(row.inherited);
        g_inherited = row.inherited;
        REQUIRE(::RegDeleteKeyA(policies, "apps") == ERROR_SUCCESS);
        CHECK(CKivInstServer::SetServerPolicy("LbX", "4") == 1);
        CHECK(AccessList(OpenKey(policies, "apps")) == row.list);
    }
}
