// Any bytes as an INI file: every name that is listed can be found.

#include <string>

#include "require.h"
#include "support/ascii.h"
#include "support/text_encoding.h"
#include "tavkivlg/profile_text.h"

namespace {

constexpr std::size_t kMostBytes = 4096;

bool SameName(std::u16string_view a, std::u16string_view b) {
    return a == b;
}

void CheckSection(std::u16string_view text, std::u16string_view section) {
    for (const std::u16string_view name : kivlg::ProfileNames(text, section, SameName)) {
        const auto value = kivlg::FindProfileValue(text, section, name, SameName);
        Require(value.has_value());
        Require(value->find_first_of(u"\r\n") == std::u16string_view::npos);
        Require(kivlg::WithoutQuotes(*value).size() <= value->size());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > kMostBytes)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    std::u16string text = kiv::DecodeMarkedText(bytes);
    if (kiv::EncodingByMark(bytes) == kiv::TextEncoding::kCodePage)
        text.assign(bytes.begin(), bytes.end());
    for (const std::u16string_view section : kivlg::ProfileSections(text))
        CheckSection(text, section);
    CheckSection(text, u"");
    return 0;
}
