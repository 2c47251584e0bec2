#ifndef KIV_TESTS_SUPPORT_RECORDING_LOG_H
#define KIV_TESTS_SUPPORT_RECORDING_LOG_H

#include <string>
#include <vector>

namespace kiv::test {

// Level, kind and text of each line so far, in order: "1  text", "3E text"; the component is checked to be "TavKivUt".
std::vector<std::string> RecordedLines();

// The log lines written between its construction and a look at them. Lines about a Win32 error hold the text
// before the system's own, since that depends on the system, and the code: "1E failed to open (5)".
class RecordingLog {
public:
    RecordingLog();   // forgets every earlier line
    ~RecordingLog();  // forgets these

    RecordingLog(const RecordingLog&) = delete;
    RecordingLog& operator=(const RecordingLog&) = delete;

    std::vector<std::string> Lines() const { return RecordedLines(); }
    void Clear();
};

}  // namespace kiv::test

#endif
