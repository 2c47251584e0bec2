#include "network/share_name.h"

#include <algorithm>

#include "support/ascii.h"

namespace kiv {
namespace {

constexpr std::string_view kPrefix = "TAV";
constexpr std::size_t kDigits = 8;

}  // namespace

std::string OwnShareName(std::uint32_t number) {
    std::string name(kPrefix);
    for (std::size_t digit = kDigits; digit-- > 0;)
        name += "0123456789ABCDEF"[number >> (4 * digit) & 15];
    return name + '$';
}

bool IsOwnShareName(std::string_view name) noexcept {
    if (name.size() != kPrefix.size() + kDigits + 1 || name.back() != '$' || !StartsWithIgnoreCase(name, kPrefix))
        return false;
    const std::string_view digits = name.substr(kPrefix.size(), kDigits);
    return std::all_of(digits.begin(), digits.end(), IsHexDigit);
}

}  // namespace kiv
