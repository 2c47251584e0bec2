#include "security/sid_text.h"

#include <charconv>
#include <cstring>
#include <limits>

#include "support/ascii.h"

namespace kiv {
namespace {

constexpr char kPrefix[] = "S-1-";
constexpr std::size_t kPrefixLength = sizeof kPrefix - 1;

char* WriteText(char* out, const char* text) noexcept {
    const std::size_t length = std::strlen(text);
    std::memcpy(out, text, length);
    return out + length;
}

char* WriteDecimal(char* out, std::uint32_t number) noexcept {
    return std::to_chars(out, out + std::numeric_limits<std::uint32_t>::digits10 + 1, number).ptr;
}

char* WriteAuthority(char* out, const SidAuthority& authority) noexcept {
    if (authority[0] == 0 && authority[1] == 0) {
        std::uint32_t number = 0;
        for (std::size_t i = 2; i < authority.size(); ++i)
            number = number << 8 | authority[i];
        return WriteDecimal(out, number);
    }
    out = WriteText(out, "0x");
    for (const std::uint8_t byte : authority) {
        *out++ = "0123456789abcdef"[byte >> 4];
        *out++ = "0123456789abcdef"[byte & 15];
    }
    return out;
}

// Reads the number at the beginning of a part, which a "-" or the end of the text closes: so a minus sign never
// belongs to a number.
std::uint32_t ReadDecimal(const char* part) noexcept {
    while (IsBlank(*part))
        ++part;
    if (*part == '+')
        ++part;
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t number = 0;
    for (; IsDigit(*part); ++part) {
        const std::uint32_t digit = static_cast<std::uint32_t>(*part - '0');
        if (number > (kMost - digit) / 10)
            return kMost;
        number = number * 10 + digit;
    }
    return number;
}

}  // namespace

std::size_t WriteSidText(const SidAuthority& authority, const std::uint32_t* subAuthorities, std::size_t count,
                         char* buffer) noexcept {
    char* out = WriteAuthority(WriteText(buffer, kPrefix), authority);
    for (std::size_t i = 0; i < count; ++i) {
        *out++ = '-';
        out = WriteDecimal(out, subAuthorities[i]);
    }
    *out = '\0';
    return static_cast<std::size_t>(out - buffer);
}

bool ReadSidText(const char* text, SidParts& parts) noexcept {
    parts = SidParts();
    if (std::strncmp(text, kPrefix, kPrefixLength) != 0)
        return false;
    text += kPrefixLength;
    parts.authority = static_cast<std::uint8_t>(ReadDecimal(text));
    const char* separator = std::strchr(text, '-');
    while (separator != nullptr && parts.count < parts.subAuthorities.size()) {
        parts.subAuthorities[parts.count++] = ReadDecimal(separator + 1);
        separator = std::strchr(separator + 1, '-');
    }
    return true;
}

}  // namespace kiv
