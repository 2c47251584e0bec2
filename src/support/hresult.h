#ifndef KIV_SUPPORT_HRESULT_H
#define KIV_SUPPORT_HRESULT_H

#include <cstdint>

namespace kiv {

// The status longs of the interface, where `long` has 32 bits on every supported system.
constexpr std::int32_t kStatusOk = 0;     // success or yes
constexpr std::int32_t kStatusFalse = 1;  // no, or not yet
constexpr std::int32_t kStatusFail = static_cast<std::int32_t>(0x80004005U);

constexpr bool Failed(std::int32_t status) noexcept {
    return status < 0;
}

// A Win32 error as a status: 0x80070000 combined with its low 16 bits. Zero and what is negative as a signed
// number (a status already) stay as they are.
constexpr std::int32_t StatusFromWin32(std::uint32_t error) noexcept {
    const auto status = static_cast<std::int32_t>(error);
    return status <= 0 ? status : static_cast<std::int32_t>((error & 0xFFFFU) | 0x80070000U);
}

}  // namespace kiv

#endif
