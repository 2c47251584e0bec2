#include "support/windows_api.h"

#include <string>
#include <vector>

#include "security/object_security.h"
#include "support/check.h"
#include "support/redirected_key.h"
#include "support/sddl_text.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "tavkivut/security.h"

// Objects of the system, compared with what the system itself says about them.

namespace {

using kiv::test::SddlOf;
using kiv::test::SddlOfKey;
using kiv::test::SwappedApi;
using kiv::test::SystemDescriptor;
constexpr SECURITY_INFORMATION kAll =
    OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;

// As the system itself shows an event or, for a path, a file.
std::string SystemView(HANDLE event, const char* path = nullptr, SECURITY_INFORMATION parts = kAll) {
    char descriptor[2048];
    DWORD size = 0;
    REQUIRE((path != nullptr ? ::GetFileSecurityA(path, parts, descriptor, sizeof descriptor, &size)
                             : ::GetKernelObjectSecurity(event, parts, descriptor, sizeof descriptor, &size)));
    return SddlOf(descriptor, parts);
}

// As the system shows the descriptor that the library read.
std::string Shown(const CKivSecurityDescriptor& sd, SECURITY_INFORMATION parts) {
    return SddlOf(sd.GetSecurityDescriptor(), parts);
}

// A descriptor whose DACL is the given text.
CKivSecurityDescriptor WithDacl(const char* aclText) {
    CKivAcl acl;
    acl = aclText;
    REQUIRE(acl.GetAcl() != nullptr);
    CKivSecurityDescriptor sd;
    REQUIRE(sd.SetDacl(acl) == 1);
    return sd;
}

}  // namespace

TEST_CASE("the DACL of an event") {
    const HANDLE event = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    REQUIRE(event != nullptr);
    const std::string list = "D:(D;;DC;;;WD)(A;;0x1f0003;;;BA)(A;;0x100000;;;AU)";
    CKivSecurityDescriptor sd = WithDacl("{0-0-0x1f0003-[S-1-5-32-544]}-{1-0-0x2-[S-1-1-0]}-{0-0-0x100000-[S-1-5-11]}");
    REQUIRE(sd.SetKernelObjectDacl(event) == 1);
    const std::string owner = SystemView(event, nullptr, OWNER_SECURITY_INFORMATION);
    CHECK(SystemView(event, nullptr, DACL_SECURITY_INFORMATION) == list);
    REQUIRE((sd.FromKernelObject(event) == 1 && ::CloseHandle(event)));
    CHECK((sd.FromKernelObject(event) == 0 && ::GetLastError() == ERROR_INVALID_HANDLE));
    CHECK(Shown(sd, kAll) == owner + list);
    CHECK(sd.FromUserObject(::GetProcessWindowStation()) == 1);
}

TEST_CASE("the owner and the DACL of a registry key are set each for itself") {
    const kiv::test::ScratchKey key;
    CKivSecurityDescriptor sd = WithDacl("{0-2-0xf003f-[S-1-5-32-544]}-{0-2-0x20019-[S-1-1-0]}");
    CKivSid users("S-1-5-32-545");
    REQUIRE((sd.SetOwner(users) == 1 && sd.SetRegKeyDacl(key.Handle()) == 1));
    CHECK(SddlOfKey(key.Handle(), kAll).find("O:BU") == std::string::npos);
    REQUIRE(sd.SetRegKeyOwner(key.Handle()) == 1);
    CKivSecurityDescriptor read;
    REQUIRE(CKivSecurityDescriptor::FromRegKey(key.Handle(), read) == 1);
    CHECK(Shown(read, kAll) == "O:BUD:(A;CI;KA;;;BA)(A;CI;KR;;;WD)");
    CHECK((read.FromRegKey(nullptr) == 0 && ::GetLastError() == ERROR_INVALID_HANDLE));
}

TEST_CASE("the DACL of a file is set as the system's own call sets it") {
    const kiv::test::TempDirectory directory;
    const std::string ours = directory.Write("ours", "x");
    const std::string theirs = directory.Write("theirs", "x");
    CKivSecurityDescriptor sd = WithDacl("{0-0-0x1f01ff-[S-1-5-32-544]}-{0-0-0x120089-[S-1-1-0]}");
    REQUIRE(sd.SetFileDacl(ours.c_str()) == 1);
    const SystemDescriptor same(Shown(sd, DACL_SECURITY_INFORMATION).c_str());
    REQUIRE(::SetFileSecurityA(theirs.c_str(), DACL_SECURITY_INFORMATION, same.Get()));
    const std::string view = SystemView(nullptr, theirs.c_str());
    CHECK((SystemView(nullptr, ours.c_str()) == view && sd.FromFile(ours.c_str()) == 1));
    CHECK((sd.SetFileDacl((directory / "missing").c_str()) == 0 && ::GetLastError() == ERROR_FILE_NOT_FOUND));
    CHECK((sd.FromFile(nullptr) == 0 && sd.GetPrimaryGroup() != nullptr && Shown(sd, kAll) == view));
}

namespace {

// Plays objects whose security is asked for and set, and notes what was handed over.
const char* g_descriptor;
std::vector<std::string> g_calls;
bool g_grows;  // so that the descriptor outgrows the room it was given

void Note(const char* call, const void* object, SECURITY_INFORMATION parts, const std::string& more) {
    g_calls.push_back(call + std::to_string(reinterpret_cast<std::uintptr_t>(object)) + " " + std::to_string(parts) +
                      more);
}

BOOL WINAPI GetService(SC_HANDLE object, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR buffer, DWORD size,
                       DWORD* needed) {
    Note("get ", object, parts, size == 0 ? " size" : "");
    ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return SystemDescriptor(g_descriptor).CopyTo(buffer, size, *needed) && !g_grows;
}

BOOL WINAPI SetService(SC_HANDLE object, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR from) {
    Note("set ", object, parts, " " + (kiv::test::HasNullDacl(from) ? "null" : SddlOf(from)));
    return TRUE;
}

const HANDLE kObject = reinterpret_cast<HANDLE>(77);
const SC_HANDLE kService = reinterpret_cast<SC_HANDLE>(78);

}  // namespace

TEST_CASE("services and user objects are asked for owner and DACL, and get the DACL") {
    SwappedApi<kiv::ObjectSecurityApi> api;
    api->getUserObject =
        [](HANDLE object, SECURITY_INFORMATION* parts, PSECURITY_DESCRIPTOR buffer, DWORD size, DWORD* needed)
            WINAPI { return GetService(static_cast<SC_HANDLE>(object), *parts, buffer, size, needed); };
    api->setUserObject = [](HANDLE object, SECURITY_INFORMATION* parts, PSECURITY_DESCRIPTOR from)
                             WINAPI { return SetService(static_cast<SC_HANDLE>(object), *parts, from); };
    api->getService = &GetService;
    api->setService = &SetService;
    g_descriptor = "O:SYD:(D;;CC;;;WD)(A;;GA;;;BA)";
    CKivSecurityDescriptor sd;
    REQUIRE((sd.FromUserObject(kObject) == 1 && Shown(sd, kAll) == g_descriptor && sd.FromService(kService) == 1));
    REQUIRE((sd.SetUserObjectDacl(kObject) == 1 && sd.SetServiceDacl(kService) == 1));
    REQUIRE((sd.SetDacl(nullptr) == 1 && sd.SetServiceDacl(kService) == 1));
    const std::string set = std::string(" 4 ") + g_descriptor;
    CHECK(g_calls == std::vector<std::string>{"get 77 5 size", "get 77 5", "get 78 5 size", "get 78 5", "set 77" + set,
                                              "set 78" + set, "set 78 4 null"});

    // A descriptor that cannot be read leaves the object as it was.
    sd = WithDacl("{}");
    g_grows = true;
    CHECK((sd.FromService(kService) == 0 && ::GetLastError() == ERROR_INSUFFICIENT_BUFFER));
    api->getService = [](SC_HANDLE, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR, DWORD, DWORD*) WINAPI { return FALSE; };
    CHECK((sd.FromService(kService) == 0 && ::GetLastError() == ERROR_GEN_FAILURE));
    api->getService = [](SC_HANDLE, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR, DWORD, DWORD*) WINAPI { return TRUE; };
    api->setService = nullptr;
    CHECK(sd.FromService(kService) == 0);
    CHECK((sd.SetServiceDacl(kService) == 0 && ::GetLastError() == ERROR_PROC_NOT_FOUND));
    CHECK(Shown(sd, kAll) == "D:(A;;GR;;;WD)");
}
