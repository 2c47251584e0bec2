// Any bytes as an INI file: every name that is listed can be found, and nothing is written beyond a buffer.

#include <string>
#include <vector>

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

// The list in a buffer of exactly that size, so that the sanitizer sees a byte too many.
void CheckList(const std::vector<std::u16string_view>& names, std::size_t size) {
    std::vector<char> buffer(size, '#');
    kivlg::ProfileListWriter list(buffer.data(), size);
    for (const std::u16string_view name : names)
        list.Add(std::string(name.begin(), name.end()));
    const std::size_t used = list.Finish();
    Require(used < size && buffer[used] == '\0');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > kMostBytes)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    std::u16string text = kiv::DecodeMarkedText(bytes);
    if (kiv::EncodingByMark(bytes) == kiv::TextEncoding::kCodePage)
        text.assign(bytes.begin(), bytes.end());
    const auto sections = kivlg::ProfileSections(text);
    for (const std::u16string_view section : sections)
        CheckSection(text, section);
    CheckSection(text, u"");
    CheckList(sections, 1 + data[size - 1]);
    return 0;
}
