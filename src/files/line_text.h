#ifndef KIV_FILES_LINE_TEXT_H
#define KIV_FILES_LINE_TEXT_H

#include <cstddef>
#include <string_view>

#include "support/heap_buffer.h"
#include "support/line_walk.h"

namespace kiv {

// The text rules of line files; tavkivut/line_file.h tells them.

// Hands each line of an appended text to `add`, which says whether to go on.
//
//     a CR LF b     a  b              a LF CR b     a  (empty)  b
//     a LF          a  (empty)        (empty)       (empty)
template <class Char, class Add>
bool ForEachAppendedLine(std::basic_string_view<Char> text, const Add& add) {
    std::size_t from = 0;
    for (std::size_t at = FindLineBreak(text); at < text.size(); at = FindLineBreak(text, from)) {
        if (!add(text.substr(from, at - from)))
            return false;
        const bool pair = text[at] == Char{'\r'} && at + 1 < text.size() && text[at + 1] == Char{'\n'};
        from = at + (pair ? 2 : 1);
    }
    return add(text.substr(from));
}

// Hands each line of a collected text, in which there is a line break, to `add`.
//
//     a LF LF b     a  b              LF a LF       (empty)  a
template <class Char, class Add>
void ForEachCollectedLine(std::basic_string_view<Char> text, const Add& add) {
    std::size_t at = FindLineBreak(text);
    add(text.substr(0, at));
    while (at < text.size()) {
        if (IsLineBreak(text[at])) {
            ++at;
            continue;
        }
        const std::size_t end = FindLineBreak(text, at);
        add(text.substr(at, end - at));
        at = end;
    }
}

// The text with a CR in front of every LF that has none. False when memory is exhausted.
template <class Char>
bool ExpandLineBreaks(std::basic_string_view<Char> text, HeapBuffer<Char>& expanded) noexcept {
    constexpr Char kBreak[] = {'\r', '\n'};
    std::size_t from = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != Char{'\n'} || (at > 0 && text[at - 1] == Char{'\r'}))
            continue;
        if (!expanded.Append(text.substr(from, at - from)) || !expanded.Append({kBreak, 2}))
            return false;
        from = at + 1;
    }
    return expanded.Append(text.substr(from));
}

// Cuts a terminated text at each separator and hands each piece to `add`. Without keepEmpty, separators that follow
// another are skipped.
//
//     a,,b     a  b  or  a  (empty)  b              ,a,     (empty)  a  (empty)  both ways
template <class Char, class Add>
void CutText(Char* text, Char separator, bool keepEmpty, const Add& add) {
    Char* piece = text;
    while (*text != Char{}) {
        if (*text != separator) {
            ++text;
            continue;
        }
        *text++ = Char{};
        add(piece);
        while (!keepEmpty && *text != Char{} && *text == separator)
            ++text;
        piece = text;
    }
    add(piece);
}

}  // namespace kiv

#endif
