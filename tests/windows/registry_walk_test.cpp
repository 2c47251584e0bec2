#include <cstddef>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "support/windows_api.h"
#include "tavkivut/registry.h"

struct CKivRegKeyIteratorLayout {
    static_assert(offsetof(CKivRegKey::iterator, m_wksta) == 0);
    static_assert(offsetof(CKivRegKey::iterator, m_key) == sizeof(void*));
    static_assert(offsetof(CKivRegKey::iterator, m_name) == 2 * sizeof(void*));
    static_assert(offsetof(CKivRegKey::iterator, m_permissions) == 3 * sizeof(void*));
    static_assert(sizeof(CKivRegKey::iteratorKeys) == sizeof(CKivRegKey::iterator));
    static_assert(sizeof(CKivRegKey::iteratorValues) == sizeof(CKivRegKey::iterator));
};

using namespace kiv::test;

namespace {

using Names = std::vector<std::string>;

// A walk that does not end is cut off and so differs from every expectation.
constexpr std::size_t kTooMany = 1000;

Names WalkKeys(CKivRegKey& key) {
    Names names;
    for (auto it = key.beginKeys(); it != key.end() && names.size() < kTooMany; ++it)
        names.emplace_back(it.getName());
    return names;
}

Names WalkValues(CKivRegKey& key) {
    Names names;
    for (auto it = key.beginValues(); it != key.end() && names.size() < kTooMany; it++)
        names.emplace_back(it.getName());
    return names;
}

void CreateSubkeys(HKEY key, const Names& names) {
    for (const std::string& name : names)
        CreateSubkey(key, name);
}

// Names that only UTF-16 tells apart.
void CreateAlikeElements(HKEY key) {
    for (const wchar_t* name : {L"\x4E00", L"\x4E01", L"\x4E02"}) {
        HKEY subkey;
        REQUIRE(::RegCreateKeyExW(key, name, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &subkey, nullptr) == 0);
        ::RegCloseKey(subkey);
        REQUIRE(::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(L"x"), 4) == ERROR_SUCCESS);
    }
}

}  // namespace

TEST_CASE("a walk shows what the system's enumeration shows, in its order") {
    const ScratchKey scratch;
    CreateSubkeys(scratch.Handle(), {"b", "A", "c", std::string(255, 'n')});
    for (const std::string& name : Names{"two", "", "One", std::string(255, 'v')})
        SetText(scratch.Handle(), name.c_str(), "text of " + name);
    CKivRegKey key(nullptr, scratch.Path().c_str(), nullptr, KEY_READ);
    CHECK(WalkKeys(key) == SubkeyNames(scratch.Handle()));
    CHECK(WalkValues(key) == ValueNames(scratch.Handle()));

    for (auto it = key.beginKeys(); it != key.end(); ++it) {
        CKivRegKey subkey = *it;
        CHECK(subkey != nullptr);
        CHECK(subkey.getName() == std::string(it.getName()));
        CHECK(subkey.getPermissions() == KEY_READ);
    }
    for (auto it = key.beginValues(); it != key.end(); ++it) {
        CKivRegValue value = *it;
        CHECK(std::string(value) == "text of " + std::string(it.getName()));
        CHECK(value.getKey().getKey() == scratch.Path());
        CHECK(value.getPermissions() == KEY_READ);
    }
}

TEST_CASE("positions are compared by machine, key and name") {
    const ScratchKey scratch;
    CKivRegKey key(nullptr, scratch.Path().c_str());
    CHECK((key.beginKeys() == key.end() && key.beginValues() == key.end()));
    CreateSubkeys(key, {"a", "b"});
    const auto first = key.beginKeys();
    auto it = first;
    CHECK(it++ == first);
    CHECK(it != first);
    CHECK(std::string(it.getName()) == "b");
    const auto end = ++it;
    CHECK(end == key.end());
    CHECK(++it == end);  // the end stays the end
    CHECK(key.end().getPermissions() == 0xF003F);
    CHECK(CKivRegKey::iterator(nullptr, "k", "n") == CKivRegKey::iterator(nullptr, "k", "n", KEY_READ));
    CHECK(CKivRegKey::iterator(nullptr, "k", "n") != CKivRegKey::iterator(nullptr, "k", "N"));
    CHECK(CKivRegKey::iterator(nullptr, "k", nullptr) != CKivRegKey::iterator(nullptr, "k", ""));
    CHECK(CKivRegKey::iterator("", "k", "n") != CKivRegKey::iterator(nullptr, "k", "n"));
    it.Init(it.getWksta(), it.getKey(), "b");  // with its own texts
    CHECK((it.getKey() == scratch.Path() && std::string(it.getName()) == "b"));
}

TEST_CASE("elements are found by their exact names") {
    const ScratchKey scratch;
    CreateSubkeys(scratch.Handle(), {"a", "b"});
    SetText(scratch.Handle(), "v", "");
    CKivRegKey key(nullptr, scratch.Path().c_str());
    CHECK(std::string(key.findKey("b").getName()) == "b");
    CHECK(key.findKey("B") == key.end());
    CHECK(std::string(key.findValue("v").getName()) == "v");
    CHECK(key.findValue("V") == key.end());
    CHECK(key.findValue("b") == key.end());
}

TEST_CASE("a position that was made by hand meets the end of its key") {
    const ScratchKey scratch;
    CreateSubkeys(scratch.Handle(), {"a", "b"});
    CKivRegKey key(nullptr, scratch.Path().c_str());
    const std::string longPath = "hkey_current_user" + scratch.Path().substr(4);
    CKivRegKey::iteratorKeys it(nullptr, longPath.c_str(), "a");
    ++it;
    CHECK(it == key.findKey("b"));
    CHECK(++it == key.end());

    char computer[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = sizeof computer;
    REQUIRE(::GetComputerNameA(computer, &length));
    CKivRegKey remote(computer, "HKLM\\Software", nullptr, KEY_READ);
    CKivRegKey::iteratorKeys distant(computer, "HKEY_LOCAL_MACHINE\\Software", remote.beginKeys().getName(), KEY_READ);
    int steps = 0;
    for (; distant != remote.end() && steps < 1000; ++distant)
        ++steps;
    CHECK(steps == remote.countKeys());

    CKivRegKey::iteratorKeys nowhere("", "no root", "x");
    CHECK(++nowhere == CKivRegKey::iterator(nullptr, "", nullptr));
}

TEST_CASE("walks and erasures in an attached key without a path end") {
    const ScratchKey scratch;
    CreateSubkeys(scratch.Handle(), {"a", "b"});
    HKEY handle;
    REQUIRE(::RegOpenKeyExA(scratch.Handle(), "", 0, KEY_ALL_ACCESS, &handle) == ERROR_SUCCESS);
    CKivRegKey key;
    key.attach(handle);
    CHECK(WalkKeys(key) == Names{"a"});
    auto first = key.findKey("b");
    CKivRegKey::iterator foreign(nullptr, "HKCU\\elsewhere", nullptr);
    CHECK(key.erase(first, foreign));
    CHECK(SubkeyNames(scratch.Handle()) == Names{"a"});
    CHECK(++key == nullptr);
}

TEST_CASE("a walk goes on from where its element is, or from the first when it is gone") {
    const ScratchKey scratch;
    CreateSubkeys(scratch.Handle(), {"a", "c", "e", "g"});
    CKivRegKey key(nullptr, scratch.Path().c_str());
    auto it = key.findKey("c");
    ++it;
    ::RegDeleteKeyA(scratch.Handle(), "a");  // everything moves by one
    CHECK(std::string((++it).getName()) == "g");
    CreateSubkeys(scratch.Handle(), {"a", "b", "h"});
    CHECK(std::string((++it).getName()) == "h");
    ::RegDeleteKeyA(scratch.Handle(), "h");
    CHECK(std::string((++it).getName()) == "a");
}

TEST_CASE("a walk ends when its key is deleted, and goes on in one made in its place") {
    const ScratchKey scratch;
    const std::string path = scratch.Path() + "\\key";
    CreateSubkeys(scratch.Handle(), {"key\\a", "key\\b"});
    SetText(scratch.Handle(), "", "");
    CKivRegKey key(nullptr, path.c_str());
    auto walk = key.beginKeys();
    ++walk;
    auto doomed = walk;
    DeleteKeyTree(scratch.Handle(), "key");
    CHECK(++doomed == CKivRegKey::iterator(nullptr, path.c_str(), nullptr));
    CreateSubkeys(scratch.Handle(), {"key\\b", "key\\c"});
    CHECK(std::string((++walk).getName()) == "c");
}

TEST_CASE("a subkey without access is a position like any other") {
    const ScratchKey scratch;
    CreateSubkeys(scratch.Handle(), {"a", "locked", "z"});
    const LockedSubkey locked(scratch.Handle(), "locked");
    CKivRegKey key(nullptr, scratch.Path().c_str());
    CHECK(WalkKeys(key) == Names{"a", "locked", "z"});
    auto it = key.findKey("locked");
    CHECK((*it).getLastError() == ERROR_ACCESS_DENIED);

    CKivRegKey sibling(nullptr, scratch.Path().c_str(), "a");
    ++sibling;
    CHECK((sibling == nullptr && sibling.getKey() == scratch.Path() + "\\locked"));
    ++sibling;
    CHECK((sibling != nullptr && sibling.getKey() == scratch.Path() + "\\z"));
    ++sibling;
    CHECK((sibling == nullptr && sibling.getKey() == nullptr));
}

TEST_CASE("names that the code page shows alike do not hold up a walk") {
    const ScratchKey scratch;
    CreateAlikeElements(scratch.Handle());
    CreateSubkey(scratch.Handle(), "a");
    CKivRegKey key(nullptr, scratch.Path().c_str());
    const Names shown = WalkKeys(key);
    CHECK(shown == SubkeyNames(scratch.Handle()));
    CHECK(shown.size() == 4);
    CHECK(WalkValues(key) == ValueNames(scratch.Handle()));

    CKivRegKey sibling(nullptr, scratch.Path().c_str(), "a");
    CKivRegValue value(nullptr, scratch.Path().c_str(), "?");
    int steps = 0;
    for (; sibling.getKey() != nullptr && steps < 10; ++sibling)
        ++steps;
    for (; value.getName() != nullptr && steps < 20; ++value)
        ++steps;
    CHECK(steps == 4 + 3);
}

TEST_CASE("a value name of more than 255 characters ends a walk") {
    const ScratchKey scratch;
    SetText(scratch.Handle(), "a", "");
    SetText(scratch.Handle(), std::string(300, 'b').c_str(), "");
    SetText(scratch.Handle(), "c", "");
    CKivRegKey key(nullptr, scratch.Path().c_str());
    CHECK(WalkValues(key) == ValueNames(scratch.Handle()));
    CHECK(key.countValues() == 3);
}

TEST_CASE("keys and values know their place and move to the next") {
    const ScratchKey scratch;
    CreateSubkeys(scratch.Handle(), {"a", "b"});
    CKivRegKey key(nullptr, scratch.Path().c_str(), "b", KEY_READ);
    CHECK(key.getIndex() == 1);
    CHECK(CKivRegKey(nullptr, scratch.Path().c_str(), "B").getIndex() == -1);
    CHECK(CKivRegKey(nullptr, scratch.Path().c_str(), "missing").getIndex() == -1);
    CHECK(CKivRegKey(nullptr, "HKCU").getIndex() == -1);
    CHECK((++key).getKey() == nullptr);
    REQUIRE(key.open(scratch.Path().c_str(), "a", KEY_READ));
    ++key;
    CHECK((key != nullptr && key.getKey() == scratch.Path() + "\\b" && key.getPermissions() == KEY_READ));

    SetText(scratch.Handle(), "v", "first");
    SetText(scratch.Handle(), "w", "second");
    CKivRegValue value(nullptr, scratch.Path().c_str(), "v", KEY_READ);
    CHECK(value.getIndex() == 0);
    ++value;
    CHECK((value.getIndex() == 1 && std::string(value) == "second" && value.getPermissions() == KEY_READ));
    ++value;
    CHECK((value.getName() == nullptr && value.getIndex() == -1 && value.getKey() != nullptr));
    ++value;
    CHECK(std::string(value.getName()) == "v");  // from no value to the first
}

TEST_CASE("a value on a walk has a handle of its own to give") {
    const ScratchKey scratch;
    SetText(scratch.Handle(), "a", "1");
    SetText(scratch.Handle(), "b", "2");
    SetText(scratch.Handle(), "c", "3");
    CKivRegKey key(nullptr, scratch.Path().c_str());
    auto it = key.beginValues();
    ++it;
    CKivRegValue value = *it;
    const kiv::ScopedRegistryKey detached(value.getKey().detach());
    CHECK(std::string(*it) == "2");
    value = *it;
    ::RegCloseKey(value.getKey());
    value.getKey().detach();
    CHECK(std::string((++it).getName()) == "c");
    CHECK(std::string(*it) == "3");
    CKivRegValue last = *it;
    it = key.beginValues();
    CHECK(std::string(last) == "3");  // outlives the walk
    CHECK(Data(detached.Get(), "a").size() == 4);
}

TEST_CASE("a walk leaves no handle and no heap block behind") {
    const ScratchKey scratch;
    CreateSubkeys(scratch.Handle(), {"a", "b", "c"});
    for (const char* name : {"u", "v", "w"})
        SetText(scratch.Handle(), name, "text");
    const auto walk = [&] {
        CKivRegKey key(nullptr, scratch.Path().c_str());
        for (auto it = key.beginKeys(); it != key.end(); it++)
            CHECK((*it).countKeys() == 0);
        for (auto it = key.beginValues(); it != key.end(); it++)
            CHECK(((*it).getKey() != nullptr && std::string(*it) == "text"));
        auto unfinished = key.beginValues();
        ++unfinished;
        const auto copy = unfinished;
        unfinished = key.findValue("w");
    };
    walk();
    const ResourceCount before = CountResources();
    walk();
    CHECK(CountResources() == before);
}
