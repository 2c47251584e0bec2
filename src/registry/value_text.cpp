#include "registry/value_text.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "support/ascii.h"

namespace kiv {

std::uint32_t NumberFromText(std::string_view text) noexcept {
    std::size_t at = 0;
    while (at < text.size() && IsBlank(text[at]))
        ++at;
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+'))
        ++at;
    std::uint32_t number = 0;
    for (; at < text.size() && IsDigit(text[at]); ++at)
        number = number * 10 + static_cast<std::uint32_t>(text[at] - '0');
    return negative ? 0 - number : number;
}

void SignedTextFromNumber(std::uint32_t number, char (&buffer)[kSignedTextSize]) noexcept {
    *std::to_chars(buffer, std::end(buffer), static_cast<std::int32_t>(number)).ptr = '\0';
}

std::uint32_t NumberFromBytes(std::string_view bytes) noexcept {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < std::min(bytes.size(), sizeof number); ++i)
        number |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
    return number;
}

std::vector<std::string_view> SplitMultiSz(std::string_view data) {
    std::vector<std::string_view> items;
    std::size_t used = 0;
    while (used + 1 < data.size()) {
        const std::string_view rest = data.substr(used);
        const std::string_view item = rest.substr(0, rest.find('\0'));
        items.push_back(item);
        used += item.size() + 1;
    }
    return items;
}

}  // namespace kiv
