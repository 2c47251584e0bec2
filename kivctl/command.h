#ifndef KIVCTL_COMMAND_H
#define KIVCTL_COMMAND_H

#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

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

// Each family adds its subcommand to the program, in a file of its own.
void AddAclCommand(CLI::App& app);
void AddArgsCommand(CLI::App& app);
void AddConfigCommand(CLI::App& app);
void AddCrcCommand(CLI::App& app);
void AddFileCommand(CLI::App& app);
void AddIniCommand(CLI::App& app);
void AddPrivilegeCommand(CLI::App& app);
void AddRegCommand(CLI::App& app);
void AddRegexpCommand(CLI::App& app);
void AddRightCommand(CLI::App& app);
void AddSdCommand(CLI::App& app);
void AddServerCommand(CLI::App& app);
void AddSidCommand(CLI::App& app);
void AddSystemCommand(CLI::App& app);
void AddTokenCommand(CLI::App& app);

}  // namespace kivctl

#endif
