#ifndef KIV_SUPPORT_RANDOM_BYTES_H
#define KIV_SUPPORT_RANDOM_BYTES_H

#include <cstddef>

#include "support/windows_api.h"
// wincrypt.h is left out by WIN32_LEAN_AND_MEAN
#include <wincrypt.h>

namespace kiv {

// The system's random generator. The first release of Windows 95 has none.
struct CryptoApi {
    decltype(&::CryptAcquireContextA) acquireContext;
    decltype(&::CryptGenRandom) genRandom;
    decltype(&::CryptReleaseContext) releaseContext;
    void Load() noexcept;
    bool Complete() const noexcept {
        return acquireContext != nullptr && genRandom != nullptr && releaseContext != nullptr;
    }
};

// Fills memory from the system's random generator. False where there is none, or where it fails; what the memory then
// holds does not count.
bool RandomBytes(void* memory, std::size_t size) noexcept;

}  // namespace kiv

#endif
