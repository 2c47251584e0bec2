#include "support/windows_api.h"

#include <winternl.h>

#include <cstring>
#include <string>

#include "registry/registry_api.h"
#include "registry/value_data.h"
#include "support/scoped_resource.h"
#include "support/swapped_api.h"
#include "tavkivut/security.h"
#include "windows/opened_key.h"

using namespace kiv::test;
using kiv::RegistryApi;

namespace {

void EraseAll(CKivRegKey& key) {
    auto values = key.beginValues();
    auto keys = key.beginKeys();
    auto last = key.end();
    CHECK((key.erase(values, last) && values == last && key.erase(keys, last) && keys == last));
}

// Makes the registry link parent\link, which leads to a key of "HKCU\...".
void CreateLink(HKEY parent, const std::string& target) {
    kiv::ScopedRegistryKey link;
    REQUIRE(::RegCreateKeyExA(parent, "link", 0, nullptr, REG_OPTION_CREATE_LINK, KEY_ALL_ACCESS, nullptr,
                              link.Receive(), nullptr) == ERROR_SUCCESS);
    CKivSid user = CKivSid::FromProcessUser(::GetCurrentProcess());
    const std::string native = "\\Registry\\User\\" + std::string(user) + target.substr(sizeof "HKCU" - 1);
    const std::wstring path(native.begin(), native.end());
    REQUIRE(::RegSetValueExW(link.Get(), L"SymbolicLinkValue", 0, REG_LINK, reinterpret_cast<const BYTE*>(path.data()),
                             static_cast<DWORD>(path.size() * sizeof(wchar_t))) == ERROR_SUCCESS);
}

using NtCreateKeyCall = LONG(WINAPI*)(HANDLE*, ACCESS_MASK, OBJECT_ATTRIBUTES*, ULONG, UNICODE_STRING*, ULONG, ULONG*);

// A value that another program makes longer by as much after each look at it; by 0: so that it never fits.
std::string g_text;
std::size_t g_growth;

LONG WINAPI QueryGrowing(HKEY, LPCSTR, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) {
    *type = REG_SZ;
    const bool fits = g_growth != 0 && g_text.size() <= *size;
    *size = static_cast<DWORD>(g_text.size());
    if (fits)
        std::memcpy(data, g_text.data(), g_text.size());
    g_text.append(g_growth, 'x');
    return fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

}  // namespace

TEST_CASE("elements and ranges are erased, and the status is kept") {
    OpenedKey opened({"a\\b\\c", "b", "c", "d", "e"}, {"u", "v", "w"});
    CKivRegKey& key = opened.key;
    auto value = key.findValue("v");
    auto subkey = key.findKey("a");
    CHECK((key.erase(value) && key.getLastError() == 0 && key.erase(subkey) && key.getLastError() == 0));
    CHECK((key.countValues() == 2 && SubkeyNames(key) == Names{"b", "c", "d", "e"}));
    CHECK((key.erase(value) && key.getLastError() == ERROR_FILE_NOT_FOUND));
    CHECK((key.erase(subkey) && key.getLastError() == ERROR_FILE_NOT_FOUND));
    CKivRegKey::iteratorValues noValue = key.end();
    CKivRegKey::iteratorKeys noKey = key.end();
    CHECK((!key.erase(noValue) && !key.erase(noKey)));
    CKivRegKey closed;
    CHECK((closed.erase(subkey) && closed.getLastError() == ERROR_INVALID_HANDLE));
    // A range that begins in the middle takes what stands before it too, and ends with its key.
    auto first = key.findKey("c");
    CKivRegKey::iterator last = key.findKey("d");
    key.erase(first, last);
    CHECK(SubkeyNames(key) == Names{"d", "e"});
    value = key.findValue("w");
    key.erase(value, opened.foreign);
    CHECK((key.countValues() == 0 && value == key.end()));
}

TEST_CASE("what cannot be deleted is skipped, and the last error tells") {
    OpenedKey opened({"a\\x", "b\\go\\deep", "b\\keep\\deep", "b\\locked", "c"});
    const kiv::ScopedRegistryKey b(OpenSubkey(opened.key, "b"));
    SetText(b.Get(), "gone", "");
    const LockedSubkey kept(b.Get(), "keep");
    const LockedSubkey locked(b.Get(), "locked");  // cannot be opened, but is empty and may be deleted
    EraseAll(opened.key);
    const unsigned long status = opened.key.getLastError();
    CHECK((status != 0 && SubkeyNames(opened.key) == Names{"b"} && SubkeyNames(b.Get()) == Names{"keep"}));
    CHECK(ValueNames(b.Get()).empty());
    CreateSubkeys(opened.key, {"a", "c"});
    auto first = opened.key.findKey("b");  // step by step it is the same, also when the last one succeeds
    CKivRegKey::iterator before = opened.key.findKey("a");
    CHECK((opened.key.erase(first, before) && opened.key.getLastError() == status));
    CHECK(SubkeyNames(opened.key) == Names{"a", "b"});
    ::RegSetValueExW(opened.key, std::wstring(300, L'n').c_str(), 0, REG_SZ, nullptr, 0);  // never shown
    SetText(opened.key, "a", "");
    auto value = opened.key.beginValues();
    auto last = opened.key.end();
    CHECK((opened.key.erase(value, last) && opened.key.getLastError() == ERROR_MORE_DATA));
    CHECK(opened.key.countValues() == 1);
}

TEST_CASE("names that the code page shows alike do not make an erasure endless") {
    OpenedKey opened;
    CreateElements(opened.key, L"\x4E00\x4E01?z");
    auto keys = opened.key.beginKeys();
    auto values = opened.key.beginValues();
    SUBCASE("whole") {
        EraseAll(opened.key);
    }
    SUBCASE("step by step") {
        opened.key.erase(keys, opened.foreign), opened.key.erase(values, opened.foreign);
    }
    CHECK(SubkeyNames(opened.key) == Names{"?", "?"});  // which no 8-bit name reaches
    CHECK(ValueNames(opened.key) == Names{"?", "?"});
}

TEST_CASE("a subkey whose name leads to its parent is not taken for it") {
    for (std::wstring hidden : {std::wstring(L"\0x", 2), std::wstring(L"\xFF3C")}) {  // shown as a backslash
        OpenedKey opened({"z"}, {"v"});
        const auto create = reinterpret_cast<NtCreateKeyCall>(
            reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "NtCreateKey")));
        const auto size = static_cast<USHORT>(hidden.size() * sizeof(wchar_t));
        UNICODE_STRING name{size, size, hidden.data()};
        OBJECT_ATTRIBUTES attributes;
        InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE, opened.key, nullptr);
        HANDLE created = nullptr;
        REQUIRE(create(&created, KEY_ALL_ACCESS, &attributes, 0, nullptr, 0, nullptr) == 0);
        const kiv::ScopedRegistryKey subkey(static_cast<HKEY>(created));
        CKivRegKey sibling(nullptr, opened.path.c_str(), "missing");
        CHECK(((++sibling).getKey() == opened.path + "\\z" && (++sibling).getKey() == nullptr));
        auto first = opened.key.beginKeys();
        auto last = opened.key.end();
        CHECK((opened.key.erase(first, last) && opened.key.getLastError() == ERROR_INVALID_NAME));
        CHECK((opened.key.countKeys() == 1 && opened.key.countValues() == 1 && *opened.key.beginKeys() == nullptr));
        kiv::Registry().ntDeleteKey(subkey.Get());
    }
}

TEST_CASE("a registry link is deleted as a link") {
    OpenedKey opened({"target\\below", "tree\\branch"});
    const kiv::ScopedRegistryKey target(OpenSubkey(opened.key, "target"));
    const kiv::ScopedRegistryKey branch(OpenSubkey(opened.key, "tree\\branch"));
    SetText(target.Get(), "kept", "");
    CreateLink(branch.Get(), opened.path + "\\target");
    CKivRegKey link(nullptr, opened.path.c_str(), "tree\\branch\\link");
    REQUIRE(link.countKeys() == 1);  // the object has followed it
    SwappedApi<RegistryApi> api;
    bool stays = false;  // a branch that is gone itself has no subkeys either
    SUBCASE("below a tree") {
        auto tree = opened.key.findKey("tree");
        CHECK((opened.key.erase(tree) && opened.key.getLastError() == 0 && !HasSubkey(opened.key, "tree")));
    }
    SUBCASE("by itself") {
        CHECK((link.remove() && link.getLastError() == 0));
    }
    SUBCASE("also where the wanted access does not tell it from a key") {
        CKivRegKey parent(nullptr, opened.path.c_str(), "tree\\branch", KEY_ENUMERATE_SUB_KEYS);
        auto it = parent.findKey("link");
        CHECK((parent.erase(it) && parent.getLastError() == 0));
    }
    SUBCASE("and stays where the system cannot do that") {
        api->ntDeleteKey = nullptr;
        CHECK((link.remove() && link.getLastError() == ERROR_CALL_NOT_IMPLEMENTED));
        stays = true;
    }
    CHECK((SubkeyNames(branch.Get()).size() == 1) == stays);
    CHECK((HasSubkey(target.Get(), "below") && ValueNames(target.Get()) == Names{"kept"}));
}

TEST_CASE("deletion happens in the view of the mask where the system can do that") {
    static int inView;
    OpenedKey opened;
    CKivRegKey key(nullptr, opened.path.c_str(), nullptr, KEY_ALL_ACCESS | KEY_WOW64_64KEY);
    SwappedApi<RegistryApi> api;
    api->deleteKeyEx = [](HKEY parent, LPCSTR subkey, REGSAM view, DWORD) WINAPI {
        inView += view == KEY_WOW64_64KEY ? 1 : 100;
        return ::RegDeleteKeyA(parent, subkey);
    };
    for (int round = 0; round < 2; ++round) {
        CreateSubkeys(key, {"a\\b", "c"});
        EraseAll(key);
        CHECK((key.empty() && inView == 3));
        api->deleteKeyEx = nullptr;
    }
}

TEST_CASE("a key removes itself with everything below it, however deep, and a root never") {
    OpenedKey opened;
    const auto remove = [&](const char* subkey) {
        CKivRegKey key(nullptr, opened.path.c_str(), subkey);
        CHECK((key.remove() && key == nullptr && key.getKey() == nullptr));
        return key.getLastError();
    };
    CreateSubkeys(opened.key, {"Key2\\a", "Key2\\locked\\deep"});
    std::string deep = "Key";
    for (int level = 0; level < 600; ++level)
        deep += "\\level";
    REQUIRE(CKivRegKey().create(opened.path.c_str(), deep.c_str()));
    CHECK((remove("kEY\\") == 0 && SubkeyNames(opened.key) == Names{"Key2"} && remove("key") == ERROR_FILE_NOT_FOUND));
    const kiv::ScopedRegistryKey key2(OpenSubkey(opened.key, "Key2"));
    const LockedSubkey locked(key2.Get(), "locked");
    CHECK((remove("Key2") != 0 && SubkeyNames(key2.Get()) == Names{"locked"}));

    const RedirectedKey redirected(HKEY_CURRENT_USER);
    CreateSubkeys(redirected.Handle(), {"kept"});
    for (const char* path : {"HKCU", "HKCU\\\\"}) {
        CKivRegKey root(nullptr, path);
        CHECK((!root.remove() && root.getLastError() == ERROR_ACCESS_DENIED && HasSubkey(redirected.Handle(), "kept")));
    }
}

TEST_CASE("a key of another machine is emptied there, and deleted here") {
    OpenedKey opened({"here\\below", "there\\below"});
    // The connection leads to this computer too; its handle is exchanged for one of a key that only "there" has.
    CKivRegKey key(ThisComputer().c_str(), opened.path.c_str(), "here");
    ::RegCloseKey(key.detach());
    key.attach(OpenSubkey(opened.key, "there"));
    CHECK(key.remove());
    CHECK((SubkeyNames(opened.key) == Names{"there"} && !HasSubkey(opened.key, "there\\below")));
}

TEST_CASE("a value that grows while it is read is read again and never given in part") {
    for (const std::size_t growth : {600U, 0U}) {
        kiv::ValueData data;
        g_text.assign(600, 'x');
        g_growth = growth;
        CHECK(data.Read(nullptr, "v", QueryGrowing) == (growth == 0 ? ERROR_MORE_DATA : ERROR_SUCCESS));
        CHECK(data.Bytes() == std::string(growth == 0 ? 0 : 1800, 'x'));
    }
}
