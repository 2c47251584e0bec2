#include "files/signature_record.h"

#include "support/little_endian.h"

namespace kiv {
namespace {

constexpr std::uint32_t kMagic = 0x3634;
constexpr std::uint32_t kVersion = 1;

constexpr std::size_t kMagicAt = 0;
constexpr std::size_t kSizeAt = 4;
constexpr std::size_t kVersionAt = 8;
constexpr std::size_t kChecksumAt = 28;
constexpr std::size_t kChecksumEnd = kChecksumAt + 4;

}  // namespace

SignatureRecord MakeSignature(std::uint32_t checksum) noexcept {
    SignatureRecord record{};
    Write32(&record[kMagicAt], kMagic);
    Write32(&record[kSizeAt], kSignatureSize);
    Write32(&record[kVersionAt], kVersion);
    Write32(&record[kChecksumAt], checksum);
    return record;
}

bool ReadSignature(const SignatureRecord& record, std::size_t size, std::uint32_t& checksum) noexcept {
    if (size < kChecksumEnd || Read32(&record[kMagicAt]) != kMagic || Read32(&record[kVersionAt]) != kVersion)
        return false;
    checksum = Read32(&record[kChecksumAt]);
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
