#include "security/setting_cipher.h"

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

// What the text opens to; "<refused>" when it does not.
std::string Opened(std::string_view key, std::string_view text) {
    kiv::ClearText clear;
    const bool opened = kiv::OpenSetting(key, text, clear);
    CHECK((opened || clear.View().empty()));
    return opened ? std::string(clear.View()) : "<refused>";
}

constexpr std::string_view kKey = "the site's own key";
constexpr kiv::SettingNonces kNonces = {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
                                        {160, 161, 162, 163, 164, 165, 166, 167, 168, 169, 170, 171}};

// Made by another implementation of the same form, for "dopw \xE9" with block 64.
constexpr std::string_view kPublished = "KIV1AAECAwQFBgcICQoLDA0OD6ChoqOkpaanqKmqq2yUs88ulEO183sLMCGIru9WU6P9kWe5tZFJNj"
                                        "5uDPDZgQ9KiMatS1me87UcDSVQgptmfa3csHhl"
                                        "y0Qs95QmicXS";

}  // namespace

TEST_CASE("AES-256-GCM and HKDF, as they are built, give the published results") {
    const Bytes key = FromHex("feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308");
    const Bytes nonce = FromHex("cafebabefacedbaddecaf888");
    const Bytes extra = FromHex("feedfacedeadbeeffeedfacedeadbeefabaddad2");
    const Bytes clear = FromHex("d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a72"
                                "1c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba637b39");
    Bytes sealed(clear.size());
    Bytes tag(16);
    mbedtls_gcm_context context;
    mbedtls_gcm_init(&context);
    CHECK(mbedtls_gcm_setkey(&context, MBEDTLS_CIPHER_ID_AES, key.data(), 256) == 0);
    CHECK(mbedtls_gcm_crypt_and_tag(&context, MBEDTLS_GCM_ENCRYPT, clear.size(), nonce.data(), nonce.size(),
                                    extra.data(), extra.size(), clear.data(), sealed.data(), tag.size(),
                                    tag.data()) == 0);
    mbedtls_gcm_free(&context);
    CHECK(sealed == FromHex("522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa"
                            "8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662"));
    CHECK(tag == FromHex("76fc6ece0f4e1768cddf8853bb2d551b"));

    const Bytes material(22, 0x0B);
    const Bytes salt = FromHex("000102030405060708090a0b0c");
    const Bytes info = FromHex("f0f1f2f3f4f5f6f7f8f9");
    Bytes derived(42);
    CHECK(mbedtls_hkdf(mbedtls_md_info_from_type(MBEDTLS_MD_SHA256), salt.data(), salt.size(), material.data(),
                       material.size(), info.data(), info.size(), derived.data(), derived.size()) == 0);
    CHECK(derived == FromHex("3cb25f25faacd57a90434f64d0362f2a2d2d0a90cf1a5a4c5db02d56ecc4c5bf34007208d5b887185865"));
}

TEST_CASE("the text form is the one that every release reads") {
    CHECK(kiv::SealSetting(kKey, kNonces, "dopw \xE9", 64) == kPublished);
    CHECK(Opened(kKey, kPublished) == "dopw \xE9");
    kiv::SettingNonces nonces{};
    CHECK(kiv::DeriveSettingNonces("key", "clear", "fresh", nonces));
    CHECK(Bytes(nonces.salt.begin(), nonces.salt.end()) == FromHex("3cd119941271e1f60a3ae61eac951add"));
    CHECK(Bytes(nonces.nonce.begin(), nonces.nonce.end()) == FromHex("ef55291ee830cbf626dcb4b2"));
}

TEST_CASE("every clear text up to the limit comes back, in whole blocks; nothing longer") {
    for (const std::size_t block : {1U, 5U, 6U, 7U, 64U, 768U}) {
        for (std::size_t length = 0; length <= kiv::kSettingClearLimit; length += length < 8 ? 1 : 31) {
            const std::string text = kiv::SealSetting(kKey, kNonces, std::string(length, '\xFF'), block);
            CAPTURE(block);
            CAPTURE(length);
            CHECK_FALSE(text.empty());
            CHECK(text.size() % block == 0);
            CHECK(Opened(kKey, text) == std::string(length, '\xFF'));
        }
    }
    CHECK(kiv::SealSetting(kKey, kNonces, std::string(256, 'x'), 64).size() == 448);
    CHECK(kiv::SealSetting(kKey, kNonces, std::string(257, 'x'), 64).empty());
    CHECK(kiv::SealSetting(kKey, kNonces, std::string(256, 'x'), 400).empty());
    CHECK(kiv::SealSetting(kKey, kNonces, std::string("a\0b", 3), 64).empty());
    CHECK(kiv::SealSetting(kKey, kNonces, "x", 0).empty());
    CHECK(kiv::SealSetting("", kNonces, "x", 64).empty());
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
    for (const std::string& foreign : {text + "=", " " + text, text + text, "KIV1" + std::string(764, '='),
                                       "KIV1" + std::string(764, 'A'), std::string("plain text")})
        CHECK(Opened(kKey, foreign) == "<refused>");
    CHECK(Opened("another key", text) == "<refused>");

    // Its last base64 character has four bits that say nothing: only zeros are right.
    std::string stray = kiv::SealSetting(kKey, kNonces, "abc", 1);
    CHECK(Opened(kKey, stray) == "abc");
    ++stray.back();
    CHECK(Opened(kKey, stray) == "<refused>");
}

TEST_CASE("different texts never share a nonce, also where nothing is fresh") {
    kiv::SettingNonces first{};
    kiv::SettingNonces second{};
    CHECK(kiv::DeriveSettingNonces(kKey, "a", "", first));
    for (const char* const fresh : {"", "x"}) {
        CHECK(kiv::DeriveSettingNonces(kKey, fresh[0] == 'x' ? "a" : "b", fresh, second));
        CHECK(first.salt != second.salt);
        CHECK(first.nonce != second.nonce);
    }
}
