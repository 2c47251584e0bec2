#include "tavkivlg/line_format.h"

#include <cstdio>

namespace kivlg {

std::string FormatLine(const char* format, va_list arguments) {
    va_list counting;
    va_copy(counting, arguments);
    const int length = _vscprintf(format, counting);
    va_end(counting);
    if (length < 0)
        return format;
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

}  // namespace kivlg
