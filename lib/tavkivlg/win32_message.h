#ifndef KIVLG_WIN32_MESSAGE_H
#define KIVLG_WIN32_MESSAGE_H

#include <string>

namespace kivlg {

// The text of a line about a Win32 error: "<text>: <the system's text> (<code>)", the system's text without its line
// end and left out where the system has none: "failed to open: Access denied. (5)".
std::string WithErrorText(const std::string& text, unsigned long win32Error);

}  // namespace kivlg

#endif
