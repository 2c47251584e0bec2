#include <string>

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/resource_count.h"
#include "support/this_release.h"
#include "tavkivut/registry.h"

using namespace kiv::test;

TEST_CASE("the copy of a key sees the same key on the NT family, and what its path means on the 9x family") {
    const ScratchKey scratch;
    CreateSubkey(scratch.Handle(), "key");
    CKivRegKey key(nullptr, scratch.Path().c_str(), "key");
    REQUIRE(::RegDeleteKeyA(scratch.Handle(), "key") == ERROR_SUCCESS);
    CreateSubkey(scratch.Handle(), "key\\new");

    CKivRegKey copy(key);
    CHECK(std::string(copy.getKey()) == key.getKey());
    CHECK(copy.getPermissions() == key.getPermissions());
    CHECK(copy != nullptr);
    CHECK(copy.countKeys() == (ThisReleaseIs9x() ? 1 : 0));
    CHECK(copy.getLastError() == (ThisReleaseIs9x() ? ERROR_SUCCESS : ERROR_KEY_DELETED));
}

TEST_CASE("the copy outlives its original, and both close what is theirs") {
    const ScratchKey scratch;
    SetText(scratch.Handle(), "here", "yes");
    const auto copyOf = [&] {
        const CKivRegKey key(nullptr, scratch.Path().c_str(), nullptr, KEY_READ);
        return CKivRegKey(key);
    };
    CHECK(copyOf().countValues() == 1);
    const ResourceCount before = CountResources();
    CHECK(copyOf().countValues() == 1);
    CHECK(CountResources() == before);
}

TEST_CASE("copies of a root, of a closed key and of a key that was not found") {
    const CKivRegKey root(nullptr, "HKLM", nullptr, KEY_READ);
    CHECK(CKivRegKey(root).countKeys() > 0);
    CKivRegKey taken;
    taken.attach(HKEY_LOCAL_MACHINE);
    CHECK(CKivRegKey(taken) == HKEY_LOCAL_MACHINE);

    const CKivRegKey closed;
    CHECK((CKivRegKey(closed) == nullptr && CKivRegKey(closed).getKey() == nullptr));
    const CKivRegKey missing(nullptr, "HKCU\\no such key");
    CHECK(CKivRegKey(missing) == nullptr);
    CHECK(std::string(CKivRegKey(missing).getKey()) == "HKCU\\no such key");
    CHECK(CKivRegKey(missing).getLastError() == 0);
}
