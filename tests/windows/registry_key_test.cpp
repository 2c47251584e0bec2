#include <cstddef>
#include <string>

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "support/windows_api.h"
#include "tavkivut/registry.h"

struct CKivRegKeyLayout {
    static_assert(offsetof(CKivRegKey, m_handle) == 0);
    static_assert(offsetof(CKivRegKey, m_wksta) == sizeof(void*));
    static_assert(offsetof(CKivRegKey, m_key) == 2 * sizeof(void*));
    static_assert(offsetof(CKivRegKey, m_lastError) == 3 * sizeof(void*));
    static_assert(offsetof(CKivRegKey, m_permissions) == 3 * sizeof(void*) + 4);
};

using namespace kiv::test;

namespace {

std::string Text(const char* text) {
    return text == nullptr ? "(null)" : text;
}

// The parent's path, in a buffer of just the size that is needed.
std::string ParentOf(CKivRegKey& key) {
    std::string buffer(key.getKey() == nullptr ? 1 : std::string(key.getKey()).size() + 1, '?');
    CHECK(key.getParentKey(buffer.data()) == buffer.data());
    return buffer.c_str();
}

std::string AccessList(HKEY key) {
    char descriptor[512];
    DWORD size = sizeof descriptor;
    REQUIRE(::RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor, &size) == ERROR_SUCCESS);
    return {descriptor, size};
}

std::string ThisComputer() {
    char name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = sizeof name;
    REQUIRE(::GetComputerNameA(name, &length));
    return name;
}

}  // namespace

TEST_CASE("a key is opened by its path and keeps the canonical form") {
    CKivRegKey key;
    CHECK(key == nullptr);
    CHECK(key.getPermissions() == 0xF003F);
    CHECK(key.open("HKEY_CURRENT_USER\\Software", KEY_READ));
    CHECK(key != nullptr);
    CHECK(Text(key.getKey()) == "HKCU\\Software");
    CHECK(Text(key.getName()) == "Software");
    CHECK(ParentOf(key) == "HKCU");
    CHECK(key.getPermissions() == KEY_READ);
    CHECK(key.getLastError() == 0);

    CHECK(key.open("hklm", KEY_READ));  // a root alone
    CHECK(key.countKeys() > 0);
    CHECK(Text(key.getName()) == "HKLM");
    CHECK(ParentOf(key).empty());
}

TEST_CASE("the path stays when the key cannot be opened") {
    const ScratchKey scratch;
    CKivRegKey key(nullptr, scratch.Path().c_str(), "missing", KEY_READ);
    CHECK(key == nullptr);
    CHECK(key.getLastError() == ERROR_FILE_NOT_FOUND);
    CHECK(key.getKey() == scratch.Path() + "\\missing");

    CHECK_FALSE(key.open("Software\\x", KEY_READ));  // no root
    CHECK(key.getLastError() == ERROR_INVALID_HANDLE);
    CHECK(Text(key.getKey()).empty());
}

TEST_CASE("parent and subkey are joined") {
    const ScratchKey scratch;
    CreateSubkey(scratch.Handle(), "TAV");
    const std::string wanted = scratch.Path() + "\\TAV";
    CKivRegKey key;
    CHECK((key.open(scratch.Path().c_str(), "\\TAV", KEY_READ) && key.getKey() == wanted));
    CHECK((key.open((scratch.Path() + "\\").c_str(), "TAV", KEY_READ) && key.getKey() == wanted));
    CHECK((key.open(wanted.c_str(), nullptr, KEY_READ) && key.getKey() == wanted));
    CHECK((key.open(wanted.c_str(), "", KEY_READ) && key.getKey() == wanted));
    CHECK((key.open(key.getKey(), KEY_READ) && key.getKey() == wanted));  // its own path
}

TEST_CASE("a key is created with all that is missing, its options and its security") {
    const ScratchKey scratch;
    CKivRegKey key;
    CHECK(key.create(scratch.Path().c_str(), "a\\b", KEY_READ));
    CHECK(HasSubkey(scratch.Handle(), "a\\b"));
    CHECK(key.getPermissions() == KEY_READ);
    CHECK(key.create((scratch.Path() + "\\volatile").c_str(), KEY_ALL_ACCESS, REG_OPTION_VOLATILE));
    CHECK_FALSE(key.create((scratch.Path() + "\\volatile").c_str(), "c"));
    CHECK(key.getLastError() == ERROR_CHILD_MUST_BE_VOLATILE);

    SECURITY_DESCRIPTOR everyone;
    ::InitializeSecurityDescriptor(&everyone, SECURITY_DESCRIPTOR_REVISION);
    ::SetSecurityDescriptorDacl(&everyone, TRUE, nullptr, FALSE);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, &everyone, FALSE};
    REQUIRE(key.create(scratch.Path().c_str(), "by us", KEY_ALL_ACCESS, 0, &attributes));
    kiv::ScopedRegistryKey peer;
    REQUIRE(::RegCreateKeyExA(scratch.Handle(), "by the system", 0, nullptr, 0, KEY_ALL_ACCESS, &attributes,
                              peer.Receive(), nullptr) == ERROR_SUCCESS);
    CHECK(AccessList(key) == AccessList(peer.Get()));
}

TEST_CASE("a path of more than 259 characters is opened and created piece by piece") {
    const ScratchKey scratch;
    std::string subkeys;
    for (const char* name : {"a", "b", "c", "d"})
        subkeys.append(subkeys.empty() ? "" : "\\").append(180, *name);
    CKivRegKey key;
    REQUIRE(key.create(scratch.Path().c_str(), subkeys.c_str()));
    SetText(key, "here", "yes");
    CHECK(key.getKey() == scratch.Path() + "\\" + subkeys);
    CKivRegKey again(nullptr, scratch.Path().c_str(), subkeys.c_str(), KEY_READ);
    CHECK(Data(again, "here") == std::string("1:yes\0", 6));
    CHECK_FALSE(again.open(scratch.Path().c_str(), (subkeys + "\\missing").c_str()));
    CHECK(again.getLastError() == ERROR_FILE_NOT_FOUND);

    CHECK_FALSE(key.create(scratch.Path().c_str(), std::string(300, 'n').c_str()));  // one name, too long by itself
    CHECK(key.getLastError() != 0);
    CHECK(SubkeyNames(scratch.Handle()).size() == 1);
}

TEST_CASE("a closed key has no path, and asking it is harmless") {
    const ScratchKey scratch;
    CKivRegKey key(nullptr, scratch.Path().c_str());
    CHECK(key.close());
    CHECK(key == nullptr);
    CHECK(key.getKey() == nullptr);
    CHECK(key.getName() == nullptr);
    CHECK(ParentOf(key).empty());
    CHECK(key.getParentKey(nullptr) == nullptr);
    CHECK(key.countKeys() == 0);
    CHECK(key.countValues() == 0);
    CHECK(key.empty());
    CHECK(key.getIndex() == -1);
    CHECK((++key).getKey() == nullptr);
    CHECK((key.beginKeys() == key.end() && key.findValue("x") == key.end() && key.findKey(nullptr) == key.end()));
    CHECK_FALSE(key.open(nullptr));
    CHECK(key.getLastError() == ERROR_INVALID_PARAMETER);
    key.setLastError(17);
    CHECK(key.getLastError() == 17);
}

TEST_CASE("a null path changes nothing") {
    const ScratchKey scratch;
    CKivRegKey key(nullptr, scratch.Path().c_str());
    CHECK_FALSE(key.create(nullptr, "x"));
    CHECK(key.getLastError() == ERROR_INVALID_PARAMETER);
    CHECK((key != nullptr && key.getKey() == scratch.Path()));
}

TEST_CASE("elements are counted") {
    const ScratchKey scratch;
    CKivRegKey key(nullptr, scratch.Path().c_str());
    CHECK(key.empty());
    SetText(key, "value", "");
    CHECK((key.countValues() == 1 && key.countKeys() == 0 && !key.empty()));
    CreateSubkey(key, "a");
    CreateSubkey(key, "b");
    CHECK(key.countKeys() == 2);
}

TEST_CASE("handles are taken over and given up") {
    const ScratchKey scratch;
    CKivRegKey key(nullptr, scratch.Path().c_str());
    const kiv::ScopedRegistryKey detached(key.detach());
    CHECK(key == nullptr);
    CHECK(key.getKey() == scratch.Path());
    CreateSubkey(detached.Get(), "still open");
    HKEY other;
    REQUIRE(::RegOpenKeyExA(detached.Get(), "still open", 0, KEY_READ, &other) == ERROR_SUCCESS);
    key.attach(other);
    CHECK(key == other);
    key.close();
    CHECK(::RegQueryInfoKeyA(other, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr, nullptr) != ERROR_SUCCESS);
}

TEST_CASE("an assigned key ends closed, with the other's machine and permissions") {
    const ScratchKey scratch;
    CKivRegKey other(nullptr, scratch.Path().c_str(), nullptr, KEY_READ);
    other.connectTo("host");
    CKivRegKey key(nullptr, scratch.Path().c_str());
    key = other;
    CHECK(key == nullptr);
    CHECK(key.getKey() == nullptr);
    CHECK(Text(key.getWksta()) == "\\\\host");
    CHECK(key.getPermissions() == KEY_READ);

    key.connectTo(key.getWksta());  // its own machine
    CHECK(Text(key.getWksta()) == "\\\\host");
    key.connectTo(nullptr);
    REQUIRE(key.open(scratch.Path().c_str()));
    CKivRegKey& itself = key;
    key = itself;
    CHECK((key == nullptr && key.getKey() == nullptr));
}

TEST_CASE("a key of another machine is opened through a connection") {
    CKivRegKey key(ThisComputer().c_str(), "HKLM\\Software", nullptr, KEY_READ);
    CHECK(key.getLastError() == 0);
    CHECK(key.countKeys() > 0);
    CHECK(key.getWksta() == "\\\\" + ThisComputer());
    CKivRegKey copy(key);
    CHECK((copy != nullptr && copy.countKeys() == key.countKeys() && Text(copy.getWksta()) == key.getWksta()));

    CHECK(key.connectTo("no-such-host.invalid"));
    CHECK_FALSE(key.open("HKLM\\Software", KEY_READ));
    CHECK(key.getLastError() == ERROR_BAD_NETPATH);
    CHECK_FALSE(key.open("nowhere", KEY_READ));
    CHECK(key.getLastError() == ERROR_INVALID_HANDLE);
}

TEST_CASE("keys leave no handle and no heap block behind") {
    const ScratchKey scratch;
    const auto use = [&] {
        CKivRegKey key(nullptr, scratch.Path().c_str());
        CKivRegKey copy(key);
        copy = key;
        key.create(scratch.Path().c_str(), std::string(200, 'a').append("\\").append(200, 'b').c_str());
        key.open("nowhere");
        key.connectTo("no-such-host.invalid");
        key.open("HKLM\\Software", KEY_READ);
    };
    use();
    const ResourceCount before = CountResources();
    use();
    CHECK(CountResources() == before);
}
