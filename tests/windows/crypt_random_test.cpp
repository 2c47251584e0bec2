#include <cstring>
#include <set>
#include <string>

#include "support/check.h"
#include "support/random_bytes.h"
#include "support/redirected_key.h"
#include "support/swapped_api.h"
#include "tavkivut/crypt.h"

using kiv::test::RedirectedKey;
using kiv::test::SwappedApi;

TEST_CASE("the system's random generator fills what it is given") {
    unsigned char bytes[2][64] = {};
    REQUIRE(kiv::RandomBytes(bytes[0], sizeof bytes[0]));
    REQUIRE(kiv::RandomBytes(bytes[1], sizeof bytes[1]));
    CHECK(std::memcmp(bytes[0], bytes[1], sizeof bytes[0]) != 0);
}

TEST_CASE("the flag against dialogs is left out where the system refuses it") {
    SwappedApi<kiv::CryptoApi> crypto;
    crypto->acquireContext = [](HCRYPTPROV* provider, LPCSTR container, LPCSTR name, DWORD type, DWORD flags) WINAPI {
        if ((flags & CRYPT_SILENT) != 0) {
            ::SetLastError(static_cast<DWORD>(NTE_BAD_FLAGS));
            return FALSE;
        }
        return ::CryptAcquireContextA(provider, container, name, type, flags);
    };
    unsigned char bytes[16];
    CHECK(kiv::RandomBytes(bytes, sizeof bytes));
}

TEST_CASE("without a random generator settings are still encrypted, each differently") {
    RedirectedKey machine(HKEY_LOCAL_MACHINE);
    SwappedApi<kiv::CryptoApi> crypto;
    SUBCASE("no CryptoAPI") {
        crypto->genRandom = nullptr;
    }
    SUBCASE("a generator that fails") {
        crypto->genRandom = [](HCRYPTPROV, DWORD, BYTE*) WINAPI { return FALSE; };
    }
    unsigned char bytes[16];
    CHECK_FALSE(kiv::RandomBytes(bytes, sizeof bytes));
    std::set<std::string> texts;
    for (int i = 0; i < 50; ++i) {
        char text[kKivEncryptedTextLimit + 1];
        char clear[kKivClearTextLimit + 1];
        REQUIRE(CKivEncryptData::Encrypt("dopw", kKivEncryptedBlock, text, sizeof text) == 1);
        REQUIRE(CKivDecryptData::Decrypt(text, clear, sizeof clear) == 1);
        CHECK(std::string(clear) == "dopw");
        texts.insert(text);
    }
    CHECK(texts.size() == 50);
}
