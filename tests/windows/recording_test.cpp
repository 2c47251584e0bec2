#include "support/check.h"
#include "support/recording_log.h"
#include "support/text_convert.h"
#include "support/windows_api.h"
#include "tavkivlg/recording.h"

TEST_CASE("the recording build keeps text, level, kind, order and error code of every line") {
    const kiv::test::RecordingLog log;
    ::SetLastError(4711);
    KivWriteLogSetEnv(0, "TavKivUt", 3, 'W');
    KivWriteLogEnv("'%ls' %d", L"a\u65E5", 7);
    KivWriteWin32Message("fixed 100%", 5, 0, "TavKivUt", 'E', 1);
    KivWriteLogEnv("as before");
    KivVarInitWin32Message(2, 0, "TavKivUt", 1, 'E');
    KivVarWriteWin32Message("failed: '%S'", L"x");
    KivWriteLogEnv("without the error");
    CHECK(::GetLastError() == 4711);
    CHECK(log.Lines() == std::vector<std::string>{"3W 'a" + kiv::AnsiFromWide(L"\u65E5") + "' 7", "1E fixed 100% (5)",
                                                  "3W as before", "1E failed: 'x' (2)", "1E without the error"});
    KivRecordedLine line;
    REQUIRE(KivRecordingLine(0, &line) == 1);
    CHECK(line.threadId == ::GetCurrentThreadId());
    CHECK(KivRecordingLine(KivRecordingCount(), &line) == 0);
}
