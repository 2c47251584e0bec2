#include <cstdarg>

#include "support/scoped_resource.h"
#include "tavkivlg/line_environment.h"
#include "tavkivlg/line_format.h"
#include "tavkivlg/log_sink.h"
#include "tavkivlg/tavkivlg.h"

using kiv::LastErrorKeeper;

void KIVLG_CALL KivStartLog(unsigned long threadId, const char*, const char*, int) {
    const LastErrorKeeper keeper;
    kivlg::StartSink(threadId);
}

void KIVLG_CALL KivStopLog(unsigned long threadId) {
    const LastErrorKeeper keeper;
    kivlg::StopSink(threadId);
}

void KIVLG_CALL KivWriteLogSetEnv(unsigned long, const char* component, unsigned int level, char kind) {
    const LastErrorKeeper keeper;
    kivlg::SetLineEnvironment(component, level, kind);
}

void KIVLG_CALL KivWriteLogEnv(const char* format, ...) {
    const LastErrorKeeper keeper;
    const kivlg::LineEnvironment environment = kivlg::GetLineEnvironment();
    if (format == nullptr || !kivlg::SinkWants(environment.level))
        return;
    va_list arguments;
    va_start(arguments, format);
    kivlg::WriteToSink(environment, kivlg::FormatLine(format, arguments));
    va_end(arguments);
}

void KIVLG_CALL KivWriteWin32Message(const char* text, unsigned long win32Error, unsigned long, const char* component,
                                     char kind, unsigned int level) {
    const LastErrorKeeper keeper;
    kivlg::SetLineEnvironment(component, level, kind, win32Error);
    if (text != nullptr && kivlg::SinkWants(level))
        kivlg::WriteToSink(kivlg::GetLineEnvironment(), text);
}

void KIVLG_CALL KivVarInitWin32Message(unsigned long win32Error, unsigned long, const char* component,
                                       unsigned int level, char kind) {
    const LastErrorKeeper keeper;
    kivlg::SetLineEnvironment(component, level, kind, win32Error);
}

void KIVLG_CALL KivVarWriteWin32Message(const char* format, ...) {
    const LastErrorKeeper keeper;
    const kivlg::LineEnvironment environment = kivlg::GetLineEnvironment();
    if (format == nullptr || !kivlg::SinkWants(environment.level))
        return;
    va_list arguments;
    va_start(arguments, format);
    const std::string text = kivlg::FormatLine(format, arguments);
    va_end(arguments);
    kivlg::WriteToSink(environment, text);
}
