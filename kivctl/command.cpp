#include "kivctl/command.h"

#include <iostream>

#include <CLI/CLI.hpp>

namespace kivctl {
namespace {

// `parents` is what stands before the command's name.
std::string UsageOf(const CLI::App& command, const std::string& parents = "") {
    const std::vector<CLI::App*> chosen = command.get_subcommands();
    if (chosen.empty())
        return command.help(parents);
    return UsageOf(*chosen.front(), parents.empty() ? command.get_name() : parents + " " + command.get_name());
}

}  // namespace

// --- Option ----------------------------------------------------------------------------------------------------------

Option Option::Required() {
    return Option(m_option->required());
}

Option Option::OneOf(const std::vector<std::string>& texts) {
    return Option(m_option->check(CLI::IsMember(texts)));
}

Option Option::OneOf(std::initializer_list<int> numbers) {
    return Option(m_option->check(CLI::IsMember(std::vector<int>(numbers))));
}

Option Option::InRange(int lowest, int highest) {
    return Option(m_option->check(CLI::Range(lowest, highest)));
}

Option Option::InRange(unsigned long lowest, unsigned long highest) {
    return Option(m_option->check(CLI::Range(lowest, highest)));
}

Option Option::ShowDefault() {
    return Option(m_option->capture_default_str());
}

Option Option::OneTextEach() {
    return Option(m_option->expected(1)->allow_extra_args(false)->take_all());
}

// --- Command ---------------------------------------------------------------------------------------------------------

Command Command::AddCommand(const char* name, const char* help) {
    return Command(m_command->add_subcommand(name, help));
}

Command Command::AddGroup(const char* name, const char* help) {
    return Command(m_command->add_subcommand(name, help)->require_subcommand(1));
}

Option Command::AddOption(const char* name, std::string& value, const char* help) {
    return Option(m_command->add_option(name, value, help));
}

Option Command::AddOption(const char* name, std::optional<std::string>& value, const char* help) {
    return Option(m_command->add_option(name, value, help));
}

Option Command::AddOption(const char* name, std::vector<std::string>& values, const char* help) {
    return Option(m_command->add_option(name, values, help));
}

Option Command::AddOption(const char* name, int& value, const char* help) {
    return Option(m_command->add_option(name, value, help));
}

Option Command::AddOption(const char* name, unsigned& value, const char* help) {
    return Option(m_command->add_option(name, value, help));
}

Option Command::AddOption(const char* name, long& value, const char* help) {
    return Option(m_command->add_option(name, value, help));
}

Option Command::AddOption(const char* name, unsigned long& value, const char* help) {
    return Option(m_command->add_option(name, value, help));
}

void Command::AddFlag(const char* name, bool& value, const char* help) {
    m_command->add_flag(name, value, help);
}

void Command::RefuseSlashOptions() {
    m_command->allow_windows_style_options(false);
}

void Command::SetAction(std::function<void()> action) {
    m_command->callback(std::move(action));
}

// --- Program ---------------------------------------------------------------------------------------------------------

Program::Program(const char* name, const char* help) : m_app(std::make_unique<CLI::App>(help, name)) {
    m_app->require_subcommand(1);
}

Program::~Program() = default;

Command Program::Root() {
    return Command(m_app.get());
}

void Program::Run(int argc, char** argv) {
    try {
        m_app->parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << Usage();
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
}

std::string Program::Usage() const {
    return UsageOf(*m_app);
}

}  // namespace kivctl
