#ifndef KIV_REGISTRY_VALUE_TEXT_H
#define KIV_REGISTRY_VALUE_TEXT_H

#include <cstdint>
#include <string_view>
#include <vector>

namespace kiv {

// Conversions of registry data.

// The signed decimal number at the beginning of a text, modulo 2^32: white space, a sign, digits up to the first other
// character. 0 without digits.
std::uint32_t NumberFromText(std::string_view text) noexcept;

constexpr std::size_t kSignedTextSize = 12;  // "-2147483648" and its terminator

// The number as a signed decimal text.
void SignedTextFromNumber(std::uint32_t number, char (&buffer)[kSignedTextSize]) noexcept;

// The number that up to four bytes of REG_DWORD data hold; missing bytes count as zero.
std::uint32_t NumberFromBytes(std::string_view bytes) noexcept;

// The texts of REG_MULTI_SZ data: one after the other, each with its terminator, until all bytes but one are used up.
// So the terminator of the list is no item; the terminator of the last item may be missing.
//
//     a\0b\0\0  a, b      (no bytes)  none      \0    none
//     a\0b\0    a, b      a\0b        a         \0\0  one empty item
std::vector<std::string_view> SplitMultiSz(std::string_view data);

}  // namespace kiv

#endif
