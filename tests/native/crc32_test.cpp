#include "files/crc32_sum.h"
#include "files/signature_record.h"

#include <random>
#include <string>
#include <string_view>

#include "support/check.h"

namespace {

using Sum = std::uint32_t (*)(std::uint32_t, const void*, std::size_t);

std::uint32_t ChecksumBy(Sum sum, std::string_view bytes) {
    return ~sum(kiv::kCrc32Start, bytes.data(), bytes.size());
}

// The definition: a division of polynomials, bit by bit, the highest power first.
std::uint32_t ByDivision(std::string_view bytes) {
    const auto reflected = [](std::uint32_t value, int bits) {
        std::uint32_t turned = 0;
        for (int bit = 0; bit < bits; ++bit)
            turned |= (value >> bit & 1) << (bits - 1 - bit);
        return turned;
    };
    std::uint32_t rest = 0xFFFFFFFF;
    for (const char byte : bytes) {
        rest ^= reflected(static_cast<unsigned char>(byte), 8) << 24;
        for (int bit = 0; bit < 8; ++bit)
            rest = (rest & 0x80000000) != 0 ? rest << 1 ^ 0x04C11DB7 : rest << 1;
    }
    return ~reflected(rest, 32);
}

std::string RandomBytes(std::size_t size) {
    static std::mt19937 random(3634);
    std::string bytes;
    while (bytes.size() < size)
        bytes += static_cast<char>(random());
    return bytes;
}

bool IsShiftJisLead(unsigned char byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

}  // namespace

TEST_CASE("every length and alignment gives what the definition gives, in one go and in pieces") {
    const std::string bytes = RandomBytes(100003);
    REQUIRE(ByDivision("123456789") == 0xCBF43926);  // the published value
    for (std::size_t size = 0; size < 300; ++size) {
        const std::string_view part(bytes.data() + size % 17, size < 299 ? size : 100003 - size % 17);
        const std::uint32_t expected = ByDivision(part);
        REQUIRE(ChecksumBy(kiv::Crc32Of, part) == expected);
        REQUIRE(ChecksumBy(kiv::Crc32ByTables, part) == expected);
        const std::uint32_t first = kiv::Crc32Of(kiv::kCrc32Start, part.data(), size / 3);
        REQUIRE(~kiv::Crc32Of(first, part.data() + size / 3, part.size() - size / 3) == expected);
    }
}

TEST_CASE("a signature has its numbers at their places, and counts when kind, version and checksum are there") {
    const kiv::SignatureRecord good = kiv::MakeSignature(0xCBF43926);
    const std::string expected = std::string("\x34\x36\0\0\x30\0\0\0\x01\0\0\0", 12) + std::string(16, '\0') +
                                 "\x26\x39\xF4\xCB" + std::string(16, '\0');
    CHECK(std::string(good.begin(), good.end()) == expected);
    std::uint32_t checksum = 0;
    CHECK((kiv::ReadSignature(good, 32, checksum) && checksum == 0xCBF43926));
    CHECK_FALSE((kiv::ReadSignature(good, 31, checksum) || kiv::ReadSignature(good, 0, checksum)));
    for (const std::size_t place : {0u, 3u, 4u, 8u, 11u, 20u}) {
        kiv::SignatureRecord other = good;
        ++other[place];
        CHECK(kiv::ReadSignature(other, 48, checksum) == (place == 4 || place == 20));  // at which nobody looks
    }
}

TEST_CASE("a signature lies in a folder beside its file") {
    const std::pair<const char*, const char*> rows[] = {
        {"C:\\dir\\app.cfg", "C:\\dir\\signatures\\app.cfg.xig"},
        {"\\\\host\\share\\a", "\\\\host\\share\\signatures\\a.xig"},
        {"app.cfg", "signatures"},
        {"C:/dir/app.cfg", "signatures"},
        {"C:\\\x83\\\x83\\", "C:\\signatures\\\x83\\\x83\\.xig"},  // "\" as second byte of a character
    };
    kiv::test::CheckRows(rows, [](const char* path) { return kiv::SignaturePathOf(path, IsShiftJisLead).file; });
    CHECK(kiv::SignaturePathOf("C:\\dir\\app.cfg", IsShiftJisLead).folder == "C:\\dir\\signatures");
}
