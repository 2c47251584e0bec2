#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/sddl_text.h"
#include "support/this_release.h"
#include "tavkivut/registry.h"
#include "tavkivut/security.h"

namespace {

std::string SystemView(HKEY key) {
    return kiv::test::SddlOfKey(key, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION);
}

std::string UserSid() {
    CKivSid user = CKivSid::FromProcessUser(::GetCurrentProcess());
    return std::string(user);
}

}  // namespace

TEST_CASE("a key is restricted to a user, and opened to everyone again") {
    const kiv::test::ScratchKey scratch;
    CKivRegKey key(nullptr, scratch.Path().c_str());
    if (kiv::test::ThisReleaseIs9x()) {
        CHECK_FALSE((key.setRestrictedAccess() || key.setEveryoneAccess()));
        return;
    }
    const std::string restricted = "O:" + UserSid() + "D:(A;OICI;KA;;;" + UserSid() + ")";
    REQUIRE((key.setRestrictedAccess() && key.getLastError() == ERROR_SUCCESS));
    CHECK(SystemView(key) == restricted);
    REQUIRE(key.setEveryoneAccess());
    CHECK(SystemView(key) == "null");
    CKivToken token;
    REQUIRE(token.OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY) == 1);
    REQUIRE(key.setAccess(CKivRegKey::AccessRestricted, token));
    CHECK(SystemView(key) == restricted);

    CHECK((!key.setAccess(CKivRegKey::AccessRestricted, nullptr) && key.getLastError() == ERROR_INVALID_PARAMETER));
    CHECK_FALSE(key.setAccess(CKivRegKey::AccessRestricted, scratch.Handle()));  // no token
    CHECK(key.getLastError() == ERROR_INVALID_SID);
    CHECK_FALSE(key.setAccess(static_cast<CKivRegKey::AccessType>(2), token));
    CKivRegKey readOnly(nullptr, scratch.Path().c_str(), nullptr, KEY_READ);
    CHECK((!readOnly.setEveryoneAccess() && readOnly.getLastError() == ERROR_ACCESS_DENIED));
    CHECK_FALSE((readOnly.setRestrictedAccess() || CKivRegKey().setEveryoneAccess()));
    CHECK(SystemView(key) == restricted);
}
