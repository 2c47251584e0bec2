#include <memory>
#include <string>
#include <vector>

#include "support/heap_text.h"
#include "support/once.h"
#include "support/windows_api.h"
#include "tavkivlg/log_sink.h"
#include "tavkivlg/recording.h"

namespace {

struct Recorded {
    unsigned long threadId;
    unsigned level;
    char kind;
    std::string component;
    unsigned long win32Error;
    std::string text;
};

struct Record {
    CRITICAL_SECTION section;
    std::vector<std::unique_ptr<Recorded>> lines;
};

// Never destroyed: lines are still accepted while the process goes down.
Record& TheRecord() noexcept {
    static kiv::Once once;
    static Record* record = nullptr;
    once.Run([] {
        record = new Record;
        ::InitializeCriticalSection(&record->section);
    });
    return *record;
}

class RecordLock {
public:
    explicit RecordLock(Record& record) noexcept : m_section(&record.section) { ::EnterCriticalSection(m_section); }
    ~RecordLock() { ::LeaveCriticalSection(m_section); }
    RecordLock(const RecordLock&) = delete;
    RecordLock& operator=(const RecordLock&) = delete;

private:
    CRITICAL_SECTION* m_section;
};

}  // namespace

namespace kivlg {

void StartSink() noexcept {}

bool SinkWants(unsigned) noexcept {
    return true;
}

void WriteToSink(const LineEnvironment& environment, std::string_view text) noexcept {
    Record& record = TheRecord();
    const RecordLock lock(record);
    record.lines.push_back(
        std::make_unique<Recorded>(Recorded{::GetCurrentThreadId(), environment.level, environment.kind,
                                            environment.component, environment.win32Error, std::string(text)}));
}

}  // namespace kivlg

void KIVLG_CALL KivRecordingClear() {
    Record& record = TheRecord();
    const RecordLock lock(record);
    record.lines.clear();
}

unsigned int KIVLG_CALL KivRecordingCount() {
    Record& record = TheRecord();
    const RecordLock lock(record);
    return static_cast<unsigned int>(record.lines.size());
}

int KIVLG_CALL KivRecordingLine(unsigned int index, KivRecordedLine* line) {
    Record& record = TheRecord();
    const RecordLock lock(record);
    if (line == nullptr || index >= record.lines.size())
        return 0;
    const Recorded& recorded = *record.lines[index];
    line->threadId = recorded.threadId;
    line->level = recorded.level;
    line->kind = recorded.kind;
    kiv::CopyText(line->component, sizeof line->component, recorded.component.c_str());
    line->win32Error = recorded.win32Error;
    line->text = recorded.text.c_str();
    return 1;
}
