#ifndef KIV_TESTS_SUPPORT_RUN_PROGRAM_H
#define KIV_TESTS_SUPPORT_RUN_PROGRAM_H

#include <string>

namespace kiv::test {

struct ProgramResult {
    unsigned long exitCode;
    std::string output;  // what it wrote to both of its outputs, lines ended by "\n"
};

// Runs a program to its end, at most a minute. The command line begins with the program's path.
ProgramResult RunProgram(const std::string& commandLine);

}  // namespace kiv::test

#endif
