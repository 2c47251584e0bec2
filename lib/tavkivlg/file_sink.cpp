#include "support/windows_api.h"
#include "tavkivlg/line_layout.h"
#include "tavkivlg/log_file.h"
#include "tavkivlg/log_settings.h"
#include "tavkivlg/log_sink.h"
#include "tavkivlg/win32_message.h"

namespace kivlg {
namespace {

LogFile g_file;
unsigned g_level = 0;
LONG g_lost = 0;  // lines since the last one that got through

LineHead HeadNow(const char* component, unsigned level, char kind) noexcept {
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    return {now.wYear,
            now.wMonth,
            now.wDay,
            now.wHour,
            now.wMinute,
            now.wSecond,
            now.wMilliseconds,
            ::GetCurrentProcessId(),
            ::GetCurrentThreadId(),
            component,
            level,
            kind};
}

void AppendNoteOfLoss(TextBuffer& lines, LONG lost) noexcept {
    TextBuffer text;
    text.AppendNumber(static_cast<std::uint32_t>(lost));
    text.Append(lost == 1 ? " line was lost" : " lines were lost");
    AppendLine(lines, HeadNow("tavkivlg", 1, 'W'), text.View());
}

}  // namespace

void StartSink() noexcept {
    const LogSettings settings = ReadLogSettings();
    if (settings.file[0] == '\0' || settings.level == 0)
        return;
    g_level = settings.level;
    g_file.Open(settings.file, settings.maxSize);
}

bool SinkWants(unsigned level) noexcept {
    return g_level != 0 && level <= g_level;
}

void WriteToSink(const LineEnvironment& environment, std::string_view text) noexcept {
    TextBuffer lines;
    const LONG lost = __atomic_exchange_n(&g_lost, 0, __ATOMIC_RELAXED);
    if (lost != 0)
        AppendNoteOfLoss(lines, lost);
    const LineHead head = HeadNow(environment.component, environment.level, environment.kind);
    if (environment.isAboutError) {
        TextBuffer whole;
        whole.Append(text);
        AppendErrorText(whole, environment.win32Error);
        AppendLine(lines, head, whole.View());
    } else {
        AppendLine(lines, head, text);
    }
    if (!g_file.Append(lines.View()))
        __atomic_fetch_add(&g_lost, lost + 1, __ATOMIC_RELAXED);
}

}  // namespace kivlg
