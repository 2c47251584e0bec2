// The bytes of a text file, as code page and as UTF-16: its lines hold no line break, and what is written from them
// reads as the same lines again.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "files/line_encoding.h"
#include "files/line_list.h"
#include "support/line_walk.h"

namespace {

using Buffer = kiv::HeapBuffer<char>;
using Texts = std::vector<std::string>;

void Require(bool condition) {
    if (!condition)
        std::abort();
}

// A code page of two bytes for what is not ASCII, so that lines grow.
bool AppendNarrow(std::u16string_view text, Buffer& result) noexcept {
    std::string narrow;
    for (const char16_t c : text)
        narrow += c < 0x80 ? std::string(1, static_cast<char>(c)) : "\x81\x81";
    return result.Append(narrow);
}

bool AppendWide(std::string_view text, Buffer& result) noexcept {
    std::string wide;
    for (const char c : text)
        wide += {c, static_cast<char>(c < 0 ? 0x4E : 0)};
    return result.Append(wide);
}

Texts LinesOf(const kiv::LineList& list) {
    Texts lines;
    for (std::size_t i = 0; i < list.Count(); ++i)
        Require(lines.emplace_back(list.At(i)).find_first_of("\r\n") == std::string::npos);
    return lines;
}

Texts Read(std::string_view bytes, kiv::LineList& list) {
    Buffer contents;
    Require(contents.Append(bytes) && contents.Reserve(1) && list.TakeContents(contents));
    return LinesOf(list);
}

Texts ReadWide(std::string_view bytes, kiv::LineList& list) {
    std::u16string text;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2)
        text += static_cast<char16_t>(static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1])
                                                                                  << 8);
    Buffer lines;
    std::size_t count = 0;
    Require(kiv::NarrowLines(text, AppendNarrow, lines, count) && list.TakeLines(lines, count));
    return LinesOf(list);
}

void CheckWritten(const kiv::LineList& list, const Texts& lines) {
    Buffer narrow;
    Buffer wide;
    kiv::LineList again;
    kiv::LineList wideAgain;
    Require(kiv::EncodeLines(list.All(), list.Count(), narrow) && Read(narrow.Text(), again) == lines);
    Require(kiv::EncodeWideLines(list.All(), list.Count(), AppendWide, wide));
    Require(ReadWide(wide.Text().substr(2), wideAgain).size() == lines.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    kiv::LineList narrow;
    CheckWritten(narrow, Read(bytes, narrow));
    kiv::LineList wide;
    CheckWritten(wide, ReadWide(bytes, wide));
    return 0;
}
