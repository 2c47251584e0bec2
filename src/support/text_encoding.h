#ifndef KIV_SUPPORT_TEXT_ENCODING_H
#define KIV_SUPPORT_TEXT_ENCODING_H

#include <string>
#include <string_view>

namespace kiv {

// How a text file is encoded, told by the byte-order mark at its start. The values are those that KivGetFileEncoding
// returns.
enum class TextEncoding : unsigned {
    kCodePage = 0,  // no mark
    kUtf16Le = 1,   // FF FE
    kUtf16Be = 2,   // FE FF
    kUtf8 = 3,      // EF BB BF
};

constexpr std::size_t kLongestMark = 3;

// Told by the first bytes of a file, at least kLongestMark where it has as many.
TextEncoding EncodingByMark(std::string_view bytes) noexcept;

// The text behind the mark. An odd last byte of UTF-16 is dropped; what is no UTF-8 becomes U+FFFD, one for each
// byte. Text of a code page gives an empty text: it takes the system to read it.
std::u16string DecodeMarkedText(std::string_view bytes);

}  // namespace kiv

#endif
