#include "support/text_encoding.h"

#include <cstdint>

namespace kiv {
namespace {

constexpr std::string_view kMarkUtf16Le = "\xFF\xFE";
constexpr std::string_view kMarkUtf16Be = "\xFE\xFF";
constexpr std::string_view kMarkUtf8 = "\xEF\xBB\xBF";

constexpr char16_t kReplacement = 0xFFFD;

std::u16string DecodeUtf16(std::string_view bytes, std::size_t lowByte) {
    std::u16string text(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned low = static_cast<unsigned char>(bytes[2 * i + lowByte]);
        const unsigned high = static_cast<unsigned char>(bytes[2 * i + 1 - lowByte]);
        text[i] = static_cast<char16_t>(high << 8 | low);
    }
    return text;
}

// How many bytes the first byte of a character announces; 0: it cannot be a first byte.
std::size_t Utf8Length(unsigned char first) noexcept {
    if (first < 0x80)
        return 1;
    if (first >= 0xC2 && first <= 0xDF)
        return 2;
    if ((first & 0xF0) == 0xE0)
        return 3;
    return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

// Takes one character off the front. A malformed one gives U+FFFD for its first byte.
std::uint32_t TakeUtf8(std::string_view& bytes) noexcept {
    constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(bytes[0]);
    const std::size_t length = Utf8Length(first);
    std::uint32_t code = length <= 1 ? first : first & (0x7FU >> length);
    bool sound = length != 0 && length <= bytes.size();
    for (std::size_t i = 1; sound && i < length; ++i) {
        const auto next = static_cast<unsigned char>(bytes[i]);
        sound = (next & 0xC0) == 0x80;
        code = code << 6 | (next & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (!sound || code < kSmallest[length] || code > 0x10FFFF || surrogate) {
        bytes.remove_prefix(1);
        return kReplacement;
    }
    bytes.remove_prefix(length);
    return code;
}

std::u16string DecodeUtf8(std::string_view bytes) {
    std::u16string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::uint32_t code = TakeUtf8(bytes);
        if (code < 0x10000) {
            text.push_back(static_cast<char16_t>(code));
        } else {
            text.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
            text.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
        }
    }
    return text;
}

bool StartsWith(std::string_view bytes, std::string_view mark) noexcept {
    return bytes.substr(0, mark.size()) == mark;
}

}  // namespace

TextEncoding EncodingByMark(std::string_view bytes) noexcept {
    if (StartsWith(bytes, kMarkUtf16Le))
        return TextEncoding::kUtf16Le;
    if (StartsWith(bytes, kMarkUtf16Be))
        return TextEncoding::kUtf16Be;
    if (StartsWith(bytes, kMarkUtf8))
        return TextEncoding::kUtf8;
    return TextEncoding::kCodePage;
}

std::u16string DecodeMarkedText(std::string_view bytes) {
    switch (EncodingByMark(bytes)) {
    case TextEncoding::kUtf16Le:
        return DecodeUtf16(bytes.substr(kMarkUtf16Le.size()), 0);
    case TextEncoding::kUtf16Be:
        return DecodeUtf16(bytes.substr(kMarkUtf16Be.size()), 1);
    case TextEncoding::kUtf8:
        return DecodeUtf8(bytes.substr(kMarkUtf8.size()));
    case TextEncoding::kCodePage:
        break;
    }
    return {};
}

}  // namespace kiv
