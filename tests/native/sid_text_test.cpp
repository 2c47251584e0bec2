#include "security/sid_text.h"

#include <cstring>
#include <string>
#include <vector>

#include "support/check.h"

namespace {

using Numbers = std::vector<std::uint32_t>;

std::string Written(const kiv::SidAuthority& authority, const Numbers& numbers) {
    std::vector<char> buffer(kiv::SidTextSize(numbers.size()), '#');
    const std::size_t length = kiv::WriteSidText(authority, numbers.data(), numbers.size(), buffer.data());
    REQUIRE(length < buffer.size());
    CHECK(buffer[length] == '\0');
    return std::string(buffer.data(), length);
}

}  // namespace

TEST_CASE("a SID is written in decimal, an authority beyond 32 bits in hexadecimal") {
    CHECK(Written({0, 0, 0, 0, 0, 5}, {32, 544}) == "S-1-5-32-544");
    CHECK(Written({0, 0, 0xFF, 0xFF, 0xFF, 0xFF}, {0}) == "S-1-4294967295-0");
    CHECK(Written({0, 1, 0, 0, 0, 0xC5}, {}) == "S-1-0x0001000000c5");
    std::string longest = "S-1-0xffffffffffff";
    for (int i = 0; i < 15; ++i)
        longest += "-4294967295";
    CHECK(Written({255, 255, 255, 255, 255, 255}, Numbers(15, 0xFFFFFFFF)) == longest);
}

TEST_CASE("a text is read part by part, mistakes and all; what does not begin with S-1- is an account name") {
    const struct {
        std::string text;
        int authority;
        Numbers numbers;
    } rows[] = {
        {"S-1-5", 5, {}},
        {"S-1-", 0, {}},
        {"S-1-5-", 5, {0}},
        {"S-1--5", 0, {5}},
        {"S-1-5-1-2-3-4-5-6-7-8-9", 5, {1, 2, 3, 4, 5, 6, 7, 8}},
        {"S-1-99999999999", 255, {}},
        {"S-1-5-4294967295-4294967296-" + std::string(65536, '7'), 5, {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}},
        {"S-1-+5-\t +3- 4 -+ 5-++6", 5, {3, 4, 0, 0}},
        {"S-1-5-1x2-x-0x10-0010", 5, {1, 0, 0, 10}},
        {"S-1-0x000100000000-7", 0, {7}},
    };
    kiv::SidParts parts;
    for (const auto& row : rows) {
        CAPTURE(row.text.substr(0, 60));
        REQUIRE(kiv::ReadSidText(row.text.c_str(), parts));
        CHECK(parts.authority == row.authority);
        CHECK(Numbers(parts.subAuthorities.begin(), parts.subAuthorities.begin() + parts.count) == row.numbers);
    }
    for (const char* text : {"", "S-1", "s-1-5-18", " S-1-5-18", "S-2-5-18", "S-01-5-18"})
        CHECK_FALSE(kiv::ReadSidText(text, parts));
}
