#include "support/windows_api.h"

#include <winternl.h>

#include <string>
#include <vector>

#include "registry/registry_api.h"
#include "support/check.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "support/swapped_api.h"
#include "tavkivut/registry.h"

using namespace kiv::test;
using kiv::RegistryApi;

namespace {

using Names = std::vector<std::string>;

void CreateSubkeys(HKEY key, const Names& names) {
    for (const std::string& name : names)
        CreateSubkey(key, name);
}

// A key below the scratch key, opened by the class under test.
struct Opened {
    ScratchKey scratch;
    CKivRegKey key{nullptr, scratch.Path().c_str()};
};

bool EraseAllKeys(CKivRegKey& key) {
    auto first = key.beginKeys();
    auto last = key.end();
    const bool done = key.erase(first, last);
    CHECK(first == last);
    return done;
}

bool EraseAllValues(CKivRegKey& key) {
    auto first = key.beginValues();
    auto last = key.end();
    const bool done = key.erase(first, last);
    CHECK(first == last);
    return done;
}

using NtCreateKeyCall = LONG(WINAPI*)(HANDLE*, ACCESS_MASK, OBJECT_ATTRIBUTES*, ULONG, UNICODE_STRING*, ULONG, ULONG*);

int g_viewDeletions;

LONG WINAPI DeleteInView(HKEY key, LPCSTR subkey, REGSAM view, DWORD) {
    g_viewDeletions += view == KEY_WOW64_64KEY ? 1 : 100;
    return ::RegDeleteKeyA(key, subkey);
}

}  // namespace

TEST_CASE("an element is erased, and the status is kept") {
    Opened opened;
    CKivRegKey& key = opened.key;
    CreateSubkeys(key, {"a\\b\\c", "d"});
    SetText(key, "v", "");
    auto value = key.findValue("v");
    auto subkey = key.findKey("a");
    CHECK((key.erase(value) && key.getLastError() == 0));
    CHECK((key.erase(subkey) && key.getLastError() == 0));
    CHECK((key.countValues() == 0 && SubkeyNames(key) == Names{"d"}));

    CHECK((key.erase(value) && key.getLastError() == ERROR_FILE_NOT_FOUND));
    CHECK((key.erase(subkey) && key.getLastError() == ERROR_FILE_NOT_FOUND));
    CKivRegKey::iteratorValues noValue = key.end();
    CKivRegKey::iteratorKeys noKey = key.end();
    CHECK_FALSE(key.erase(noValue));
    CHECK_FALSE(key.erase(noKey));
    CKivRegKey closed;
    CHECK((closed.erase(subkey) && closed.getLastError() == ERROR_INVALID_HANDLE));
    CKivRegKey::iteratorKeys itself(nullptr, key.getKey(), "");  // would be the key itself
    CHECK((key.erase(itself) && key.getLastError() == ERROR_INVALID_NAME && key.countKeys() == 1));
}

TEST_CASE("a whole range is erased") {
    Opened opened;
    for (int i = 0; i < 300; ++i) {
        CreateSubkey(opened.key, std::to_string(i) + "\\below");
        SetText(opened.key, std::to_string(i).c_str(), "");
    }
    CHECK(EraseAllValues(opened.key));
    CHECK(EraseAllKeys(opened.key));
    CHECK(opened.key.empty());
    CHECK(opened.key.getLastError() == 0);
    CHECK((EraseAllValues(opened.key) && EraseAllKeys(opened.key)));
}

TEST_CASE("a range that begins in the middle takes what stands before it too") {
    Opened opened;
    CreateSubkeys(opened.key, {"a", "b", "c", "d", "e"});
    auto first = opened.key.findKey("b");
    CKivRegKey::iterator last = opened.key.findKey("d");
    opened.key.erase(first, last);
    CHECK(SubkeyNames(opened.key) == Names{"d", "e"});

    // A range whose end is another key's ends at its own.
    for (const char* name : {"u", "v", "w"})
        SetText(opened.key, name, "");
    auto value = opened.key.findValue("v");
    CKivRegKey::iterator foreign(nullptr, "HKCU\\elsewhere", nullptr);
    opened.key.erase(value, foreign);
    CHECK((opened.key.countValues() == 0 && value == opened.key.end()));
}

TEST_CASE("what cannot be deleted is skipped, and the last error tells") {
    Opened opened;
    CreateSubkeys(opened.key, {"a\\x", "b\\keep\\deep", "b\\go\\deep", "c"});
    SetText(opened.key, "v", "");
    HKEY subkey;
    REQUIRE(::RegOpenKeyExA(opened.key, "b", 0, KEY_ALL_ACCESS, &subkey) == ERROR_SUCCESS);
    const kiv::ScopedRegistryKey b(subkey);
    SetText(b.Get(), "gone", "");
    const LockedSubkey locked(b.Get(), "keep");
    CHECK(EraseAllKeys(opened.key));
    const unsigned long status = opened.key.getLastError();
    CHECK(status != 0);
    CHECK(SubkeyNames(opened.key) == Names{"b"});
    CHECK(SubkeyNames(b.Get()) == Names{"keep"});
    CHECK(ValueNames(b.Get()).empty());

    auto first = opened.key.findKey("b");  // step by step it is the same
    CKivRegKey::iterator foreign(nullptr, "HKCU\\elsewhere", nullptr);
    CHECK(opened.key.erase(first, foreign));
    CHECK(opened.key.getLastError() == status);
}

TEST_CASE("names that the code page shows alike do not hold up an erasure") {
    Opened opened;
    for (const wchar_t* name : {L"\x4E00", L"\x4E01", L"?"}) {
        HKEY subkey;
        REQUIRE(::RegCreateKeyExW(opened.key, name, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &subkey, nullptr) == 0);
        ::RegCloseKey(subkey);
        REQUIRE(::RegSetValueExW(opened.key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(L"x"), 4) == 0);
    }
    CreateSubkey(opened.key, "z");
    SetText(opened.key, "z", "");
    auto key = opened.key.beginKeys();
    auto value = opened.key.beginValues();
    CKivRegKey::iterator foreign(nullptr, "HKCU\\elsewhere", nullptr);
    SUBCASE("whole") {
        CHECK((EraseAllKeys(opened.key) && EraseAllValues(opened.key)));
    }
    SUBCASE("step by step") {
        CHECK((opened.key.erase(key, foreign) && opened.key.erase(value, foreign)));
    }
    CHECK(SubkeyNames(opened.key) == Names{"?", "?"});  // which no 8-bit name reaches
    CHECK(ValueNames(opened.key) == Names{"?", "?"});
}

TEST_CASE("a subkey whose name leads to its parent is not taken for it") {
    std::wstring hidden;
    Names shown;
    SUBCASE("one that begins with a NUL") {
        hidden = {L'\0', L'x'};
        shown = {""};
    }
    SUBCASE("one that the code page shows as a backslash") {
        hidden = L"\xFF3C";
        shown = {"\\"};
    }
    Opened opened;
    const auto create = reinterpret_cast<NtCreateKeyCall>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "NtCreateKey")));
    const auto size = static_cast<USHORT>(hidden.size() * sizeof(wchar_t));
    UNICODE_STRING name{size, size, hidden.data()};
    OBJECT_ATTRIBUTES attributes;
    InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE, opened.key, nullptr);
    HANDLE created = nullptr;
    REQUIRE(create(&created, KEY_ALL_ACCESS, &attributes, 0, nullptr, 0, nullptr) == 0);
    const kiv::ScopedRegistryKey subkey(static_cast<HKEY>(created));
    SetText(opened.key, "kept", "");
    CreateSubkey(opened.key, "z");

    CKivRegKey sibling(nullptr, opened.key.getKey(), "missing");
    CHECK((++sibling).getKey() == opened.scratch.Path() + "\\z");
    CHECK((++sibling).getKey() == nullptr);

    CHECK(EraseAllKeys(opened.key));
    CHECK(opened.key.getLastError() == ERROR_INVALID_NAME);
    CHECK(SubkeyNames(opened.key) == shown);
    CHECK(ValueNames(opened.key) == Names{"kept"});
    CHECK(*opened.key.beginKeys() == nullptr);
    kiv::Registry().ntDeleteKey(subkey.Get());
}

TEST_CASE("a registry link is deleted as a link") {
    Opened opened;
    CreateSubkeys(opened.key, {"target\\below", "tree\\branch"});
    HKEY target;
    HKEY branch;
    REQUIRE(::RegOpenKeyExA(opened.key, "target", 0, KEY_ALL_ACCESS, &target) == ERROR_SUCCESS);
    REQUIRE(::RegOpenKeyExA(opened.key, "tree\\branch", 0, KEY_ALL_ACCESS, &branch) == ERROR_SUCCESS);
    const kiv::ScopedRegistryKey targetOwner(target);
    const kiv::ScopedRegistryKey branchOwner(branch);
    SetText(target, "kept", "");
    CreateLink(branch, "link", target);
    REQUIRE(HasSubkey(branch, "link\\below"));

    SUBCASE("below a tree") {
        auto tree = opened.key.findKey("tree");
        opened.key.erase(tree);
        CHECK(opened.key.getLastError() == 0);
        CHECK_FALSE(HasSubkey(opened.key, "tree"));
    }
    SUBCASE("by itself") {
        CKivRegKey link(nullptr, opened.scratch.Path().c_str(), "tree\\branch\\link");
        REQUIRE(link.countKeys() == 1);  // the object has followed it
        CHECK(link.remove());
        CHECK(link.getLastError() == 0);
        CHECK_FALSE(HasLink(branch, "link"));
    }
    SUBCASE("also where the wanted access does not tell it from a key") {
        CKivRegKey parent(nullptr, opened.scratch.Path().c_str(), "tree\\branch", KEY_ENUMERATE_SUB_KEYS);
        auto it = parent.findKey("link");
        CHECK((parent.erase(it) && parent.getLastError() == 0));
        CHECK_FALSE(HasLink(branch, "link"));
    }
    SUBCASE("and stays where the system cannot do that") {
        SwappedApi<RegistryApi> api;
        api->ntDeleteKey = nullptr;
        CKivRegKey link(nullptr, opened.scratch.Path().c_str(), "tree\\branch\\link");
        CHECK(link.remove());
        CHECK(link.getLastError() == ERROR_CALL_NOT_IMPLEMENTED);
        CHECK(HasLink(branch, "link"));
    }
    CHECK(HasSubkey(target, "below"));
    CHECK(ValueNames(target) == Names{"kept"});
}

TEST_CASE("deletion happens in the view of the mask where the system can do that") {
    Opened opened;
    CreateSubkeys(opened.key, {"a\\b", "c"});
    CKivRegKey key(nullptr, opened.scratch.Path().c_str(), nullptr, KEY_ALL_ACCESS | KEY_WOW64_64KEY);
    REQUIRE(key != nullptr);
    SwappedApi<RegistryApi> api;
    api->deleteKeyEx = DeleteInView;
    g_viewDeletions = 0;
    EraseAllKeys(opened.key);
    CHECK(g_viewDeletions == 0);
    CreateSubkeys(opened.key, {"a\\b", "c"});
    EraseAllKeys(key);
    CHECK(g_viewDeletions == 3);
    CreateSubkeys(opened.key, {"a\\b", "c"});
    api->deleteKeyEx = nullptr;
    EraseAllKeys(key);
    CHECK((g_viewDeletions == 3 && key.empty()));
}

TEST_CASE("a deep tree is erased whole") {
    Opened opened;
    CKivRegKey key;
    std::string path = opened.scratch.Path();
    for (int level = 0; level < 600; ++level)
        path += "\\level";
    REQUIRE(key.create(path.c_str()));
    key.close();
    CHECK(EraseAllKeys(opened.key));
    CHECK(opened.key.getLastError() == 0);
    CHECK(opened.key.empty());
}

TEST_CASE("a key removes itself with everything below it") {
    Opened opened;
    CreateSubkeys(opened.key, {"Key\\a\\b", "Key2"});
    const auto remove = [&](const char* subkey) {
        CKivRegKey key(nullptr, opened.scratch.Path().c_str(), subkey);
        CHECK(key.remove());
        CHECK((key == nullptr && key.getKey() == nullptr));
        return key.getLastError();
    };
    CHECK(remove("kEY\\") == 0);
    CHECK(SubkeyNames(opened.key) == Names{"Key2"});
    CHECK(remove("missing") == ERROR_FILE_NOT_FOUND);

    CreateSubkeys(opened.key, {"Key2\\a", "Key2\\locked\\deep"});
    {
        HKEY subkey;
        REQUIRE(::RegOpenKeyExA(opened.key, "Key2", 0, KEY_ALL_ACCESS, &subkey) == ERROR_SUCCESS);
        const kiv::ScopedRegistryKey key2(subkey);
        const LockedSubkey locked(key2.Get(), "locked");
        CHECK(remove("Key2") != 0);
        CHECK(SubkeyNames(key2.Get()) == Names{"locked"});
    }
    CKivRegKey closed;
    CHECK((!closed.remove() && closed.getLastError() == ERROR_INVALID_HANDLE));
}

TEST_CASE("a root is never removed") {
    const RedirectedKey redirected(HKEY_CURRENT_USER);
    SetText(redirected.Handle(), "kept", "");
    for (const char* path : {"HKCU", "HKEY_CURRENT_USER\\", "HKCU\\\\"}) {
        CKivRegKey root(nullptr, path);
        CHECK_FALSE(root.remove());
        CHECK(root.getLastError() == ERROR_ACCESS_DENIED);
    }
    CHECK(ValueNames(redirected.Handle()) == Names{"kept"});
}

TEST_CASE("a key of another machine is emptied there, and deleted here") {
    Opened opened;
    char computer[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = sizeof computer;
    REQUIRE(::GetComputerNameA(computer, &length));
    CreateSubkeys(opened.key, {"here\\below", "there\\below"});
    // The connection leads to this computer too; its handle is exchanged for one of a key that only "there" has.
    CKivRegKey key(computer, opened.scratch.Path().c_str(), "here");
    key.detach();
    HKEY there;
    REQUIRE(::RegOpenKeyExA(opened.key, "there", 0, KEY_ALL_ACCESS, &there) == ERROR_SUCCESS);
    key.attach(there);
    CHECK(key.remove());
    CHECK(SubkeyNames(opened.key) == Names{"there"});
    CHECK_FALSE(HasSubkey(opened.key, "there\\below"));
}

TEST_CASE("an erasure leaves no handle and no heap block behind") {
    Opened opened;
    const auto erase = [&] {
        CreateSubkeys(opened.key, {"a\\b\\c", "d", "key\\e"});
        CKivRegKey key(nullptr, opened.scratch.Path().c_str(), "key");
        key.remove();
        auto first = opened.key.findKey("d");
        CKivRegKey::iterator last = opened.key.end();
        opened.key.erase(first, last);
    };
    erase();
    const ResourceCount before = CountResources();
    erase();
    CHECK(CountResources() == before);
    CHECK(opened.key.empty());
}
