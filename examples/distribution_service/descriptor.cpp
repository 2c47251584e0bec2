#include "descriptor.h"

#include <windows.h>

#include <sstream>

namespace {

constexpr DWORD kLargestDescriptor = 64 * 1024;
constexpr unsigned long kLongestStep = 10 * 60 * 1000;  // milliseconds

// Whatever keeps the file from being found is one answer, whatever else goes wrong another.
unsigned long AnswerTo(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_INVALID_NAME:
        return ERROR_FILE_NOT_FOUND;
    default:
        return ERROR_ACCESS_DENIED;
    }
}

unsigned long ReadWhole(const std::string& path, std::string& text) {
    // The path is a client's: whoever serves it must not act as this service, and a pipe could keep it waiting.
    const HANDLE file = ::CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return AnswerTo(::GetLastError());
    if (::GetFileType(file) != FILE_TYPE_DISK) {
        ::CloseHandle(file);
        return ERROR_INVALID_DATA;
    }
    text.resize(kLargestDescriptor + 1);
    DWORD read = 0;
    const BOOL done = ::ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &read, nullptr);
    ::CloseHandle(file);
    if (!done)
        return ERROR_ACCESS_DENIED;
    if (read > kLargestDescriptor)
        return ERROR_INVALID_DATA;
    text.resize(read);
    return ERROR_SUCCESS;
}

// What stands behind the number of a step, without the blank in front.
bool ReadStep(std::istringstream& line, bool isFinal, Job& job) {
    Step step{isFinal, 0, {}};
    // The stream takes "-1" for the largest number.
    if (!(line >> step.milliseconds) || step.milliseconds > kLongestStep || !std::getline(line >> std::ws, step.what))
        return false;
    job.steps.push_back(step);
    return true;
}

bool ReadLine(const std::string& text, Job& job) {
    std::istringstream line(text);
    std::string keyword;
    if (!(line >> keyword) || keyword[0] == ';')
        return true;
    if (keyword == "job")
        return static_cast<bool>(std::getline(line >> std::ws, job.name));
    return (keyword == "step" || keyword == "final") && ReadStep(line, keyword == "final", job);
}

}  // namespace

unsigned long ReadDescriptor(const std::string& path, Job& job) {
    std::string text;
    const unsigned long code = ReadWhole(path, text);
    if (code != ERROR_SUCCESS)
        return code;
    std::istringstream lines(text);
    std::string line;
    for (bool isFirst = true; std::getline(lines, line); isFirst = false) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (isFirst ? line != "JDF 1" : !ReadLine(line, job))
            return ERROR_INVALID_DATA;
    }
    if (job.name.empty() || job.steps.empty())
        return ERROR_INVALID_DATA;
    job.steps.back().isFinal = true;  // behind it nothing is left to be cancelled
    return ERROR_SUCCESS;
}
