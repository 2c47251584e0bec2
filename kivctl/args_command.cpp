#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "install/option_table.h"
#include "kivctl/command.h"
#include "tavkivut/frame.h"

namespace kivctl {
namespace {

using Json = nlohmann::ordered_json;

struct Options {
    std::string line;
    bool json = false;
};

std::vector<std::string> Split(const std::string& line) {
    int count = 0;
    char** const arguments = CommandLineToArgv(line.c_str(), &count);
    std::vector<std::string> texts;
    if (arguments != nullptr)
        texts.assign(arguments, arguments + count);
    ReleaseArgs(arguments);
    return texts;
}

void PrintJson(const std::vector<std::string>& arguments, const std::vector<kiv::CommandLineOption>& options) {
    Json answer{{"arguments", Json::array()}, {"options", Json::array()}};
    for (const std::string& argument : arguments)
        answer["arguments"].push_back(Utf8(argument));
    for (const kiv::CommandLineOption& option : options)
        answer["options"].push_back({{"name", Utf8(option.name)}, {"value", Utf8(option.value)}});
    std::cout << answer.dump(2) << "\n";
}

void Show(const Options& options) {
    std::string line = options.line;
    if (line == "-")
        std::getline(std::cin, line);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    const std::vector<std::string> arguments = Split(line);
    const std::vector<kiv::CommandLineOption> parsed = kiv::ParseOptions(line);
    if (options.json) {
        PrintJson(arguments, parsed);
        return;
    }
    for (std::size_t i = 0; i < arguments.size(); ++i)
        std::cout << "argument " << i << ": [" << arguments[i] << "]\n";
    for (const kiv::CommandLineOption& option : parsed)
        std::cout << "option " << option.name << ": [" << option.value << "]\n";
}

}  // namespace

void AddArgsCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command args = program.AddCommand(
        "args", "Shows how a command line is split, and the options (/name:value) that it holds.", options, Show);
    args.RefuseSlashOptions();
    args.AddOption("LINE", options->line, "the whole line, the program first; - reads it from the input").Required();
    args.AddFlag("--json", options->json, "answer as JSON");
}

}  // namespace kivctl
