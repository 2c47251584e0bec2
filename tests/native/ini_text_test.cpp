#include "registry/ini_text.h"

#include <string>
#include <vector>

#include "registry/number_rule.h"
#include "support/check.h"

using namespace std::string_view_literals;

namespace {

std::vector<std::string> Items(std::string_view list) {
    std::vector<std::string> items;
    kiv::TextList walk(list);
    for (std::string_view item; walk.Next(item);)
        items.emplace_back(item);
    return items;
}

// "name|value", or "none".
std::string Split(std::string_view line) {
    kiv::IniEntry entry;
    return kiv::SplitEntry(line, entry) ? std::string(entry.name) + "|" + std::string(entry.value) : "none";
}

// "[section]" and its entries, each followed by "|"; only ASCII is shown.
std::string Parsed(std::u16string_view text) {
    std::string shown;
    for (const kiv::IniSection& section : kiv::ParseIniText(text)) {
        shown += "[" + std::string(section.name.begin(), section.name.end()) + "]";
        for (const char16_t c : section.entries)
            shown += c == u'\0' ? '|' : static_cast<char>(c);
    }
    return shown;
}

using Texts = std::vector<std::string>;

}  // namespace

TEST_CASE("settings that look like numbers are numbers") {
    const struct {
        std::string_view text;
        std::uint32_t number;
    } rows[] = {
        {"0", 0},
        {"10", 10},
        {"007", 7},
        {"0100", 100},
        {"0x1F", 31},
        {"0XfF", 255},
        {"0x0000000000000000001", 1},
        {"2147483648", 0x80000000},
        {"4294967294", 0xFFFFFFFE},
        {"4294967297", 1},
        {"99999999999999999999", 1661992959},
        {"0x100000000", 0},
        {"0x1FFFFFFFE", 0xFFFFFFFE},
    };
    for (const auto& row : rows) {
        CAPTURE(row.text);
        CHECK(kiv::NumberOfSetting(row.text) == row.number);
    }
}

TEST_CASE("settings that are no numbers, or stand for all ones, stay text") {
    for (const std::string_view text : {""sv, "0x"sv, "x1"sv, "-1"sv, "+1"sv, " 1"sv, "1 "sv, "1.0"sv, "0x1G"sv,
                                        "00x1"sv, "1\0"sv, "4294967295"sv, "0xFFFFFFFF"sv, "0x1ffffffff"sv}) {
        CAPTURE(text);
        CHECK(kiv::NumberOfSetting(text) == kiv::kNotANumber);
    }
}

TEST_CASE("lists end where their bytes do") {
    CHECK(Items("a\0bc\0"sv) == Texts{"a", "bc"});
    CHECK(Items("a\0\0b"sv) == Texts{"a", "b"});
    CHECK(Items("\0\0"sv).empty());
    CHECK(Items("").empty());
}

TEST_CASE("entries split at the first equals sign") {
    CHECK(Split("a=b=c") == "a|b=c");
    CHECK(Split("a=") == "a|");
    CHECK(Split("=b") == "|b");
    CHECK(Split("a") == "none");
    CHECK(Split("") == "none");
}

TEST_CASE("line breaks are found") {
    CHECK(kiv::HasLineBreak("a\rb"));
    CHECK(kiv::HasLineBreak("\n"));
    CHECK_FALSE(kiv::HasLineBreak("a\tb"));
}

TEST_CASE("an INI text gives its sections and their entries") {
    CHECK(Parsed(u"x=0\r\n[ S ]\r\n a = 1 2 \r\n;c=3\r\n\r\nplain\r\nb==\r\n[T] ; comment\nd=[x]\n") ==
          "[S]a=1 2|plain|b==|[T]d=[x]|");
    CHECK(Parsed(u"[S]\na=1\n[s]\na=2\n[S]") == "[S]a=1|[s]a=2|[S]");
    CHECK(Parsed(u"[a]b] x\nc=1\x1A") == "[a]b]c=1|");
    CHECK(Parsed(u"[]\na=1\n[open\nb=2") == "[]a=1|[open|b=2|");
    CHECK(Parsed(u"[S]\na=1\0junk\n\0b=2"sv) == "[S]a=1|");
    CHECK(Parsed(u"").empty());
    CHECK(Parsed(u"a=1").empty());
}
