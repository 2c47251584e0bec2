#ifndef KIV_SUPPORT_LITTLE_ENDIAN_H
#define KIV_SUPPORT_LITTLE_ENDIAN_H

#include <cstddef>
#include <cstdint>

namespace kiv {

// Numbers of file formats and system structures, low byte first, wherever they stand.

inline std::uint16_t Read16(const void* at) noexcept {
    const auto* bytes = static_cast<const unsigned char*>(at);
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

inline std::uint32_t Read32(const void* at) noexcept {
    const auto* bytes = static_cast<const unsigned char*>(at);
    return Read16(bytes) | static_cast<std::uint32_t>(Read16(bytes + 2)) << 16;
}

// The low 16 bits.
inline void Write16(void* at, std::size_t value) noexcept {
    auto* bytes = static_cast<unsigned char*>(at);
    bytes[0] = static_cast<unsigned char>(value);
    bytes[1] = static_cast<unsigned char>(value >> 8);
}

inline void Write32(void* at, std::uint32_t value) noexcept {
    Write16(at, value);
    Write16(static_cast<unsigned char*>(at) + 2, value >> 16);
}

}  // namespace kiv

#endif
