#include "support/run_program.h"

#include <algorithm>

#include "support/check.h"
#include "support/windows_api.h"

namespace kiv::test {

// The output goes to a file, not a pipe: nothing that outlives the program can keep the reader waiting.
StartedProgram::StartedProgram(const std::string& commandLine) : m_commandLine(commandLine) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = ::CreateFileA((m_folder / "output").c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                       &inherited, CREATE_ALWAYS, 0, nullptr);
    REQUIRE(startup.hStdOutput != INVALID_HANDLE_VALUE);
    startup.hStdError = startup.hStdOutput;
    PROCESS_INFORMATION process{};
    std::string line = commandLine;
    const BOOL started =
        ::CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    ::CloseHandle(startup.hStdOutput);
    REQUIRE_MESSAGE(started, commandLine);
    ::CloseHandle(process.hThread);
    m_process = process.hProcess;
    m_id = process.dwProcessId;
}

StartedProgram::~StartedProgram() {
    if (m_process == nullptr)
        return;
    ::TerminateProcess(m_process, 99);
    ::WaitForSingleObject(m_process, 10000);
    ::CloseHandle(m_process);
}

ProgramResult StartedProgram::Finish() {
    REQUIRE_MESSAGE(::WaitForSingleObject(m_process, 60000) == WAIT_OBJECT_0, m_commandLine);
    ProgramResult result{};
    ::GetExitCodeProcess(m_process, &result.exitCode);
    result.output = ReadFileBytes(m_folder / "output");
    result.output.erase(std::remove(result.output.begin(), result.output.end(), '\r'), result.output.end());
    return result;
}

ProgramResult RunProgram(const std::string& commandLine) {
    return StartedProgram(commandLine).Finish();
}

}  // namespace kiv::test
