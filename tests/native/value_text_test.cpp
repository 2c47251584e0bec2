#include "registry/value_text.h"

#include <string>
#include <vector>

#include "support/check.h"

using namespace std::string_view_literals;

TEST_CASE("a number is read from the beginning of a text, modulo 2^32") {
    CHECK(kiv::NumberFromText("12abc") == 12);
    CHECK(kiv::NumberFromText(" -5") == 4294967291U);
    CHECK(kiv::NumberFromText("\t\n\v\f\r +7") == 7);
    CHECK(kiv::NumberFromText("2147483648") == 2147483648U);
    CHECK(kiv::NumberFromText("-2147483648") == 2147483648U);
    CHECK(kiv::NumberFromText("4294967297") == 1);
    CHECK(kiv::NumberFromText("18446744073709551617") == 1);
    CHECK(kiv::NumberFromText("0x1F") == 0);
    CHECK(kiv::NumberFromText("007") == 7);
    for (const auto text : {""sv, "abc"sv, "-"sv, "+-3"sv, "- 3"sv, "   "sv, "\0005"sv})
        CHECK(kiv::NumberFromText(text) == 0);
    CHECK(kiv::NumberFromText("4\0002"sv) == 4);
}

TEST_CASE("a number is written as a signed decimal text") {
    const auto text = [](std::uint32_t number) {
        char buffer[kiv::kSignedTextSize];
        kiv::SignedTextFromNumber(number, buffer);
        return std::string(buffer);
    };
    CHECK(text(0) == "0");
    CHECK(text(2147483647U) == "2147483647");
    CHECK(text(2147483648U) == "-2147483648");
    CHECK(text(4294967295U) == "-1");
}

TEST_CASE("missing bytes of a number count as zero") {
    CHECK(kiv::NumberFromBytes("\x01\x02\x03\x04"sv) == 0x04030201U);
    CHECK(kiv::NumberFromBytes("\x01\x02"sv) == 0x0201U);
    CHECK(kiv::NumberFromBytes({}) == 0);
}

TEST_CASE("multi-string data is split until its last byte") {
    using Items = std::vector<std::string_view>;
    CHECK(kiv::SplitMultiSz("a\0bc\0\0"sv) == Items{"a", "bc"});
    CHECK(kiv::SplitMultiSz("a\0bc\0"sv) == Items{"a", "bc"});
    CHECK(kiv::SplitMultiSz("a\0bc"sv) == Items{"a", "bc"});
    CHECK(kiv::SplitMultiSz("a\0b"sv) == Items{"a"});
    CHECK(kiv::SplitMultiSz("a\0\0b\0\0"sv) == Items{"a", "", "b"});
    CHECK(kiv::SplitMultiSz("\0\0"sv) == Items{""});
    CHECK(kiv::SplitMultiSz("\0"sv) == Items{});
    CHECK(kiv::SplitMultiSz(""sv) == Items{});
    CHECK(kiv::SplitMultiSz("ab"sv) == Items{"ab"});
}
