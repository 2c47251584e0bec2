// A process that logs, as a child of the log's tests: `log_writer NAME LINES` writes that many numbered lines under
// that name and ends, with one more line at every step on its way out.

#include <cstdlib>

#include "support/windows_api.h"
#include "tavkivlg/tavkivlg.h"
#include "tavkivut/frame.h"

namespace {

void Write(const char* component, const char* text) {
    KivWriteLogSetEnv(::GetCurrentThreadId(), component, 1, ' ');
    KivWriteLogEnv("%s", text);
}

struct LastWords {
    ~LastWords() { Write("writer", "static object destroyed"); }
} g_lastWords;

// Ended with the process, most likely in the middle of a line.
DWORD WINAPI WriteForever(LPVOID) {
    for (;;)
        Write("background", "line");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return 1;
    ReleaseArgs(nullptr);  // brings the utilities library in, which logs when it is loaded and unloaded
    const int lines = std::atoi(argv[2]);
    for (int i = 1; i <= lines; ++i) {
        KivWriteLogSetEnv(::GetCurrentThreadId(), argv[1], 1, ' ');
        KivWriteLogEnv("line %d of %d", i, lines);
    }
    if (lines == 0) {
        ::CloseHandle(::CreateThread(nullptr, 0, WriteForever, nullptr, 0, nullptr));
        ::Sleep(50);
    }
    KivStopLog(::GetCurrentThreadId());
    Write("writer", "after the stop");
    return 0;
}
