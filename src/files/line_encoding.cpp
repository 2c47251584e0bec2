#include "files/line_encoding.h"

#include <algorithm>
#include <cstring>

#include "support/ascii.h"
#include "support/line_walk.h"

using namespace std::string_view_literals;

namespace kiv {
namespace {

constexpr std::string_view kMark = "\xFF\xFE"sv;
constexpr std::string_view kLineEnd = "\r\n"sv;
constexpr std::string_view kWideLineEnd = "\r\0\n\0"sv;

bool IsAsciiUnits(std::u16string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
}

bool AppendAsciiAsNarrow(std::u16string_view text, HeapBuffer<char>& result) noexcept {
    if (!result.Reserve(text.size()))
        return false;
    std::transform(text.begin(), text.end(), result.Data() + result.Size(),
                   [](char16_t c) { return static_cast<char>(c); });
    result.SetSize(result.Size() + text.size());
    return true;
}

bool AppendAsciiAsWide(std::string_view text, HeapBuffer<char>& result) noexcept {
    if (!result.Reserve(2 * text.size()))
        return false;
    char* out = result.Data() + result.Size();
    for (const char c : text) {
        *out++ = c;
        *out++ = '\0';
    }
    result.SetSize(result.Size() + 2 * text.size());
    return true;
}

std::size_t TotalLength(const char* const* lines, std::size_t count) noexcept {
    std::size_t total = 0;
    for (std::size_t i = 0; i < count; ++i)
        total += std::strlen(lines[i]);
    return total;
}

}  // namespace

bool NarrowLines(std::u16string_view text, AppendNarrow convert, HeapBuffer<char>& lines, std::size_t& count) noexcept {
    count = 0;
    // Enough for a code page of single bytes: a line's end takes no more room than what ended it, if anything did.
    if (!lines.Reserve(text.size() + 1))
        return false;
    LineWalk<char16_t> walk(text);
    for (std::u16string_view line; walk.Next(line); ++count) {
        line = line.substr(0, line.find(u'\0'));
        const bool done = IsAsciiUnits(line) ? AppendAsciiAsNarrow(line, lines) : convert(line, lines);
        if (!done || !lines.Append("\0"sv))
            return false;
    }
    return true;
}

bool EncodeLines(const char* const* lines, std::size_t count, HeapBuffer<char>& bytes) noexcept {
    if (!bytes.Reserve(TotalLength(lines, count) + count * kLineEnd.size()))
        return false;
    for (std::size_t i = 0; i < count; ++i) {
        if (!bytes.Append(lines[i]) || !bytes.Append(kLineEnd))
            return false;
    }
    return true;
}

bool EncodeWideLines(const char* const* lines, std::size_t count, AppendWide convert,
                     HeapBuffer<char>& bytes) noexcept {
    const std::size_t most = 2 * TotalLength(lines, count) + count * kWideLineEnd.size();
    if (!bytes.Reserve(kMark.size() + most) || !bytes.Append(kMark))
        return false;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string_view line = lines[i];
        const bool done = IsAscii(line) ? AppendAsciiAsWide(line, bytes) : convert(line, bytes);
        if (!done || !bytes.Append(kWideLineEnd))
            return false;
    }
    return true;
}

}  // namespace kiv
