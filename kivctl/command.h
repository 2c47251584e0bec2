#ifndef KIVCTL_COMMAND_H
#define KIVCTL_COMMAND_H

#include <CLI/CLI.hpp>

#include "kivctl/outcome.h"

namespace kivctl {

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
