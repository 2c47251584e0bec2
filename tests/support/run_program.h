#ifndef KIV_TESTS_SUPPORT_RUN_PROGRAM_H
#define KIV_TESTS_SUPPORT_RUN_PROGRAM_H

#include <string>

#include "support/temp_directory.h"

namespace kiv::test {

struct ProgramResult {
    unsigned long exitCode;
    std::string output;  // what it wrote to both of its outputs, lines ended by "\n"
};

// A program that runs beside the test. It is ended with this object if it still runs.
class StartedProgram {
public:
    explicit StartedProgram(const std::string& commandLine);  // begins with the program's path
    ~StartedProgram();
    StartedProgram(const StartedProgram&) = delete;
    StartedProgram& operator=(const StartedProgram&) = delete;

    unsigned long Id() const { return m_id; }

    ProgramResult Finish();  // waits for its end, at most a minute

private:
    std::string m_commandLine;
    TempDirectory m_folder;  // of the file that takes its output
    void* m_process = nullptr;
    unsigned long m_id = 0;
};

// Runs a program to its end, at most a minute. The command line begins with the program's path.
ProgramResult RunProgram(const std::string& commandLine);

}  // namespace kiv::test

#endif
