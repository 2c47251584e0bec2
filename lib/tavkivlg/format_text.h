#ifndef KIVLG_FORMAT_TEXT_H
#define KIVLG_FORMAT_TEXT_H

#include <cstdarg>
#include <cstddef>

#include "tavkivlg/text_buffer.h"

namespace kivlg {

// Appends a UTF-16 text in the code page of the log.
using WideWriter = void (*)(TextBuffer& out, const wchar_t* text, std::size_t length) noexcept;

// Appends a printf-style text, however long, by the rules of the Windows C run-time: flags, width and precision (also
// "*"), the sizes h, l, ll, L, w, I, I32 and I64, and
//
//     d i o u x X    e E f F g G a A    %%
//     c hc hC        a byte;      C lc wc      one UTF-16 unit
//     s hs hS        bytes;       S ls ws      UTF-16 text
//     p              a pointer, all its digits
//
// Unlike there, a UTF-16 text never fails (the run-time cuts the whole line at a character that the C locale lacks), a
// null text gives "(null)", "%n" writes nothing, and a conversion that is not known ends the work: the rest of the
// format is appended as it stands, since the arguments behind it cannot be told apart.
void FormatText(TextBuffer& out, const char* format, va_list arguments, WideWriter writeWide) noexcept;

}  // namespace kivlg

#endif
