#ifndef KIVCTL_COMMANDS_H
#define KIVCTL_COMMANDS_H

namespace CLI {
class App;
}

namespace kivctl {

// Each family adds its subcommand to the program, in a file of its own. Only main.cpp reads this list, so that a
// further subcommand costs the others no compilation.
void AddAclCommand(CLI::App& app);
void AddArgsCommand(CLI::App& app);
void AddCabCommand(CLI::App& app);
void AddConfigCommand(CLI::App& app);
void AddCrcCommand(CLI::App& app);
void AddDeployCommand(CLI::App& app);
void AddDsCommand(CLI::App& app);
void AddFileCommand(CLI::App& app);
void AddIniCommand(CLI::App& app);
void AddIpcCommand(CLI::App& app);
void AddJavaCommand(CLI::App& app);
void AddLinesCommand(CLI::App& app);
void AddPrivilegeCommand(CLI::App& app);
void AddRegCommand(CLI::App& app);
void AddRegexpCommand(CLI::App& app);
void AddRightCommand(CLI::App& app);
void AddSdCommand(CLI::App& app);
void AddServerCommand(CLI::App& app);
void AddServiceCommand(CLI::App& app);
void AddServicesFileCommand(CLI::App& app);
void AddSidCommand(CLI::App& app);
void AddSystemCommand(CLI::App& app);
void AddTokenCommand(CLI::App& app);
void AddXmlCommand(CLI::App& app);

}  // namespace kivctl

#endif
