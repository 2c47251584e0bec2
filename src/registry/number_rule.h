#ifndef KIV_REGISTRY_NUMBER_RULE_H
#define KIV_REGISTRY_NUMBER_RULE_H

#include <cstdint>
#include <string_view>

namespace kiv {

// What is not a number. No text stands for this number, so it can never be stored as one.
constexpr std::uint32_t kNotANumber = 0xFFFFFFFF;

// Tells a setting that is stored as a number (REG_DWORD) from one that is stored as text: all decimal digits, or "0x"
// and hexadecimal digits. Both wrap modulo 2^32; a leading zero does not make a number octal.
//
//     10, 007, 0x1F, 0XfF     10, 7, 31, 255
//     4294967297              1
//     0x100000000             0
//     0x, -1, +1, " 1", 1.0   not a number
//     4294967295, 0xFFFFFFFF  not a number
std::uint32_t NumberOfSetting(std::string_view text) noexcept;

}  // namespace kiv

#endif
