#ifndef KIV_SECURITY_SETTING_CIPHER_H
#define KIV_SECURITY_SETTING_CIPHER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kiv {

// The text form of an encrypted setting, pure: key, salt and nonce are given. One form that every release of the
// library writes and reads, fit for an INI file and for REG_SZ, never mistaken for a number:
//
//     "KIV1"  base64( salt 16 | nonce 12 | AES-256-GCM( length 2 | clear text | zeros ) | tag 16 )  "="...
//
// - The AES key is HKDF-SHA-256 over the given key, with the text's salt.
// - Lengths are little-endian. The zeros fill the text to a multiple of the block length, so that it shows the clear
//   text's length only roughly; "=" fills what base64 cannot.
// - "KIV1" and the length of the whole text are authenticated: a text that lost or gained a character is refused, as is
//   one with any other change.

constexpr std::size_t kSettingClearLimit = 256;  // characters of clear text
constexpr std::size_t kSettingTextLimit = 768;   // characters of the text form
constexpr std::size_t kSettingKeyLimit = 1024;   // bytes of key, at least 1

struct SettingNonces {
    std::array<std::uint8_t, 16> salt;
    std::array<std::uint8_t, 12> nonce;
};

// A clear text that leaves nothing behind in memory.
class ClearText {
public:
    ClearText() noexcept = default;
    ~ClearText();
    ClearText(const ClearText&) = delete;
    ClearText& operator=(const ClearText&) = delete;

    std::string_view View() const noexcept { return {m_text, m_length}; }
    const char* Text() const noexcept { return m_text; }
    void Clear() noexcept;
    bool Assign(const std::uint8_t* bytes, std::size_t length) noexcept;  // false: too long, or with a NUL

private:
    char m_text[kSettingClearLimit + 1] = {};
    std::size_t m_length = 0;
};

// Salt and nonce for one encryption, derived from the key, the clear text and whatever the caller knows to be fresh (a
// random number, the time, a counter). Different clear texts get different ones even where nothing is fresh, so a nonce
// never meets two texts under one key. False: the derivation failed.
bool DeriveSettingNonces(std::string_view key, std::string_view clear, std::string_view fresh,
                         SettingNonces& nonces) noexcept;

// The text form, whose length is a multiple of blockLength; "" when the clear text is longer than 256 characters or
// holds a NUL, when blockLength is 0 or no multiple of it up to 768 is enough, or when the key has no proper length.
std::string SealSetting(std::string_view key, const SettingNonces& nonces, std::string_view clear,
                        std::size_t blockLength);

// Fills `clear` with what the text form holds. False, with `clear` empty, for a text that SealSetting did not make with
// this key, whatever is wrong with it.
bool OpenSetting(std::string_view key, std::string_view text, ClearText& clear) noexcept;

// Makes memory zero in a way that the compiler does not leave out.
void WipeMemory(void* memory, std::size_t size) noexcept;

}  // namespace kiv

#endif
