#include <cstddef>

#include "windows/opened_key.h"

struct CKivRegKeyLayout {
    static_assert(offsetof(CKivRegKey, m_handle) == 0 && offsetof(CKivRegKey, m_wksta) == sizeof(void*));
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
    return key.getParentKey(buffer.data());
}

}  // namespace

TEST_CASE("a key keeps its canonical path, also when it cannot be opened") {
    CKivRegKey key;
    CHECK((key == nullptr && key.getPermissions() == 0xF003F));
    CHECK((key.open("HKEY_CURRENT_USER\\Software", KEY_READ) && key != nullptr && key.getPermissions() == KEY_READ));
    CHECK((Text(key.getKey()) == "HKCU\\Software" && Text(key.getName()) == "Software" && ParentOf(key) == "HKCU"));
    CHECK((key.open("hklm", KEY_READ) && key.countKeys() > 0));  // a root alone
    CHECK((Text(key.getName()) == "HKLM" && ParentOf(key).empty()));
    CHECK((!key.open("HKCU", "no such key") && key == nullptr && key.getLastError() == ERROR_FILE_NOT_FOUND));
    CHECK((Text(key.getKey()) == "HKCU\\no such key" && !key.open("Software\\x", KEY_READ)));  // no root
    CHECK((key.getLastError() == ERROR_INVALID_HANDLE && Text(key.getKey()).empty()));
}

TEST_CASE("parent and subkey are joined, and what is missing is created with the options") {
    OpenedKey opened;
    const std::string wanted = opened.path + "\\TAV";
    CKivRegKey& key = opened.key;
    CHECK((key.create(opened.path.c_str(), "\\TAV", KEY_READ) && key.getKey() == wanted));
    CHECK((key.open(wanted.c_str(), nullptr, KEY_READ) && key.open(wanted.c_str(), "") && key.getKey() == wanted));
    CHECK((key.open(key.getKey(), KEY_READ) && key.getKey() == wanted));  // its own path
    CHECK(key.create((wanted + "\\volatile").c_str(), KEY_ALL_ACCESS, REG_OPTION_VOLATILE));
    CHECK((!key.create(key.getKey(), "below") && key.getLastError() == ERROR_CHILD_MUST_BE_VOLATILE));
}

TEST_CASE("a path of more than 259 characters is opened and created piece by piece") {
    OpenedKey opened;
    std::string subkeys(180, 'a');
    for (const char letter : {'b', 'c', 'd'})
        subkeys.append("\\").append(180, letter);
    CKivRegKey key;
    CHECK((key.create(opened.path.c_str(), subkeys.c_str()) && key.create(key.getKey(), "below")));
    CHECK((key.open(opened.path.c_str(), subkeys.c_str(), KEY_READ) && SubkeyNames(key) == Names{"below"}));
    CHECK((!key.open(key.getKey(), "missing") && key.getLastError() == ERROR_FILE_NOT_FOUND));
    CHECK_FALSE(key.create(opened.path.c_str(), std::string(300, 'n').c_str()));  // one name, too long by itself
    CHECK((key.getLastError() != 0 && opened.key.countKeys() == 1));
}

TEST_CASE("a closed key has no path, asking it is harmless, and a null path changes nothing") {
    OpenedKey opened;
    CKivRegKey& key = opened.key;
    CHECK((!key.open(nullptr) && key.getLastError() == ERROR_INVALID_PARAMETER && key.getKey() == opened.path));
    CHECK((key.close() && key == nullptr && key.getKey() == nullptr && key.getName() == nullptr));
    CHECK((ParentOf(key).empty() && key.getParentKey(nullptr) == nullptr && key.empty() && key.getIndex() == -1));
    CHECK((key.beginKeys() == key.end() && key.findValue("x") == key.end() && key.findKey(nullptr) == key.end()));
    CHECK(((++key).getKey() == nullptr && !key.remove() && key.getLastError() == ERROR_INVALID_HANDLE));
}

TEST_CASE("an assigned key ends closed, with the other's machine and permissions") {
    OpenedKey opened;
    CKivRegKey other(nullptr, "HKCU", nullptr, KEY_READ);
    other.connectTo("host");
    opened.key = other;
    CHECK((opened.key == nullptr && opened.key.getKey() == nullptr && opened.key.getPermissions() == KEY_READ));
    CHECK((other.connectTo(opened.key.getWksta()) && other.connectTo(other.getWksta())));  // its own machine
    CHECK((Text(other.getWksta()) == "\\\\host" && other.connectTo(nullptr) && other.open("HKCU")));
}
