#include "files/signature_record.h"

namespace kiv {
namespace {

constexpr std::uint32_t kMagic = 0x3634;
constexpr std::uint32_t kVersion = 1;

constexpr std::size_t kMagicAt = 0;
constexpr std::size_t kSizeAt = 4;
constexpr std::size_t kVersionAt = 8;
constexpr std::size_t kChecksumAt = 28;
constexpr std::size_t kChecksumEnd = kChecksumAt + 4;

void Put(SignatureRecord& record, std::size_t at, std::uint32_t value) noexcept {
    for (std::size_t i = 0; i < 4; ++i)
        record[at + i] = static_cast<unsigned char>(value >> 8 * i & 0xFF);
}

std::uint32_t Get(const SignatureRecord& record, std::size_t at) noexcept {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value |= static_cast<std::uint32_t>(record[at + i]) << 8 * i;
    return value;
}

}  // namespace

SignatureRecord MakeSignature(std::uint32_t checksum) noexcept {
    SignatureRecord record{};
    Put(record, kMagicAt, kMagic);
    Put(record, kSizeAt, kSignatureSize);
    Put(record, kVersionAt, kVersion);
    Put(record, kChecksumAt, checksum);
    return record;
}

bool ReadSignature(const SignatureRecord& record, std::size_t size, std::uint32_t& checksum) noexcept {
    if (size < kChecksumEnd || Get(record, kMagicAt) != kMagic || Get(record, kVersionAt) != kVersion)
        return false;
    checksum = Get(record, kChecksumAt);
    return true;
}

SignaturePath SignaturePathOf(std::string_view path, LeadByteTest isLead) {
    const std::size_t backslash = LastBackslash(path, isLead);
    if (backslash == std::string_view::npos)
        return {"signatures", "signatures"};
    SignaturePath made;
    made.folder = std::string(path.substr(0, backslash + 1)) + "signatures";
    made.file = made.folder + std::string(path.substr(backslash)) + ".xig";
    return made;
}

}  // namespace kiv
