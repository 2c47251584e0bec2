#include <cstddef>

#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "windows/opened_key.h"

struct CKivRegKeyIteratorLayout {
    using Position = CKivRegKey::iterator;
    static_assert(offsetof(Position, m_wksta) == 0 && offsetof(Position, m_key) == sizeof(void*));
    static_assert(offsetof(Position, m_name) == 2 * sizeof(void*));
    static_assert(offsetof(Position, m_permissions) == 3 * sizeof(void*));
    static_assert(sizeof(CKivRegKey::iteratorKeys) == sizeof(Position));
    static_assert(sizeof(CKivRegKey::iteratorValues) == sizeof(Position));
};

using namespace kiv::test;

namespace {

// The names from a position on. A walk that does not end is cut off and so differs from every expectation.
template <class Iterator>
Names Walk(Iterator it, CKivRegKey& key) {
    Names names;
    for (; it != key.end() && names.size() < 1000; it++)
        names.emplace_back(it.getName());
    return names;
}

}  // namespace

TEST_CASE("a walk shows what the system's enumeration shows, in its order, and opens it") {
    OpenedKey opened({"b", "A", std::string(255, 'n')}, {"two", "", std::string(255, 'v')});
    CKivRegKey key(nullptr, opened.path.c_str(), nullptr, KEY_READ);
    CHECK((Walk(key.beginKeys(), key) == SubkeyNames(opened.key) && key.countKeys() == 3));
    CHECK((Walk(key.beginValues(), key) == ValueNames(opened.key) && key.countValues() == 3));
    CKivRegKey subkey = *key.beginKeys();
    CHECK((subkey != nullptr && subkey.getPermissions() == KEY_READ && subkey.getName() == SubkeyNames(key)[0]));
    CHECK((subkey.beginKeys() == subkey.end() && subkey.beginValues() == subkey.end() && subkey.empty()));
    CKivRegValue value = *key.beginValues();
    CHECK((value.getPermissions() == KEY_READ && std::string(value) == ValueNames(key)[0]));
    CHECK(value.getKey().getKey() == opened.path);
}

TEST_CASE("positions are compared by their texts, and elements found by their exact names") {
    using Position = CKivRegKey::iterator;
    CHECK(Position(nullptr, "k", "n") == Position(nullptr, "k", "n", KEY_READ));
    CHECK(Position("", "k", "n") != Position(nullptr, "k", "n"));
    OpenedKey opened({"a", "b"}, {"v"});
    CKivRegKey& key = opened.key;
    auto it = key.beginKeys();
    it.Init(it.getWksta(), it.getKey(), it.getName());  // with its own texts
    CHECK((it++ == key.findKey("a") && it == key.findKey("b") && key.findKey("B") == key.end()));
    CHECK((++it == key.end() && ++it == key.end() && key.findValue("V") == key.end()));
    // One that was made by hand meets the end of its key too.
    CKivRegKey::iteratorKeys made(nullptr, ("hkey_current_user" + opened.path.substr(4)).c_str(), "a");
    CHECK((++made == key.findKey("b") && ++made == key.end()));
    CKivRegKey remote(ThisComputer().c_str(), "HKLM\\Software", nullptr, KEY_READ);
    CKivRegKey::iteratorKeys distant(ThisComputer().c_str(), "HKEY_LOCAL_MACHINE\\Software", "Classes", KEY_READ);
    CHECK(Walk(distant, remote) == Walk(remote.findKey("Classes"), remote));
    CKivRegKey::iteratorKeys nowhere("", "no root", "x");
    CHECK(++nowhere == Position(nullptr, "", nullptr));
}

TEST_CASE("walks and erasures in an attached key without a path end") {
    OpenedKey opened({"a", "b"});
    CKivRegKey key;
    key.attach(OpenSubkey(opened.key, ""));
    CHECK(Walk(key.beginKeys(), key) == Names{"a"});
    auto first = key.findKey("b");
    CHECK((key.erase(first, opened.foreign) && SubkeyNames(opened.key) == Names{"a"} && ++key == nullptr));
}

TEST_CASE("a walk goes on from where its element is, or from the first when it is gone, and ends with its key") {
    OpenedKey opened({"key\\a", "key\\c", "key\\e", "key\\g"});
    CKivRegKey key(nullptr, opened.path.c_str(), "key");
    auto it = ++key.findKey("c");
    ::RegDeleteKeyA(key, "a");  // everything moves by one
    CHECK((++it).getName() == std::string("g"));
    CreateSubkeys(key, {"a", "h"});
    CHECK((++it).getName() == std::string("h"));
    ::RegDeleteKeyA(key, "h");
    CHECK((++it).getName() == std::string("a"));
    auto doomed = it;
    DeleteKeyTree(opened.key, "key");
    CHECK(++doomed == key.end());
    CreateSubkeys(opened.key, {"key\\a", "key\\b"});  // one made in its place
    CHECK((++it).getName() == std::string("b"));
}

TEST_CASE("a subkey without access is a position like any other") {
    OpenedKey opened({"a", "locked", "z"});
    const LockedSubkey locked(opened.key, "locked");
    CHECK(Walk(opened.key.beginKeys(), opened.key) == Names{"a", "locked", "z"});
    CHECK((*opened.key.findKey("locked")).getLastError() == ERROR_ACCESS_DENIED);
    CKivRegKey sibling(nullptr, opened.path.c_str(), "a", KEY_READ);
    CHECK((++sibling == nullptr && sibling.getKey() == opened.path + "\\locked"));
    CHECK((++sibling != nullptr && sibling.getKey() == opened.path + "\\z" && sibling.getPermissions() == KEY_READ));
    CHECK((sibling.getIndex() == 2 && CKivRegKey(nullptr, opened.path.c_str(), "Z").getIndex() == -1));
    CHECK((++sibling == nullptr && sibling.getKey() == nullptr));
}

TEST_CASE("names that the code page shows alike, or that are too long, do not make a walk endless") {
    OpenedKey opened({"a"});
    CreateElements(opened.key, L"\x4E00\x4E01\x4E02");
    CHECK(Walk(opened.key.beginKeys(), opened.key) == Names{"a", "?", "?", "?"});
    CHECK(Walk(opened.key.beginValues(), opened.key) == Names{"?", "?", "?"});
    CKivRegKey sibling(nullptr, opened.path.c_str(), "a");
    CKivRegValue value(nullptr, opened.path.c_str(), "?");
    int steps = 0;
    for (; sibling.getKey() != nullptr && steps < 10; ++sibling)
        ++steps;
    for (; value.getName() != nullptr && steps < 20; ++value)
        ++steps;
    CHECK((steps == 4 + 3 && (++value).getIndex() == 0));  // from no value to the first
    SetText(opened.key, std::string(300, 'b').c_str(), "");
    SetText(opened.key, "c", "");
    CHECK(Walk(opened.key.beginValues(), opened.key) == ValueNames(opened.key));
}

TEST_CASE("a value on a walk has a handle of its own to give") {
    OpenedKey opened({}, {"a", "b", "c"});
    auto it = ++opened.key.beginValues();
    CKivRegValue value = *it;
    const kiv::ScopedRegistryKey detached(value.getKey().detach());
    CKivRegValue other = *it;
    ::RegCloseKey(other.getKey());  // as whoever is given the handle may do
    other.getKey().detach();
    CHECK((std::string(*it) == "b" && std::string(*++it) == "c"));
    CHECK(ValueNames(detached.Get()).size() == 3);
}

TEST_CASE("keys, walks, erasures and values leave no handle and no heap block behind") {
    CHECK(LeavesNothing([&] {
        OpenedKey opened({"a", "b\\c\\d", "key\\e"}, {"u", "v"});
        CKivRegKey& key = opened.key;
        CKivRegKey copy(key);
        copy = key;
        copy.open("nowhere");
        for (auto it = key.beginKeys(); it != key.end(); it++)
            (*it).countKeys();
        for (auto it = key.beginValues(); it != key.end(); it++)
            CHECK((std::string(*it) == it.getName() && (*it).getKey() != nullptr));
        auto unfinished = key.beginValues();
        auto other = ++unfinished;
        unfinished = key.findValue("v");
        CKivRegValue value = *other;
        CKivRegValue assigned(value);
        assigned = value;
        ++((assigned += "more") += 1UL);
        CKivMultiSzRegValue list(key, "u");
        list = CKivMultiSzRegValue(list);
        CKivRegKey(nullptr, opened.path.c_str(), "key").remove();
        auto first = key.findKey("b");
        key.erase(first, opened.foreign);
    }));
}
