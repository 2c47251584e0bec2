#include "files/crc32_sum.h"

#include <array>

#include "support/little_endian.h"

#if defined(__x86_64__)
#include <wmmintrin.h>
#endif

namespace kiv {
namespace {

constexpr std::size_t kRound = 16;  // bytes

using Table = std::array<std::uint32_t, 256>;

// Table n holds what a byte makes of a running value of 0 when n zero bytes follow it. So the bytes of a round, looked
// up each in the table of its distance from the round's end, need only be added up.
constexpr std::array<Table, kRound> MakeTables() noexcept {
    std::array<Table, kRound> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t value = Crc32Entry(byte);
        for (Table& table : tables) {
            table[byte] = value;
            value = value >> 8 ^ Crc32Entry(value & 0xFF);
        }
    }
    return tables;
}

constexpr std::array<Table, kRound> kTables = MakeTables();

// The share of four bytes; `last` is the distance of the last one from the round's end.
std::uint32_t Share(std::uint32_t word, std::size_t last) noexcept {
    return kTables[last + 3][word & 0xFF] ^ kTables[last + 2][word >> 8 & 0xFF] ^ kTables[last + 1][word >> 16 & 0xFF] ^
           kTables[last][word >> 24];
}

#if defined(__x86_64__)

// Polynomials are multiplied without carry, 64 by 64 bits at once. Every 64-bit system saves the registers for that;
// 32-bit ones do not all, and go by tables.

constexpr std::size_t kLane = sizeof(__m128i);
constexpr std::size_t kLanes = 4;

// x to that power, modulo the polynomial, as a factor for reflected operands.
constexpr long long Power(int exponent) noexcept {
    std::uint32_t value = 0x80000000;
    for (; exponent > 0; --exponent)
        value = (value & 1) != 0 ? value >> 1 ^ kCrc32Polynomial : value >> 1;
    return static_cast<long long>(value) << 1;
}

__m128i Load(const unsigned char* at) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

// Moves a lane to where it can be added to what stands `factors` further: the product of its two halves with x to
// that distance in bits, plus and minus 32.
__attribute__((target("pclmul"))) __m128i Moved(__m128i lane, __m128i factors) noexcept {
    return _mm_xor_si128(_mm_clmulepi64_si128(lane, factors, 0x00), _mm_clmulepi64_si128(lane, factors, 0x11));
}

// At least four lanes of bytes.
__attribute__((target("pclmul"))) std::uint32_t Crc32ByProducts(std::uint32_t running, const unsigned char* at,
                                                                std::size_t size) noexcept {
    constexpr int kLaneBits = 8 * kLane;
    const __m128i fourOn = _mm_set_epi64x(Power(4 * kLaneBits - 32), Power(4 * kLaneBits + 32));
    const __m128i oneOn = _mm_set_epi64x(Power(kLaneBits - 32), Power(kLaneBits + 32));

    __m128i lanes[kLanes];
    for (std::size_t i = 0; i < kLanes; ++i, at += kLane)
        lanes[i] = Load(at);
    lanes[0] = _mm_xor_si128(lanes[0], _mm_cvtsi32_si128(static_cast<int>(running)));
    for (size -= kLanes * kLane; size >= kLanes * kLane; size -= kLanes * kLane) {
        for (std::size_t i = 0; i < kLanes; ++i, at += kLane)
            lanes[i] = _mm_xor_si128(Moved(lanes[i], fourOn), Load(at));
    }
    __m128i sum = lanes[0];
    for (std::size_t i = 1; i < kLanes; ++i)
        sum = _mm_xor_si128(Moved(sum, oneOn), lanes[i]);
    // The sum stands for all bytes so far.
    unsigned char folded[kLane];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(folded), sum);
    return Crc32ByTables(Crc32ByTables(0, folded, sizeof folded), at, size);
}

#endif

}  // namespace

std::uint32_t Crc32ByTables(std::uint32_t running, const void* bytes, std::size_t size) noexcept {
    const auto* at = static_cast<const unsigned char*>(bytes);
    for (; size >= kRound; size -= kRound, at += kRound)
        running = Share(Read32(at) ^ running, 12) ^ Share(Read32(at + 4), 8) ^ Share(Read32(at + 8), 4) ^
                  Share(Read32(at + 12), 0);
    for (; size > 0; --size, ++at)
        running = running >> 8 ^ kTables[0][(running ^ *at) & 0xFF];
    return running;
}

std::uint32_t Crc32Of(std::uint32_t running, const void* bytes, std::size_t size) noexcept {
#if defined(__x86_64__)
    if (size >= kLanes * kLane && __builtin_cpu_supports("pclmul"))
        return Crc32ByProducts(running, static_cast<const unsigned char*>(bytes), size);
#endif
    return Crc32ByTables(running, bytes, size);
}

}  // namespace kiv
