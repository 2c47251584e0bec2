#include "security/setting_cipher.h"

#include <cstdint>
#include <string>
#include <vector>

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

// Made by another implementation of the same form (of its AES-256-GCM and HKDF-SHA-256 too), for "dopw \xE9" with
// block 64.
constexpr std::string_view kPublished = "KIV1AAECAwQFBgcICQoLDA0OD6ChoqOkpaanqKmqq2yUs88ulEO183sLMCGIru9WU6P9kWe5tZFJNj"
                                        "5uDPDZgQ9KiMatS1me87UcDSVQgptmfa3csHhl"
                                        "y0Qs95QmicXS";

}  // namespace

TEST_CASE("the text form is the one that every release reads; different texts never share a nonce") {
    CHECK(kiv::SealSetting(kKey, kNonces, "dopw \xE9", 64) == kPublished);
    CHECK(Opened(kKey, kPublished) == "dopw \xE9");
    kiv::SettingNonces first{};
    kiv::SettingNonces second{};
    CHECK(kiv::DeriveSettingNonces("key", "clear", "fresh", first));
    CHECK(Bytes(first.salt.begin(), first.salt.end()) == FromHex("3cd119941271e1f60a3ae61eac951add"));
    CHECK(Bytes(first.nonce.begin(), first.nonce.end()) == FromHex("ef55291ee830cbf626dcb4b2"));
    for (const char* const fresh : {"", "x"}) {  // also where nothing is fresh
        CHECK(kiv::DeriveSettingNonces(kKey, "a", "", first));
        CHECK(kiv::DeriveSettingNonces(kKey, fresh[0] == 'x' ? "a" : "b", fresh, second));
        CHECK((first.salt != second.salt && first.nonce != second.nonce));
    }
}

TEST_CASE("every clear text up to the limit comes back, in whole blocks; nothing longer") {
    for (const std::size_t block : {1U, 5U, 6U, 7U, 64U, 768U}) {
        for (std::size_t length = 0; length <= kiv::kSettingClearLimit; length += length < 8 ? 1 : 31) {
            const std::string text = kiv::SealSetting(kKey, kNonces, std::string(length, '\xFF'), block);
            CAPTURE(block);
            CHECK((!text.empty() && text.size() % block == 0));
            CHECK(Opened(kKey, text) == std::string(length, '\xFF'));
        }
    }
    CHECK(kiv::SealSetting(kKey, kNonces, std::string(256, 'x'), 64).size() == 448);
    CHECK(kiv::SealSetting(kKey, kNonces, std::string(257, 'x'), 64).empty());
    CHECK(kiv::SealSetting(kKey, kNonces, std::string(256, 'x'), 400).empty());
    CHECK(kiv::SealSetting(kKey, kNonces, std::string("a\0b", 3), 64).empty());
    CHECK((kiv::SealSetting(kKey, kNonces, "x", 0).empty() && kiv::SealSetting("", kNonces, "x", 64).empty()));
}

TEST_CASE("a text with any change is refused") {
    const std::string text(kPublished);
    // The last base64 character of this one has four bits that say nothing: only zeros are right.
    std::string stray = kiv::SealSetting(kKey, kNonces, "abc", 1);
    CHECK(Opened(kKey, stray) == "abc");
    ++stray.back();
    std::vector<std::string> foreign = {text + "=",
                                        " " + text,
                                        text + text,
                                        "plain text",
                                        stray,
                                        "KIV1" + std::string(764, '='),
                                        "KIV1" + std::string(764, 'A')};
    for (std::size_t at = 0; at < text.size(); ++at) {
        foreign.push_back(text.substr(0, at));
        foreign.push_back(text);
        foreign.back()[at] = text[at] == 'A' ? 'B' : 'A';
    }
    for (const std::string& changed : foreign) {
        CAPTURE(changed);
        CHECK(Opened(kKey, changed) == "<refused>");
    }
    CHECK(Opened("another key", text) == "<refused>");
}
