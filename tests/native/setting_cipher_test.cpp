#include "security/setting_cipher.h"

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "support/check.h"

namespace {

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
    CHECK(std::string(first.salt.begin(), first.salt.end()) ==
          "\x3c\xd1\x19\x94\x12\x71\xe1\xf6\x0a\x3a\xe6\x1e\xac\x95\x1a\xdd");
    CHECK(std::string(first.nonce.begin(), first.nonce.end()) == "\xef\x55\x29\x1e\xe8\x30\xcb\xf6\x26\xdc\xb4\xb2");
    for (const char* const fresh : {"", "x"}) {  // also where nothing is fresh
        CHECK(kiv::DeriveSettingNonces(kKey, "a", "", first));
        CHECK(kiv::DeriveSettingNonces(kKey, fresh[0] == 'x' ? "a" : "b", fresh, second));
        CHECK((first.salt != second.salt && first.nonce != second.nonce));
    }
}

TEST_CASE("every clear text up to the limit comes back, in whole blocks; nothing longer") {
    for (const std::size_t block : {1U, 6U, 64U, 768U}) {
        for (std::size_t length = 0; length <= kiv::kSettingClearLimit; length += length < 8 ? 1 : 31) {
            const std::string text = kiv::SealSetting(kKey, kNonces, std::string(length, '\xFF'), block);
            CHECK((!text.empty() && text.size() % block == 0 && Opened(kKey, text) == std::string(length, '\xFF')));
        }
    }
    const std::string longest(256, 'x');
    CHECK(kiv::SealSetting(kKey, kNonces, longest, 64).size() == 448);
    const std::tuple<std::string_view, std::string, std::size_t> refused[] = {{kKey, longest + "x", 64},
                                                                              {kKey, longest, 400},
                                                                              {kKey, std::string("a\0b", 3), 64},
                                                                              {kKey, "x", 0},
                                                                              {"", "x", 64}};
    for (const auto& [key, clear, block] : refused)
        CHECK(kiv::SealSetting(key, kNonces, clear, block).empty());
}

TEST_CASE("a text with any change is refused") {
    const std::string text(kPublished);
    // The last base64 character of this one has four bits that say nothing: only zeros are right.
    std::string stray = kiv::SealSetting(kKey, kNonces, "abc", 1);
    CHECK(Opened(kKey, stray) == "abc");
    ++stray.back();
    std::vector<std::string> foreign = {text + "=", " " + text, text + text, stray, "KIV1" + std::string(764, 'A')};
    for (std::size_t at = 0; at < text.size(); ++at) {
        foreign.push_back(text.substr(0, at));
        foreign.push_back(text);
        foreign.back()[at] = text[at] == 'A' ? 'B' : 'A';
    }
    for (const std::string& changed : foreign)
        CHECK_MESSAGE(Opened(kKey, changed) == "<refused>", changed);
    CHECK(Opened("another key", text) == "<refused>");
}
