#include <cstdarg>
#include <new>

#include "support/scoped_resource.h"
#include "support/text_convert.h"
#include "tavkivlg/format_text.h"
#include "tavkivlg/line_environment.h"
#include "tavkivlg/log_sink.h"
#include "tavkivlg/tavkivlg.h"

using kiv::LastErrorKeeper;
using kivlg::LineEnvironment;

namespace {

void AppendWide(kivlg::TextBuffer& out, const wchar_t* text, std::size_t length) noexcept {
    try {
        out.Append(kiv::AnsiFromWide({text, length}));
    } catch (const std::bad_alloc&) {
        out.Append("(no memory)");
    }
}

// Writes a line in this thread's environment, as it is or without its error.
void WriteFormatted(const LineEnvironment& environment, const char* format, va_list arguments) noexcept {
    if (format == nullptr || !kivlg::SinkWants(environment.level))
        return;
    kivlg::TextBuffer text;
    kivlg::FormatText(text, format, arguments, AppendWide);
    kivlg::WriteToSink(environment, text.View());
}

}  // namespace

// The log is opened with the library and again for each line: neither end of a thread's part in it needs anything.
void KIVLG_CALL KivStartLog(unsigned long, const char*, const char*, int) {}

void KIVLG_CALL KivStopLog(unsigned long) {}

void KIVLG_CALL KivWriteLogSetEnv(unsigned long, const char* component, unsigned int level, char kind) {
    const LastErrorKeeper keeper;
    kivlg::SetLineEnvironment({component, level, kind, false, 0});
}

void KIVLG_CALL KivWriteLogEnv(const char* format, ...) {
    const LastErrorKeeper keeper;
    LineEnvironment environment = kivlg::GetLineEnvironment();
    environment.isAboutError = false;
    environment.win32Error = 0;
    va_list arguments;
    va_start(arguments, format);
    WriteFormatted(environment, format, arguments);
    va_end(arguments);
}

void KIVLG_CALL KivWriteWin32Message(const char* text, unsigned long win32Error, unsigned long, const char* component,
                                     char kind, unsigned int level) {
    const LastErrorKeeper keeper;
    if (text != nullptr && kivlg::SinkWants(level))
        kivlg::WriteToSink({component == nullptr ? "" : component, level, kind, true, win32Error}, text);
}

void KIVLG_CALL KivVarInitWin32Message(unsigned long win32Error, unsigned long, const char* component,
                                       unsigned int level, char kind) {
    const LastErrorKeeper keeper;
    kivlg::SetLineEnvironment({component, level, kind, true, win32Error});
}

void KIVLG_CALL KivVarWriteWin32Message(const char* format, ...) {
    const LastErrorKeeper keeper;
    va_list arguments;
    va_start(arguments, format);
    WriteFormatted(kivlg::GetLineEnvironment(), format, arguments);
    va_end(arguments);
}
