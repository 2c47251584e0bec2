#include "support/recording_log.h"

#include "support/check.h"
#include "tavkivlg/recording.h"

namespace kiv::test {

std::vector<std::string> RecordedLines() {
    std::vector<std::string> lines;
    for (unsigned i = 0; i < KivRecordingCount(); ++i) {
        KivRecordedLine line;
        REQUIRE(KivRecordingLine(i, &line) == 1);
        CHECK(std::string(line.component) == "TavKivUt");
        std::string text = line.text;
        if (line.win32Error != 0)
            text += " (" + std::to_string(line.win32Error) + ")";
        lines.push_back(std::to_string(line.level) + line.kind + " " + text);
    }
    return lines;
}

RecordingLog::RecordingLog() {
    KivRecordingClear();
}

RecordingLog::~RecordingLog() {
    KivRecordingClear();
}

void RecordingLog::Clear() {
    KivRecordingClear();
}

}  // namespace kiv::test
