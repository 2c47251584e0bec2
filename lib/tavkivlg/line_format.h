#ifndef KIVLG_LINE_FORMAT_H
#define KIVLG_LINE_FORMAT_H

#include <cstdarg>
#include <string>

namespace kivlg {

// The text of a printf-style line, however long. "%ls" and "%S" are expanded here with the system code page: the C
// run-time would cut the whole text short at a character that the C locale lacks.
std::string FormatLine(const char* format, va_list arguments);

}  // namespace kivlg

#endif
