#ifndef KIVLG_LINE_LAYOUT_H
#define KIVLG_LINE_LAYOUT_H

#include <cstdint>
#include <string_view>

#include "tavkivlg/text_buffer.h"

namespace kivlg {

// Everything of a line but its text. The time is local.
struct LineHead {
    std::uint16_t year, month, day, hour, minute, second, millisecond;
    std::uint32_t process;
    std::uint32_t thread;
    const char* component;
    std::uint32_t level;
    char kind;
};

// Appends one line of the log file:
//
//     2001-09-28 16:05:09.031 1234 5678 TavKivUt 1E Inet : failed to open 'C:\setup\a.cab'
//
// Six words (date, time, process, thread, component, level and kind), then the text, which begins behind the sixth
// blank, then CR LF. The kind ' ' shows as '-', an empty component as '-', blanks in it as '_'. Line breaks at the
// text's end are dropped; control characters in it are shown as "\n", "\r", "\x1B" (a tab stays), so that one call
// makes one line whatever the text holds.
void AppendLine(TextBuffer& out, const LineHead& head, std::string_view text) noexcept;

}  // namespace kivlg

#endif
