#include "support/this_release.h"
#include "windows/opened_key.h"

using namespace kiv::test;

TEST_CASE("the copy of a key sees the same key on the NT family, and what its path means on the 9x family") {
    OpenedKey opened({"key"});
    CKivRegKey key(nullptr, opened.path.c_str(), "key", KEY_READ);
    REQUIRE(::RegDeleteKeyA(opened.key, "key") == ERROR_SUCCESS);
    CreateSubkeys(opened.key, {"key\\new"});
    CKivRegKey copy(key);
    CHECK((copy != nullptr && copy != key && copy.getKey() == std::string(key.getKey())));
    CHECK((copy.getPermissions() == KEY_READ && copy.getLastError() == 0));
    CHECK(copy.countKeys() == (ThisReleaseIs9x() ? 1 : 0));
    CHECK(copy.getLastError() == (ThisReleaseIs9x() ? ERROR_SUCCESS : ERROR_KEY_DELETED));
}

TEST_CASE("copies of a root, of a closed key and of a key that was not found") {
    CKivRegKey key(nullptr, "HKLM", nullptr, KEY_READ);
    CHECK(CKivRegKey(key).countKeys() > 0);
    key.close();
    CHECK((CKivRegKey(key) == nullptr && CKivRegKey(key).getKey() == nullptr));
    key.open("HKCU\\no such key");
    CHECK((CKivRegKey(key) == nullptr && CKivRegKey(key).getKey() == std::string("HKCU\\no such key")));
}
