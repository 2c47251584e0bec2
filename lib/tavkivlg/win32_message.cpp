#include "tavkivlg/win32_message.h"

#include "support/windows_api.h"

namespace kivlg {

std::string WithErrorText(const std::string& text, unsigned long win32Error) {
    char message[512];
    DWORD length = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, win32Error, 0,
                                    message, sizeof message, nullptr);
    while (length > 0 && static_cast<unsigned char>(message[length - 1]) <= ' ')
        --length;
    std::string line = text + ": ";
    if (length > 0)
        line.append(message, length).push_back(' ');
    return line + "(" + std::to_string(win32Error) + ")";
}

}  // namespace kivlg
