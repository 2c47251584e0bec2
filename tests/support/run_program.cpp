#include "support/run_program.h"

#include <algorithm>

#include "support/check.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"

namespace kiv::test {

// The output goes to a file, not a pipe: nothing that outlives the program can keep the reader waiting.
ProgramResult RunProgram(const std::string& commandLine) {
    const TempDirectory folder;
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    const ScopedFile output(::CreateFileA((folder / "output").c_str(), GENERIC_WRITE,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, CREATE_ALWAYS, 0, nullptr));
    REQUIRE(output);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = output.Get();
    PROCESS_INFORMATION process{};
    std::string line = commandLine;
    REQUIRE_MESSAGE(
        ::CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process),
        commandLine);
    const ScopedKernelObject ended(process.hProcess);
    ::CloseHandle(process.hThread);
    const bool ends = ::WaitForSingleObject(ended.Get(), 60000) == WAIT_OBJECT_0;
    if (!ends)
        ::TerminateProcess(ended.Get(), 99);
    REQUIRE_MESSAGE(ends, commandLine);
    ProgramResult result{};
    ::GetExitCodeProcess(ended.Get(), &result.exitCode);
    result.output = ReadFileBytes(folder / "output");
    result.output.erase(std::remove(result.output.begin(), result.output.end(), '\r'), result.output.end());
    return result;
}

}  // namespace kiv::test
