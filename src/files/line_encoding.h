#ifndef KIV_FILES_LINE_ENCODING_H
#define KIV_FILES_LINE_ENCODING_H

#include <cstddef>
#include <string_view>

#include "support/heap_buffer.h"

namespace kiv {

// Between the lines in memory, which are in the system code page and end with a NUL, and the bytes of a file. All
// answer false when memory is exhausted.

// What takes the system: the conversion of a text that is not ASCII, appended to the result (as UTF-16, low byte
// first, for the second).
using AppendNarrow = bool (*)(std::u16string_view text, HeapBuffer<char>& result) noexcept;
using AppendWide = bool (*)(std::string_view text, HeapBuffer<char>& result) noexcept;

// The lines of a UTF-16 text one behind the other, each cut at its first zero and terminated.
bool NarrowLines(std::u16string_view text, AppendNarrow convert, HeapBuffer<char>& lines, std::size_t& count) noexcept;

// The bytes of a file with these lines: in the code page, and in UTF-16 with its mark.
bool EncodeLines(const char* const* lines, std::size_t count, HeapBuffer<char>& bytes) noexcept;
bool EncodeWideLines(const char* const* lines, std::size_t count, AppendWide convert, HeapBuffer<char>& bytes) noexcept;

}  // namespace kiv

#endif
