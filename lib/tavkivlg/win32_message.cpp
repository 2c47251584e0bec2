#include "tavkivlg/win32_message.h"

#include "support/windows_api.h"

namespace kivlg {

void AppendErrorText(TextBuffer& out, unsigned long win32Error) noexcept {
    char message[512];
    DWORD length = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, win32Error, 0,
                                    message, sizeof message, nullptr);
    while (length > 0 && static_cast<unsigned char>(message[length - 1]) <= ' ')
        --length;
    out.Append(": ");
    out.Append({message, length});
    out.Append(length == 0 ? "(" : " (");
    out.AppendNumber(win32Error);
    out.Append(')');
}

}  // namespace kivlg
