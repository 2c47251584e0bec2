#include "registry/number_rule.h"

#include "support/ascii.h"

namespace kiv {
namespace {

std::uint32_t DecimalNumber(std::string_view digits) noexcept {
    std::uint32_t number = 0;
    for (const char c : digits) {
        if (!IsDigit(c))
            return kNotANumber;
        number = number * 10 + static_cast<std::uint32_t>(c - '0');
    }
    return number;
}

std::uint32_t HexNumber(std::string_view digits) noexcept {
    std::uint32_t number = 0;
    for (const char c : digits) {
        if (!IsHexDigit(c))
            return kNotANumber;
        number = number << 4 | HexDigitValue(c);
    }
    return number;
}

}  // namespace

std::uint32_t NumberOfSetting(std::string_view text) noexcept {
    constexpr std::string_view kHexPrefix = "0x";
    if (StartsWithIgnoreCase(text, kHexPrefix))
        return text.size() == kHexPrefix.size() ? kNotANumber : HexNumber(text.substr(kHexPrefix.size()));
    return text.empty() ? kNotANumber : DecimalNumber(text);
}

}  // namespace kiv
