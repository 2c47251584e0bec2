#ifndef KIV_TESTS_SUPPORT_LINES_OF_FILE_H
#define KIV_TESTS_SUPPORT_LINES_OF_FILE_H

#include <string>
#include <vector>

#include "files/line_encoding.h"
#include "files/line_list.h"

namespace kiv::test {

// A code page in which everything but ASCII takes two bytes, so that lines grow.
inline bool AppendTwoBytes(std::u16string_view text, HeapBuffer<char>& result) noexcept {
    bool done = true;
    for (const char16_t c : text)
        done = done && result.Append(c < 0x80 ? std::string(1, static_cast<char>(c)) : "\x81\x81");
    return done;
}

// The lines of a file with these bytes, or with these units of UTF-16.
inline std::vector<std::string> LinesOfFile(std::string_view bytes, bool wide) {
    HeapBuffer<char> block;
    LineList list;
    std::size_t count = 0;
    const std::u16string units(bytes.begin(), bytes.end());
    const bool done = wide ? NarrowLines(units, AppendTwoBytes, block, count) && list.TakeLines(block, count)
                           : block.Append(bytes) && block.Reserve(1) && list.TakeContents(block);
    return done ? std::vector<std::string>(list.All(), list.All() + list.Count()) : std::vector<std::string>{"?"};
}

}  // namespace kiv::test

#endif
