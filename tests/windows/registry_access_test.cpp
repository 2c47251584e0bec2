#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/sddl_text.h"
#include "support/this_release.h"
#include "tavkivut/registry.h"
#include "tavkivut/security.h"

TEST_CASE("a key is restricted to a user, and opened to everyone again") {
    const kiv::test::ScratchKey scratch;
    CKivRegKey key(nullptr, scratch.Path().c_str());
    if (kiv::test::ThisReleaseIs9x()) {
        CHECK_FALSE((key.setRestrictedAccess() || key.setEveryoneAccess()));
        return;
    }
    const auto view = [&] { return kiv::test::SddlOfKey(key, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION); };
    CKivSid process = CKivSid::FromProcessUser(::GetCurrentProcess());
    const std::string user = static_cast<const char*>(process);
    const std::string restricted = "O:" + user + "D:(A;OICI;KA;;;" + user + ")";
    REQUIRE((key.setRestrictedAccess() && key.getLastError() == ERROR_SUCCESS));
    CHECK(view() == restricted);
    REQUIRE(key.setEveryoneAccess());
    CHECK(view() == "null");
    CKivToken token;
    REQUIRE(token.OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY) == 1);
    REQUIRE(key.setAccess(CKivRegKey::AccessRestricted, token));

    CHECK((!key.setAccess(CKivRegKey::AccessRestricted, nullptr) && key.getLastError() == ERROR_INVALID_PARAMETER));
    CHECK_FALSE(key.setAccess(CKivRegKey::AccessRestricted, scratch.Handle()));  // no token
    CHECK(key.getLastError() == ERROR_INVALID_SID);
    CHECK_FALSE(key.setAccess(static_cast<CKivRegKey::AccessType>(2), token));
    CKivRegKey readOnly(nullptr, scratch.Path().c_str(), nullptr, KEY_READ);
    CHECK((!readOnly.setEveryoneAccess() && readOnly.getLastError() == ERROR_ACCESS_DENIED));
    CHECK(view() == restricted);
}
