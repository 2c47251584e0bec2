#ifndef KIV_FILES_CRC32_SUM_H
#define KIV_FILES_CRC32_SUM_H

#include <cstddef>
#include <cstdint>

namespace kiv {

// CRC-32 as in IEEE 802.3 and ZIP: reflected, polynomial 0xEDB88320. The running value begins as kCrc32Start and is
// complemented at the end.

constexpr std::uint32_t kCrc32Polynomial = 0xEDB88320;
constexpr std::uint32_t kCrc32Start = 0xFFFFFFFF;

// What one byte makes of a running value of 0: the entry of the table for that byte.
constexpr std::uint32_t Crc32Entry(std::uint32_t byte) noexcept {
    std::uint32_t value = byte;
    for (int bit = 0; bit < 8; ++bit)
        value = (value & 1) != 0 ? value >> 1 ^ kCrc32Polynomial : value >> 1;
    return value;
}

// The running value after some more bytes, by the fastest way that this processor has.
std::uint32_t Crc32Of(std::uint32_t running, const void* bytes, std::size_t size) noexcept;

// The same by tables alone, as any processor can.
std::uint32_t Crc32ByTables(std::uint32_t running, const void* bytes, std::size_t size) noexcept;

}  // namespace kiv

#endif
