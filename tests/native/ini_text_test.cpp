#include "registry/ini_text.h"

#include <string>

#include "registry/number_rule.h"
#include "support/check.h"

using namespace std::string_view_literals;

namespace {

// The items of a list, each with "name|value," or "item,".
std::string Shown(std::string_view list) {
    std::string shown;
    kiv::TextList walk(list);
    kiv::IniEntry entry;
    for (std::string_view item; walk.Next(item); shown += ',')
        shown +=
            kiv::SplitEntry(item, entry) ? std::string(entry.name) + "|" + std::string(entry.value) : std::string(item);
    return shown;
}

// "[section]" and its entries; only ASCII is shown.
std::string Parsed(std::u16string_view text) {
    std::string shown;
    for (const kiv::IniSection& section : kiv::ParseIniText(text))
        shown += "[" + std::string(section.name.begin(), section.name.end()) + "]" +
                 Shown(std::string(section.entries.begin(), section.entries.end()));
    return shown;
}

}  // namespace

TEST_CASE("settings that look like numbers are numbers, all others stay text") {
    const std::pair<std::string_view, std::uint32_t> rows[] = {
        {"007", 7},
        {"0100", 100},
        {"0XfF", 255},
        {"0x0000000000000000001", 1},
        {"4294967297", 1},
        {"0x100000000", 0},
        {"99999999999999999999", 1661992959},
        {"0x1FFFFFFFE", 0xFFFFFFFE},
    };
    kiv::test::CheckRows(rows, kiv::NumberOfSetting);
    for (const std::string_view text :
         {""sv, "0x"sv, "-1"sv, " 1"sv, "1.0"sv, "0x1G"sv, "1\0"sv, "00x1"sv, "4294967295"sv, "0x1ffffffff"sv})
        CHECK(kiv::NumberOfSetting(text) == kiv::kNotANumber);
}

TEST_CASE("lists end where their bytes do, entries split at the first equals sign") {
    CHECK(Shown("a=b=c\0d=\0=e\0f\0"sv) == "a|b=c,d|,|e,f,");
    CHECK((Shown("a\0\0b"sv) == "a,b," && Shown("\0\0"sv).empty()));
    CHECK((kiv::HasLineBreak("a\rb") && kiv::HasLineBreak("\n") && !kiv::HasLineBreak("a\tb")));
}

TEST_CASE("an INI text gives its sections and their entries") {
    CHECK(Parsed(u"x=0\r\n[ S ]\r\n a = 1 2 \r\n;c=3\r\n\r\nplain\r\nb==\r\n[T] ; comment\nd=[x]\n") ==
          "[S]a|1 2,plain,b|=,[T]d|[x],");
    CHECK(Parsed(u"[S]\na=1\n[s]\na=2\n[S]\n[a]b] x\nc=1\x1A") == "[S]a|1,[s]a|2,[S][a]b]c|1,");
    CHECK((Parsed(u"[]\na=1\n[open\nb=2") == "[]a|1,[open,b|2," && Parsed(u"a=1").empty()));
    CHECK(Parsed(u"[S]\na=1\0junk\n\0b=2"sv) == "[S]a|1,");
}
