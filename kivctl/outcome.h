#ifndef KIVCTL_OUTCOME_H
#define KIVCTL_OUTCOME_H

#include <stdexcept>
#include <string>

namespace kivctl {

// Exit codes of the program: 0 done or yes, 1 failed or no, 2 wrong usage.
constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

// Ends a subcommand with exit code 1 and "kivctl: <text>" on the error output.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// With the system's text for a Win32 error behind what failed.
[[noreturn]] void Fail(const std::string& what, unsigned long win32Error);

// Ends a subcommand with exit code 2, the text and the usage of that subcommand.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The system's text for a Win32 error, as "Access denied. (5)".
std::string ErrorText(unsigned long win32Error);

// A text of the library, which is in the system code page, as JSON needs it.
std::string Utf8(const std::string& text);

// The full path of a file. The library takes some bare names for files elsewhere; whoever types one means the current
// folder.
std::string FullPath(const std::string& file);

// What a callback leaves behind when it is not 0: the answer "no" of a question.
void SetExitCode(int code);

}  // namespace kivctl

#endif
