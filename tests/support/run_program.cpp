#include "support/run_program.h"

#include <algorithm>

#include "support/check.h"
#include "support/temp_directory.h"
#include "support/windows_api.h"

namespace kiv::test {

ProgramResult RunProgram(const std::string& commandLine) {
    // A file, not a pipe: nothing that outlives the program can keep the reader waiting.
    const TempDirectory folder;
    const std::string path = folder / "output";
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = ::CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                       CREATE_ALWAYS, 0, nullptr);
    REQUIRE(startup.hStdOutput != INVALID_HANDLE_VALUE);
    startup.hStdError = startup.hStdOutput;
    PROCESS_INFORMATION process{};
    std::string line = commandLine;
    const BOOL started =
        ::CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    ::CloseHandle(startup.hStdOutput);
    REQUIRE_MESSAGE(started, commandLine);
    ProgramResult result{};
    const DWORD waited = ::WaitForSingleObject(process.hProcess, 60000);
    if (waited != WAIT_OBJECT_0)
        ::TerminateProcess(process.hProcess, 99);
    ::GetExitCodeProcess(process.hProcess, &result.exitCode);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    REQUIRE_MESSAGE(waited == WAIT_OBJECT_0, commandLine);
    result.output = ReadFileBytes(path);
    result.output.erase(std::remove(result.output.begin(), result.output.end(), '\r'), result.output.end());
    return result;
}

}  // namespace kiv::test
