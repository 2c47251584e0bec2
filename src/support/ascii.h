#ifndef KIV_SUPPORT_ASCII_H
#define KIV_SUPPORT_ASCII_H

#include <cstddef>
#include <string_view>

namespace kiv {

// Character rules that depend on no locale: only the 128 ASCII codes have classes and case.

constexpr bool IsAscii(std::string_view text) noexcept {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    }
    return true;
}

constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// What the C run-time skips in front of a number.
constexpr bool IsBlank(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr char ToLower(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

constexpr char ToUpper(char c) noexcept {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

constexpr bool IsHexDigit(char c) noexcept {
    return IsDigit(c) || (ToLower(c) >= 'a' && ToLower(c) <= 'f');
}

// The value of a hexadecimal digit.
constexpr unsigned HexDigitValue(char c) noexcept {
    return static_cast<unsigned>(IsDigit(c) ? c - '0' : ToLower(c) - 'a' + 10);
}

constexpr bool EqualsIgnoreCase(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (ToLower(a[i]) != ToLower(b[i]))
            return false;
    }
    return true;
}

constexpr bool StartsWithIgnoreCase(std::string_view text, std::string_view prefix) noexcept {
    return text.size() >= prefix.size() && EqualsIgnoreCase(text.substr(0, prefix.size()), prefix);
}

}  // namespace kiv

#endif
