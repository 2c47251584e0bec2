#ifndef KIV_SECURITY_SID_TEXT_H
#define KIV_SECURITY_SID_TEXT_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace kiv {

using SidAuthority = std::array<std::uint8_t, 6>;  // most significant byte first

// Room for the text of a SID with that many sub-authorities, terminator included.
constexpr std::size_t SidTextSize(std::size_t subAuthorities) noexcept {
    return 12 * subAuthorities + 28;
}

// Writes the text form, with its terminator, into a buffer of SidTextSize(count). Returns its length.
//
//     authority 00 00 00 00 00 05, sub-authorities 32 and 544     S-1-5-32-544
//     authority 00 00 FF FF FF FF, none                           S-1-4294967295
//     authority 00 01 00 00 00 00, sub-authority 7                S-1-0x000100000000-7
std::size_t WriteSidText(const SidAuthority& authority, const std::uint32_t* subAuthorities, std::size_t count,
                         char* buffer) noexcept;

// What a text form says. Only a one-byte authority and eight sub-authorities can be written that way.
struct SidParts {
    std::uint8_t authority = 0;
    std::uint8_t count = 0;
    std::array<std::uint32_t, 8> subAuthorities{};
};

// Reads a text form; false when the text does not begin with "S-1-", which makes it an account name. Each part is read
// as the C run-time reads decimal numbers: leading blanks and a sign are taken, junk ends the number.
//
//     S-1-5-32-544           5; 32, 544            S-1-5-1-2-3-4-5-6-7-8-9   5; 1 to 8
//     S-1-                   0;                    S-1-5-99999999999         5; 4294967295
//     S-1-5-                 5; 0                  S-1-261-1x2-+3- 4         5; 1, 3, 4
//     S-1--5                 0; 5                  S-1-0x5-1                 0; 1
bool ReadSidText(const char* text, SidParts& parts) noexcept;

}  // namespace kiv

#endif
