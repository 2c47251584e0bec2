#ifndef KIV_FILES_SIGNATURE_RECORD_H
#define KIV_FILES_SIGNATURE_RECORD_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/characters.h"

namespace kiv {

// A signature file and where it lies; see tavkivut/crc32.h for both.

constexpr std::size_t kSignatureSize = 48;
using SignatureRecord = std::array<unsigned char, kSignatureSize>;

SignatureRecord MakeSignature(std::uint32_t checksum) noexcept;

// Takes the checksum out of the first `size` bytes of a record. False when they do not reach that far or begin as no
// signature of this version; the size that the record states is not looked at.
bool ReadSignature(const SignatureRecord& record, std::size_t size, std::uint32_t& checksum) noexcept;

// The paths for a file. Only "\" separates.
//
//     C:\dir\app.cfg     C:\dir\signatures     C:\dir\signatures\app.cfg.xig
//     app.cfg            signatures            signatures
struct SignaturePath {
    std::string folder;
    std::string file;
};
SignaturePath SignaturePathOf(std::string_view path, LeadByteTest isLead);

}  // namespace kiv

#endif
