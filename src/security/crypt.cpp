#include "tavkivut/crypt.h"

#include <cstring>

#include "security/setting_cipher.h"
#include "security/site_key.h"
#include "support/random_bytes.h"

static_assert(kKivClearTextLimit == kiv::kSettingClearLimit);
static_assert(kKivEncryptedTextLimit == kiv::kSettingTextLimit);

namespace kiv {
namespace {

// What makes one encryption different from all others: random bytes where the system has them, else who encrypts and
// when. Clear text and key are added by the derivation, so that even a repetition of all this is no harm.
struct Fresh {
    unsigned char random[16];
    LARGE_INTEGER counter;
    FILETIME time;
    DWORD ticks;
    DWORD processId;
    DWORD threadId;
    LONG sequence;
};

std::string_view GatherFresh(Fresh& fresh) noexcept {
    static LONG sequence = 0;
    std::memset(&fresh, 0, sizeof fresh);
    RandomBytes(fresh.random, sizeof fresh.random);
    ::QueryPerformanceCounter(&fresh.counter);
    ::GetSystemTimeAsFileTime(&fresh.time);
    fresh.ticks = ::GetTickCount();
    fresh.processId = ::GetCurrentProcessId();
    fresh.threadId = ::GetCurrentThreadId();
    fresh.sequence = __atomic_add_fetch(&sequence, 1, __ATOMIC_RELAXED);
    return {reinterpret_cast<const char*>(&fresh), sizeof fresh};
}

DWORD Encrypt(std::string_view clear, unsigned int blockLength, char* out, unsigned int outSize) {
    if (clear.size() > kSettingClearLimit)
        return ERROR_BAD_LENGTH;
    SiteKey key;
    if (const DWORD status = key.Read())
        return status;
    Fresh fresh;
    SettingNonces nonces;
    if (!DeriveSettingNonces(key.View(), clear, GatherFresh(fresh), nonces))
        return ERROR_INVALID_DATA;
    const std::string text = SealSetting(key.View(), nonces, clear, blockLength);
    if (text.empty())
        return ERROR_BAD_LENGTH;
    if (text.size() >= outSize)
        return ERROR_INSUFFICIENT_BUFFER;
    std::memcpy(out, text.c_str(), text.size() + 1);
    return ERROR_SUCCESS;
}

DWORD Decrypt(std::string_view text, char* out, unsigned int outSize) {
    SiteKey key;
    if (const DWORD status = key.Read())
        return status;
    ClearText clear;
    if (!OpenSetting(key.View(), text, clear))
        return ERROR_INVALID_DATA;
    if (clear.View().size() >= outSize)
        return ERROR_INSUFFICIENT_BUFFER;
    std::memcpy(out, clear.Text(), clear.View().size() + 1);
    return ERROR_SUCCESS;
}

// The one place that turns a status into the result of the two classes.
int Answer(DWORD status) noexcept {
    if (status == ERROR_SUCCESS)
        return 1;
    ::SetLastError(status);
    return 0;
}

}  // namespace
}  // namespace kiv

int CKivEncryptData::Encrypt(const char* clear, unsigned int blockLength, char* out, unsigned int outSize) noexcept {
    if (clear == nullptr || out == nullptr || blockLength == 0)
        return kiv::Answer(ERROR_INVALID_PARAMETER);
    return kiv::Answer(kiv::Encrypt(clear, blockLength, out, outSize));
}

int CKivDecryptData::Decrypt(const char* text, char* out, unsigned int outSize) noexcept {
    if (text == nullptr || out == nullptr)
        return kiv::Answer(ERROR_INVALID_PARAMETER);
    return kiv::Answer(kiv::Decrypt(text, out, outSize));
}
