#include "registry/ini_text.h"

#include "registry/number_rule.h"
#include "require.h"

namespace {

// A number means digits only; the list and entry walks stay within the input.
void CheckBytes(std::string_view input) {
    if (kiv::NumberOfSetting(input) != kiv::kNotANumber)
        Require(!input.empty() && input.find_first_not_of("0123456789abcdefABCDEFxX") == std::string_view::npos);
    kiv::TextList list(input);
    std::size_t seen = 0;
    for (std::string_view text; list.Next(text);) {
        Require(!text.empty() && LiesIn(text, input));
        seen += text.size();
        kiv::IniEntry entry;
        if (kiv::SplitEntry(text, entry))
            Require(entry.name.size() + 1 + entry.value.size() == text.size());
    }
    Require(seen <= input.size());
}

// No name and no entry holds a line break or a NUL, and no more comes out than went in.
void CheckText(const std::u16string& input) {
    std::size_t given = 0;
    for (const kiv::IniSection& section : kiv::ParseIniText(input)) {
        Require(section.name.find_first_of(std::u16string_view(u"\r\n\0", 3)) == std::u16string_view::npos);
        Require(section.entries.find_first_of(u"\r\n") == std::u16string::npos);
        Require(section.entries.empty() || section.entries.back() == u'\0');
        given += section.name.size() + section.entries.size();
    }
    Require(given <= input.size() + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    size = size < 4096 ? size : 4096;
    CheckBytes({reinterpret_cast<const char*>(data), size});
    CheckText(std::u16string(data, data + size));
    return 0;
}
