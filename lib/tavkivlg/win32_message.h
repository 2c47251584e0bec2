#ifndef KIVLG_WIN32_MESSAGE_H
#define KIVLG_WIN32_MESSAGE_H

#include "tavkivlg/text_buffer.h"

namespace kivlg {

// Appends the system's text for an error and the code, ": Access denied. (5)"; the code alone where the system has no
// text, ": (5)".
void AppendErrorText(TextBuffer& out, unsigned long win32Error) noexcept;

}  // namespace kivlg

#endif
