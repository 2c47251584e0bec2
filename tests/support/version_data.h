#ifndef KIV_TESTS_SUPPORT_VERSION_DATA_H
#define KIV_TESTS_SUPPORT_VERSION_DATA_H

#include <cstddef>
#include <string>

namespace kiv::test {

// What a node of a UTF-16 version resource claims: the fields before its key, by their distance from it.
constexpr std::size_t kLengthField = 6;
constexpr std::size_t kValueLengthField = 4;

inline void SetWord(std::string& bytes, std::size_t at, unsigned value) {
    bytes.at(at) = static_cast<char>(value & 0xFF);
    bytes.at(at + 1) = static_cast<char>(value >> 8);
}

// The resource, alone or inside a module, with one field of the first node of that key changed.
inline std::string WithClaim(std::string bytes, const std::string& key, std::size_t field, unsigned value) {
    std::string wide;
    for (const char c : key)
        (wide += c) += '\0';
    SetWord(bytes, bytes.find(wide) - field, value);
    return bytes;
}

}  // namespace kiv::test

#endif
