#ifndef KIVCTL_COMMANDS_H
#define KIVCTL_COMMANDS_H

namespace kivctl {

class Command;

// Each family adds its subcommand to the program, in a file of its own. Only main.cpp reads this list, so that a
// further subcommand costs the others no compilation.
void AddAclCommand(Command program);
void AddArgsCommand(Command program);
void AddCabCommand(Command program);
void AddConfigCommand(Command program);
void AddCrcCommand(Command program);
void AddDeployCommand(Command program);
void AddDsCommand(Command program);
void AddFileCommand(Command program);
void AddIniCommand(Command program);
void AddIpcCommand(Command program);
void AddJavaCommand(Command program);
void AddLinesCommand(Command program);
void AddPrivilegeCommand(Command program);
void AddRegCommand(Command program);
void AddRegexpCommand(Command program);
void AddRightCommand(Command program);
void AddSdCommand(Command program);
void AddServerCommand(Command program);
void AddServiceCommand(Command program);
void AddServicesFileCommand(Command program);
void AddSidCommand(Command program);
void AddSystemCommand(Command program);
void AddTokenCommand(Command program);
void AddXmlCommand(Command program);

}  // namespace kivctl

#endif
