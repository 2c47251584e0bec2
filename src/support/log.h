#ifndef KIV_SUPPORT_LOG_H
#define KIV_SUPPORT_LOG_H

#include "support/windows_api.h"
#include "tavkivlg/tavkivlg.h"

// The shapes of line that the library writes. The logging functions keep the thread's last error.

namespace kiv {

constexpr const char* kComponent = "TavKivUt";

constexpr unsigned kLogMain = 1;    // what every run shows: errors and main events
constexpr unsigned kLogDetail = 3;  // tracing

constexpr char kLogInfo = ' ';
constexpr char kLogError = 'E';
constexpr char kLogWarning = 'W';

}  // namespace kiv

// One line: the environment, then the text.
#define KIV_LOG(level, kind, ...)                                                      \
    do {                                                                               \
        KivWriteLogSetEnv(::GetCurrentThreadId(), ::kiv::kComponent, (level), (kind)); \
        KivWriteLogEnv(__VA_ARGS__);                                                   \
    } while (0)

// A fixed text, followed by the system's text for a Win32 error.
#define KIV_LOG_WIN32_TEXT(error, text, level) \
    KivWriteWin32Message((text), (error), ::GetCurrentThreadId(), ::kiv::kComponent, ::kiv::kLogError, (level))

// A formatted text, followed by the system's text for a Win32 error; level 1.
#define KIV_LOG_WIN32(error, kind, ...)                                                                      \
    do {                                                                                                     \
        KivVarInitWin32Message((error), ::GetCurrentThreadId(), ::kiv::kComponent, ::kiv::kLogMain, (kind)); \
        KivVarWriteWin32Message(__VA_ARGS__);                                                                \
    } while (0)

#endif
