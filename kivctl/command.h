#ifndef KIVCTL_COMMAND_H
#define KIVCTL_COMMAND_H

// What the file of a subcommand needs; commands.h has the list of them. The command-line library stands behind these
// classes: its headers cost every file that includes them seconds, so only command.cpp does.

#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kivctl/outcome.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace kivctl {

// An option or a positional argument of a command, which owns it; each operation answers the same option.
class Option {
public:
    explicit Option(CLI::Option* option) : m_option(option) {}

    Option Required();
    Option OneOf(const std::vector<std::string>& texts);
    Option OneOf(std::initializer_list<int> numbers);
    Option InRange(int lowest, int highest);
    Option InRange(unsigned long lowest, unsigned long highest);
    Option ShowDefault();  // the value that its variable has now, in the usage
    Option OneTextEach();  // a list gets one text each time that the option is given

private:
    CLI::Option* m_option;
};

// A command of the program, which owns it. The variables of its options are written while the command line is parsed,
// so the command's action keeps them alive.
class Command {
public:
    explicit Command(CLI::App* command) : m_command(command) {}

    Command AddCommand(const char* name, const char* help);
    template <class Options>
    Command AddCommand(const char* name, const char* help, const std::shared_ptr<Options>& options,
                       void (*run)(const Options&)) {
        Command command = AddCommand(name, help);
        command.SetAction([options, run] { run(*options); });
        return command;
    }
    Command AddGroup(const char* name, const char* help);  // a command that asks for one of its own commands

    // Named with dashes it is an option, else a positional argument.
    Option AddOption(const char* name, std::string& value, const char* help = "");
    Option AddOption(const char* name, std::optional<std::string>& value, const char* help = "");
    Option AddOption(const char* name, std::vector<std::string>& values, const char* help = "");
    Option AddOption(const char* name, int& value, const char* help = "");
    Option AddOption(const char* name, unsigned& value, const char* help = "");
    Option AddOption(const char* name, long& value, const char* help = "");
    Option AddOption(const char* name, unsigned long& value, const char* help = "");
    void AddFlag(const char* name, bool& value, const char* help);

    void RefuseSlashOptions();  // "/name" is an argument, not another way to write "--name"
    void SetAction(std::function<void()> action);

private:
    CLI::App* m_command;
};

// The command of the program itself.
class Program {
public:
    Program(const char* name, const char* help);
    ~Program();

    Command Root();
    // Runs the action that the arguments ask for, or shows the usage where they ask for that. Throws a UsageError for
    // arguments that are wrong, and what the action throws.
    void Run(int argc, char** argv);
    // The usage of the command that the arguments chose, however deep.
    std::string Usage() const;

private:
    std::unique_ptr<CLI::App> m_app;
};

}  // namespace kivctl

#endif
