// The bytes of a text file, as code page and as UTF-16: its lines hold no line break, and what is written from them
// reads as the same lines again.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "files/line_encoding.h"
#include "files/line_list.h"

namespace {

using Buffer = kiv::HeapBuffer<char>;

void Require(bool condition) {
    if (!condition)
        std::abort();
}

// A code page in which everything but ASCII takes two bytes, so that lines grow.
bool AppendNarrow(std::u16string_view text, Buffer& result) noexcept {
    bool done = true;
    for (const char16_t c : text)
        done = done && result.Append(c < 0x80 ? std::string(1, static_cast<char>(c)) : "\x81\x81");
    return done;
}

bool AppendWide(std::string_view text, Buffer& result) noexcept {
    bool done = true;
    for (const char c : text)
        done = done && result.Append(std::string{c, '\x4E'});
    return done;
}

void CheckLines(const kiv::LineList& list) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < list.Count(); ++i)
        Require(lines.emplace_back(list.At(i)).find_first_of("\r\n") == std::string::npos);
    Buffer bytes;
    kiv::LineList again;
    Require(kiv::EncodeLines(list.All(), list.Count(), bytes) && bytes.Reserve(1) && again.TakeContents(bytes));
    Require(std::vector<std::string>(again.All(), again.All() + again.Count()) == lines);
    Buffer wide;
    Require(kiv::EncodeWideLines(list.All(), list.Count(), AppendWide, wide) && wide.Size() >= 2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Buffer bytes;
    kiv::LineList lines;
    Require(bytes.Append({reinterpret_cast<const char*>(data), size}) && bytes.Reserve(1) && lines.TakeContents(bytes));
    CheckLines(lines);
    std::u16string text(size / 2, u'\0');
    std::memcpy(text.data(), data, size / 2 * 2);
    Buffer narrow;
    std::size_t count = 0;
    kiv::LineList wideLines;
    Require(kiv::NarrowLines(text, AppendNarrow, narrow, count) && wideLines.TakeLines(narrow, count));
    CheckLines(wideLines);
    return 0;
}
