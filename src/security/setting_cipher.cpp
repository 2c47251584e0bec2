#include "security/setting_cipher.h"

#include <cstring>

#include <mbedtls/gcm.h>
#include <mbedtls/hkdf.h>
#include <mbedtls/platform_util.h>

#include "support/little_endian.h"

namespace kiv {
namespace {

constexpr std::string_view kMark = "KIV1";
constexpr char kFill = '=';
constexpr std::string_view kKeyPurpose = "tavkivut setting key";
constexpr std::string_view kNoncePurpose = "tavkivut setting nonces";

constexpr std::size_t kSaltSize = std::tuple_size_v<decltype(SettingNonces::salt)>;
constexpr std::size_t kNonceSize = std::tuple_size_v<decltype(SettingNonces::nonce)>;
constexpr std::size_t kTagSize = 16;
constexpr std::size_t kLengthSize = 2;
constexpr std::size_t kOverhead = kSaltSize + kNonceSize + kLengthSize + kTagSize;
constexpr std::size_t kAesKeySize = 32;

constexpr std::size_t BytesOfCharacters(std::size_t characters) {
    return characters * 3 / 4;
}
constexpr std::size_t CharactersOfBytes(std::size_t bytes) {
    return (bytes * 4 + 2) / 3;
}
constexpr std::size_t kMostBytes = BytesOfCharacters(kSettingTextLimit - kMark.size());

// Bytes that are wiped at the end of their scope.
template <std::size_t Size>
struct WipedBytes {
    WipedBytes() noexcept = default;
    ~WipedBytes() { WipeMemory(bytes.data(), Size); }
    WipedBytes(const WipedBytes&) = delete;
    WipedBytes& operator=(const WipedBytes&) = delete;
    std::array<std::uint8_t, Size> bytes{};
};

const std::uint8_t* BytesOf(std::string_view text) noexcept {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

bool Derive(std::string_view salt, std::string_view key, std::string_view info, std::uint8_t* out,
            std::size_t size) noexcept {
    return mbedtls_hkdf(mbedtls_md_info_from_type(MBEDTLS_MD_SHA256), BytesOf(salt), salt.size(), BytesOf(key),
                        key.size(), BytesOf(info), info.size(), out, size) == 0;
}

// AES-256-GCM under the key of one text; the key schedule is wiped with the object.
class Gcm {
public:
    Gcm(std::string_view key, const std::uint8_t* salt) noexcept {
        mbedtls_gcm_init(&m_context);
        WipedBytes<kAesKeySize> aesKey;
        m_ready = Derive({reinterpret_cast<const char*>(salt), kSaltSize}, key, kKeyPurpose, aesKey.bytes.data(),
                         kAesKeySize) &&
                  mbedtls_gcm_setkey(&m_context, MBEDTLS_CIPHER_ID_AES, aesKey.bytes.data(), kAesKeySize * 8) == 0;
    }
    ~Gcm() { mbedtls_gcm_free(&m_context); }
    Gcm(const Gcm&) = delete;
    Gcm& operator=(const Gcm&) = delete;

    bool Encrypt(const std::uint8_t* nonce, std::string_view extra, const std::uint8_t* in, std::size_t size,
                 std::uint8_t* out, std::uint8_t* tag) noexcept {
        return m_ready && mbedtls_gcm_crypt_and_tag(&m_context, MBEDTLS_GCM_ENCRYPT, size, nonce, kNonceSize,
                                                    BytesOf(extra), extra.size(), in, out, kTagSize, tag) == 0;
    }
    bool Decrypt(const std::uint8_t* nonce, std::string_view extra, const std::uint8_t* in, std::size_t size,
                 const std::uint8_t* tag, std::uint8_t* out) noexcept {
        return m_ready && mbedtls_gcm_auth_decrypt(&m_context, size, nonce, kNonceSize, BytesOf(extra), extra.size(),
                                                   tag, kTagSize, in, out) == 0;
    }

private:
    mbedtls_gcm_context m_context{};
    bool m_ready = false;
};

// What is authenticated beside the encrypted bytes: the mark and the length of the whole text.
std::array<char, kMark.size() + 2> ExtraData(std::size_t textLength) noexcept {
    std::array<char, kMark.size() + 2> extra{};
    std::memcpy(extra.data(), kMark.data(), kMark.size());
    Write16(&extra[kMark.size()], textLength);
    return extra;
}

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

void AppendBase64(const std::uint8_t* bytes, std::size_t size, std::string& text) {
    std::uint32_t bits = 0;
    unsigned held = 0;
    for (std::size_t i = 0; i < size; ++i) {
        bits = bits << 8 | bytes[i];
        for (held += 8; held >= 6; held -= 6)
            text += kAlphabet[bits >> (held - 6) & 0x3F];
    }
    if (held > 0)
        text += kAlphabet[bits << (6 - held) & 0x3F];
}

// Fills `bytes`, which has room for BytesOfCharacters(text.size()). Only what AppendBase64 writes is accepted: a text
// has one form.
bool ReadBase64(std::string_view text, std::uint8_t* bytes) noexcept {
    std::uint32_t bits = 0;
    unsigned held = 0;
    for (const char c : text) {
        const void* found = c == '\0' ? nullptr : std::memchr(kAlphabet, c, sizeof kAlphabet - 1);
        if (found == nullptr)
            return false;
        bits = bits << 6 | static_cast<std::uint32_t>(static_cast<const char*>(found) - kAlphabet);
        held += 6;
        if (held >= 8) {
            held -= 8;
            *bytes++ = static_cast<std::uint8_t>(bits >> held & 0xFF);
        }
    }
    return held < 6 && (bits & ((1U << held) - 1)) == 0;
}

bool IsKeyUsable(std::string_view key) noexcept {
    return !key.empty() && key.size() <= kSettingKeyLimit;
}

// The smallest multiple of blockLength that holds so much clear text; 0 when there is none up to the limit.
std::size_t TextLength(std::size_t clearLength, std::size_t blockLength) noexcept {
    const std::size_t needed = kMark.size() + CharactersOfBytes(kOverhead + clearLength);
    if (blockLength == 0 || blockLength > kSettingTextLimit)
        return 0;
    const std::size_t length = (needed + blockLength - 1) / blockLength * blockLength;
    return length <= kSettingTextLimit ? length : 0;
}

}  // namespace

void WipeMemory(void* memory, std::size_t size) noexcept {
    mbedtls_platform_zeroize(memory, size);
}

ClearText::~ClearText() {
    Clear();
}

void ClearText::Clear() noexcept {
    WipeMemory(m_text, sizeof m_text);
    m_length = 0;
}

bool ClearText::Assign(const std::uint8_t* bytes, std::size_t length) noexcept {
    if (length > kSettingClearLimit || std::memchr(bytes, '\0', length) != nullptr)
        return false;
    Clear();
    std::memcpy(m_text, bytes, length);
    m_length = length;
    return true;
}

bool DeriveSettingNonces(std::string_view key, std::string_view clear, std::string_view fresh,
                         SettingNonces& nonces) noexcept {
    if (!IsKeyUsable(key) || clear.size() > kSettingClearLimit)
        return false;
    WipedBytes<kNoncePurpose.size() + kSettingClearLimit> info;
    std::memcpy(info.bytes.data(), kNoncePurpose.data(), kNoncePurpose.size());
    std::memcpy(info.bytes.data() + kNoncePurpose.size(), clear.data(), clear.size());
    const std::string_view infoView(reinterpret_cast<const char*>(info.bytes.data()),
                                    kNoncePurpose.size() + clear.size());
    std::array<std::uint8_t, kSaltSize + kNonceSize> derived{};
    if (!Derive(fresh, key, infoView, derived.data(), derived.size()))
        return false;
    std::memcpy(nonces.salt.data(), derived.data(), kSaltSize);
    std::memcpy(nonces.nonce.data(), derived.data() + kSaltSize, kNonceSize);
    return true;
}

std::string SealSetting(std::string_view key, const SettingNonces& nonces, std::string_view clear,
                        std::size_t blockLength) {
    if (!IsKeyUsable(key) || clear.size() > kSettingClearLimit || clear.find('\0') != std::string_view::npos)
        return {};
    const std::size_t textLength = TextLength(clear.size(), blockLength);
    if (textLength == 0)
        return {};

    WipedBytes<kMostBytes> frame;
    Write16(frame.bytes.data(), clear.size());
    std::memcpy(frame.bytes.data() + kLengthSize, clear.data(), clear.size());

    const std::size_t total = BytesOfCharacters(textLength - kMark.size());
    const std::size_t frameSize = total - kSaltSize - kNonceSize - kTagSize;
    std::array<std::uint8_t, kMostBytes> sealed{};
    std::memcpy(sealed.data(), nonces.salt.data(), kSaltSize);
    std::memcpy(sealed.data() + kSaltSize, nonces.nonce.data(), kNonceSize);
    const auto extra = ExtraData(textLength);
    std::uint8_t* body = sealed.data() + kSaltSize + kNonceSize;
    if (!Gcm(key, nonces.salt.data())
             .Encrypt(nonces.nonce.data(), {extra.data(), extra.size()}, frame.bytes.data(), frameSize, body,
                      body + frameSize))
        return {};

    std::string text;
    text.reserve(textLength);
    text += kMark;
    AppendBase64(sealed.data(), total, text);
    text.append(textLength - text.size(), kFill);
    return text;
}

bool OpenSetting(std::string_view key, std::string_view text, ClearText& clear) noexcept {
    clear.Clear();
    if (!IsKeyUsable(key) || text.size() > kSettingTextLimit || text.substr(0, kMark.size()) != kMark)
        return false;
    std::string_view coded = text.substr(kMark.size());
    while (!coded.empty() && coded.back() == kFill)
        coded.remove_suffix(1);
    const std::size_t total = BytesOfCharacters(coded.size());
    std::array<std::uint8_t, kMostBytes> sealed{};
    if (total < kOverhead || !ReadBase64(coded, sealed.data()))
        return false;

    WipedBytes<kMostBytes> frame;
    const std::size_t frameSize = total - kSaltSize - kNonceSize - kTagSize;
    const auto extra = ExtraData(text.size());
    const std::uint8_t* body = sealed.data() + kSaltSize + kNonceSize;
    if (!Gcm(key, sealed.data())
             .Decrypt(sealed.data() + kSaltSize, {extra.data(), extra.size()}, body, frameSize, body + frameSize,
                      frame.bytes.data()))
        return false;
    const std::size_t length = Read16(frame.bytes.data());
    return length <= frameSize - kLengthSize && clear.Assign(frame.bytes.data() + kLengthSize, length);
}

}  // namespace kiv
