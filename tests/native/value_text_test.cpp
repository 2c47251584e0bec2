#include "registry/value_text.h"

#include <string>

#include "support/check.h"

using namespace std::string_view_literals;

TEST_CASE("numbers are read from the beginning of a text or from bytes, modulo 2^32") {
    CHECK((kiv::NumberFromText("12abc") == 12 && kiv::NumberFromText("\t\n\v\f\r +007") == 7));
    CHECK((kiv::NumberFromText("2147483648") == 2147483648U && kiv::NumberFromText("18446744073709551617") == 1));
    for (const auto text : {""sv, "abc"sv, "-"sv, "+-3"sv, "- 3"sv, "0x1F"sv, "\0005"sv})
        CHECK(kiv::NumberFromText(text) == 0);
    CHECK((kiv::NumberFromBytes("\x01\x02\x03\x84"sv) == 0x84030201U && kiv::NumberFromBytes("\x01"sv) == 1));
    for (const auto* text : {"0", "2147483647", "-2147483648", "-1"}) {
        char buffer[kiv::kSignedTextSize];
        kiv::SignedTextFromNumber(kiv::NumberFromText(text), buffer);
        CHECK(buffer == std::string(text));
    }
}

TEST_CASE("multi-string data is split until its last byte") {
    using Items = std::vector<std::string_view>;
    CHECK((kiv::SplitMultiSz("a\0\0bc\0\0"sv) == Items{"a", "", "bc"} && kiv::SplitMultiSz("\0\0"sv) == Items{""}));
    CHECK((kiv::SplitMultiSz("a\0bc\0"sv) == Items{"a", "bc"} && kiv::SplitMultiSz("a\0bc"sv) == Items{"a", "bc"}));
    CHECK((kiv::SplitMultiSz("a\0b"sv) == Items{"a"} && kiv::SplitMultiSz("ab"sv) == Items{"ab"}));
    CHECK((kiv::SplitMultiSz("\0"sv).empty() && kiv::SplitMultiSz(""sv).empty()));
}
