// CRC-32 of 64 MB, beside zlib's.

#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "bench.h"
#include "files/crc32_sum.h"

int main() {
    std::vector<unsigned char> bytes(64 * 1024 * 1024);
    std::mt19937 random(20);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    std::uint32_t ours = 0;
    std::uint32_t peer = 0;
    kiv::bench::Compare(
        "CRC-32 of 64 MB, zlib", 1.0, 9, [&] { ours = ~kiv::Crc32Of(kiv::kCrc32Start, bytes.data(), bytes.size()); },
        [&] { peer = static_cast<std::uint32_t>(crc32(0, bytes.data(), static_cast<uInt>(bytes.size()))); });
    if (ours != peer) {
        std::printf("the two disagree: %08x and %08x\n", ours, peer);
        return 1;
    }
    return 0;
}
