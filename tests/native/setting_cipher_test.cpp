#include "security/setting_cipher.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <mbedtls/gcm.h>
#include <mbedtls/hkdf.h>

#include "support/ascii.h"
#include "support/check.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes FromHex(std::string_view hex) {
    Bytes bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(kiv::HexDigitValue(hex[i]) << 4 | kiv::HexDigitValue(hex[i + 1])));
    return bytes;
}

kiv::SettingNonces CountingNonces() {
    kiv::SettingNonces nonces{};
    for (std::size_t i = 0; i < nonces.salt.size(); ++i)
        nonces.salt[i] = static_cast<std::uint8_t>(i);
    for (std::size_t i = 0; i < nonces.nonce.size(); ++i)
        nonces.nonce[i] = static_cast<std::uint8_t>(0xA0 + i);
    return nonces;
}

// What the text opens to; "<refused>" when it does not.
std::string Opened(std::string_view key, std::string_view text) {
    kiv::ClearText clear;
    const bool opened = kiv::OpenSetting(key, text, clear);
    CHECK((opened || clear.View().empty()));
    return opened ? std::string(clear.View()) : "<refused>";
}

constexpr std::string_view kKey = "the site's own key";

// Made by another implementation of the same form, for kKey, the counting nonces and "dopw \xE9" with block 64.
constexpr std::string_view kPublished = "KIV1AAECAwQFBgcICQoLDA0OD6ChoqOkpaanqKmqq2yUs88ulEO183sLMCGIru9WU6P9kWe5tZFJNj"
                                        "5uDPDZgQ9KiMatS1me87UcDSVQgptmfa3csHhl"
                                        "y0Qs95QmicXS";

}  // namespace

TEST_CASE("AES-256-GCM as it is built gives the published result") {
    const Bytes key = FromHex("feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308");
    const Bytes nonce = FromHex("cafebabefacedbaddecaf888");
    const Bytes extra = FromHex("feedfacedeadbeeffeedfacedeadbeefabaddad2");
    const Bytes clear = FromHex("d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a72"
                                "1c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba637b39");
    mbedtls_gcm_context context;
    mbedtls_gcm_init(&context);
    REQUIRE(mbedtls_gcm_setkey(&context, MBEDTLS_CIPHER_ID_AES, key.data(), 256) == 0);
    Bytes sealed(clear.size());
    Bytes tag(16);
    CHECK(mbedtls_gcm_crypt_and_tag(&context, MBEDTLS_GCM_ENCRYPT, clear.size(), nonce.data(), nonce.size(),
                                    extra.data(), extra.size(), clear.data(), sealed.data(), tag.size(),
                                    tag.data()) == 0);
    mbedtls_gcm_free(&context);
    CHECK(sealed == FromHex("522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa"
                            "8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662"));
    CHECK(tag == FromHex("76fc6ece0f4e1768cddf8853bb2d551b"));
}

TEST_CASE("HKDF over SHA-256 as it is built gives the published result") {
    const Bytes key(22, 0x0B);
    const Bytes salt = FromHex("000102030405060708090a0b0c");
    const Bytes info = FromHex("f0f1f2f3f4f5f6f7f8f9");
    Bytes derived(42);
    CHECK(mbedtls_hkdf(mbedtls_md_info_from_type(MBEDTLS_MD_SHA256), salt.data(), salt.size(), key.data(), key.size(),
                       info.data(), info.size(), derived.data(), derived.size()) == 0);
    CHECK(derived == FromHex("3cb25f25faacd57a90434f64d0362f2a2d2d0a90cf1a5a4c5db02d56ecc4c5bf34007208d5b887185865"));
}

TEST_CASE("the text form is the one that every release reads") {
    CHECK(kiv::SealSetting(kKey, CountingNonces(), "dopw \xE9", 64) == kPublished);
    CHECK(Opened(kKey, kPublished) == "dopw \xE9");
    // A block that base64 does not fill, and nothing but zeros.
    CHECK(kiv::SealSetting("k", {}, "", 50) ==
          "KIV1AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAydZWPYXXJdnnyFcCGhoxUFUq3cXbIPY9"
          "z4ISgG5lcyO1GwMfx0yLt9RgUx");
    kiv::SettingNonces nonces{};
    REQUIRE(kiv::DeriveSettingNonces("key", "clear", "fresh", nonces));
    CHECK(Bytes(nonces.salt.begin(), nonces.salt.end()) == FromHex("3cd119941271e1f60a3ae61eac951add"));
    CHECK(Bytes(nonces.nonce.begin(), nonces.nonce.end()) == FromHex("ef55291ee830cbf626dcb4b2"));
}

TEST_CASE("every clear text up to the limit comes back, in whole blocks") {
    for (const std::size_t block : {1U, 5U, 6U, 7U, 64U, 192U, 768U}) {
        for (std::size_t length = 0; length <= kiv::kSettingClearLimit; length += length < 40 ? 1 : 27) {
            const std::string clear(length, '\xFF');
            const std::string text = kiv::SealSetting(kKey, CountingNonces(), clear, block);
            CAPTURE(block);
            CAPTURE(length);
            REQUIRE_FALSE(text.empty());
            CHECK(text.size() % block == 0);
            CHECK(text.size() <= kiv::kSettingTextLimit);
            CHECK(Opened(kKey, text) == clear);
        }
    }
    CHECK(kiv::SealSetting(kKey, CountingNonces(), std::string(kiv::kSettingClearLimit, 'x'), 64).size() == 448);
}

TEST_CASE("what cannot be encrypted gives no text") {
    const kiv::SettingNonces nonces = CountingNonces();
    using namespace std::string_view_literals;
    CHECK(kiv::SealSetting(kKey, nonces, std::string(kiv::kSettingClearLimit + 1, 'x'), 64).empty());
    CHECK(kiv::SealSetting(kKey, nonces, "a\0b"sv, 64).empty());
    CHECK(kiv::SealSetting(kKey, nonces, "x", 0).empty());
    CHECK(kiv::SealSetting(kKey, nonces, "x", kiv::kSettingTextLimit + 1).empty());
    CHECK(kiv::SealSetting(kKey, nonces, std::string(300, 'x').substr(0, 256), 400).empty());
    CHECK(kiv::SealSetting("", nonces, "x", 64).empty());
    CHECK(kiv::SealSetting(std::string(kiv::kSettingKeyLimit + 1, 'k'), nonces, "x", 64).empty());
}

TEST_CASE("a text with any change is refused") {
    const std::string text(kPublished);
    for (std::size_t at = 0; at < text.size(); ++at) {
        std::string changed = text;
        changed[at] = changed[at] == 'A' ? 'B' : 'A';
        CAPTURE(at);
        CHECK(Opened(kKey, changed) == "<refused>");
        CHECK(Opened(kKey, text.substr(0, at)) == "<refused>");
    }
    CHECK(Opened(kKey, text + "=") == "<refused>");
    CHECK(Opened(kKey, text + text) == "<refused>");
    CHECK(Opened(kKey, " " + text) == "<refused>");
    CHECK(Opened("another key", text) == "<refused>");
    CHECK(Opened("", text) == "<refused>");
    CHECK(Opened(kKey, "KIV1" + std::string(764, '=')) == "<refused>");
    CHECK(Opened(kKey, "KIV1" + std::string(764, 'A')) == "<refused>");
    CHECK(Opened(kKey, "plain text") == "<refused>");
}

TEST_CASE("a base64 text with stray bits is refused, a text has one form") {
    // 49 bytes leave two bits of the last character unused.
    const std::string text = kiv::SealSetting(kKey, CountingNonces(), "abc", 1);
    REQUIRE(text.size() == 4 + 66);
    CHECK(Opened(kKey, text) == "abc");
    constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t stray = 1; stray < 16; ++stray) {
        std::string changed = text;
        changed.back() = kAlphabet[kAlphabet.find(text.back()) | stray];
        if (changed != text)
            CHECK(Opened(kKey, changed) == "<refused>");
    }
}

TEST_CASE("different texts never share a nonce, also where nothing is fresh") {
    kiv::SettingNonces first{};
    kiv::SettingNonces second{};
    REQUIRE(kiv::DeriveSettingNonces(kKey, "a", "", first));
    REQUIRE(kiv::DeriveSettingNonces(kKey, "b", "", second));
    CHECK(first.salt != second.salt);
    CHECK(first.nonce != second.nonce);
    REQUIRE(kiv::DeriveSettingNonces(kKey, "a", "x", second));
    CHECK(first.salt != second.salt);
    CHECK(first.nonce != second.nonce);
    CHECK_FALSE(kiv::DeriveSettingNonces(kKey, std::string(257, 'x'), "", first));
}
