#include <set>
#include <string>

#include "support/check.h"
#include "support/random_bytes.h"
#include "support/swapped_api.h"
#include "tavkivut/crypt.h"
#include "tavkivut/inst_server.h"

TEST_CASE("settings are encrypted with and without the system's random generator, each differently") {
    // The machine's own registry: the generators are listed there.
    kiv::test::SwappedApi<kiv::CryptoApi> crypto;
    SUBCASE("as it is") {}
    SUBCASE("a system that refuses the flag against dialogs") {
        crypto->acquireContext = [](HCRYPTPROV* out, LPCSTR container, LPCSTR name, DWORD type, DWORD flags) WINAPI {
            return (flags & CRYPT_SILENT) != 0 ? FALSE : ::CryptAcquireContextA(out, container, name, type, flags);
        };
    }
    bool random = true;
    SUBCASE("one that fails") {
        crypto->genRandom = [](HCRYPTPROV, DWORD, BYTE*) WINAPI { return FALSE; };
        random = false;
    }
    SUBCASE("none") {
        *crypto.operator->() = {};
        random = false;
    }
    unsigned char bytes[16];
    CHECK(kiv::RandomBytes(bytes, sizeof bytes) == random);
    std::set<std::string> texts;
    for (int i = 0; i < 50; ++i) {
        const int number = KivGetRandomNumber(-5, 10);
        CHECK((number >= -5 && number <= 5));
        char text[kKivEncryptedTextLimit + 1];
        REQUIRE(CKivEncryptData::Encrypt("dopw", kKivEncryptedBlock, text, sizeof text) == 1);
        texts.insert(text);
    }
    CHECK(texts.size() == 50);
}
