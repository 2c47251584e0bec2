#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "java/java_registrations.h"
#include "kivctl/command.h"
#include "kivctl/java_call.h"
#include "tavkivut/java.h"

namespace kivctl {
namespace {

using Json = nlohmann::ordered_json;
using kiv::JavaRegistration;
using kiv::JavaVerdict;

struct Options {
    bool json = false;
};

struct VerdictText {
    JavaVerdict verdict;
    const char* name;  // for programs
    const char* sentence;
};

constexpr VerdictText kVerdicts[] = {
    {JavaVerdict::kChosen, "chosen", "would be used"},
    {JavaVerdict::kOvertaken, "overtaken", "passed over: a version behind it compares greater"},
    {JavaVerdict::kNotGreater, "not greater", "passed over: a version before it compares greater"},
    {JavaVerdict::kUnreadable, "unreadable", "passed over: its registration cannot be opened"},
    {JavaVerdict::kDamaged, "damaged", "passed over: its registration has no text RuntimeLib"},
    {JavaVerdict::kMissing, "missing", "passed over: no such file, or no full path"},
};

const VerdictText& TextOf(JavaVerdict verdict) {
    return *std::find_if(std::begin(kVerdicts), std::end(kVerdicts),
                         [verdict](const VerdictText& text) { return text.verdict == verdict; });
}

void Print(const JavaRegistration& registration) {
    std::cout << registration.version << "\n    " << TextOf(registration.verdict).sentence << "\n";
    if (!registration.library.empty())
        std::cout << "    " << registration.library << "\n";
}

// The same look at the registry that the library takes before it loads a runtime.
void List(const Options& options) {
    const auto registered = kiv::ExamineJavaRegistrations();
    const std::vector<JavaRegistration> all = registered ? *registered : std::vector<JavaRegistration>();
    Json answer = Json::array();
    bool anyChosen = false;
    for (const JavaRegistration& registration : all) {
        anyChosen = anyChosen || registration.verdict == JavaVerdict::kChosen;
        Json entry{{"version", Utf8(registration.version)}, {"verdict", TextOf(registration.verdict).name}};
        if (!registration.library.empty())
            entry["library"] = Utf8(registration.library);
        answer.push_back(entry);
        if (!options.json)
            Print(registration);
    }
    if (options.json)
        std::cout << answer.dump(2) << "\n";
    else if (all.empty())
        std::cout << "no runtime is registered\n";
    SetExitCode(anyChosen ? kExitDone : kExitFailed);
}

void Load(const Options& options) {
    const CKivJavaVM& machine = CKivJavaVM::GetInstance();
    if (machine.IsAvailable() == 0)
        throw Failure("there is no Java machine; `kivctl java list` and the log tell why");
    if (options.json)
        std::cout << Json{{"version", Utf8(machine.GetVersion())}, {"home", Utf8(machine.GetHomePath())}}.dump(2)
                  << "\n";
    else
        std::cout << "Version  " << machine.GetVersion() << "\nHome     " << machine.GetHomePath() << "\n";
}

void AddAction(Command java, const char* name, const char* help, void (*run)(const Options&)) {
    const auto options = std::make_shared<Options>();
    Command command = java.AddCommand(name, help, options, run);
    command.AddFlag("--json", options->json, "answer as JSON");
}

void ShowMethods(const std::string& className, bool json) {
    Json answer = Json::array();
    for (const std::string& method : JavaMethods(className)) {
        answer.push_back(Utf8(method));
        if (!json)
            std::cout << method << "\n";
    }
    if (json)
        std::cout << answer.dump(2) << "\n";
}

void AddMethods(Command java) {
    const auto className = std::make_shared<std::string>();
    const auto json = std::make_shared<bool>(false);
    Command command = java.AddCommand("methods", "Shows the methods of a class, inherited ones too.");
    command.AddOption("class", *className, "such as java.lang.String").Required();
    command.AddFlag("--json", *json, "answer as JSON");
    command.SetAction([className, json] { ShowMethods(*className, *json); });
}

void AddCall(Command java) {
    const auto call = std::make_shared<JavaCall>();
    Command command = java.AddCommand(
        "call", "Makes an object of a class, calls one of its methods and shows the result. Exact types choose the "
                "constructor and the method: int,java.lang.String and the like.");
    command.AddOption("class", call->className, "such as java.lang.String").Required();
    command.AddOption("method", call->method, "its name").Required();
    command.AddOption("argument", call->arguments, "of the method; texts, numbers, true and false");
    command.AddOption("--parameters", call->parameters, "the method's parameter types, separated by commas");
    command.AddOption("--result", call->result, "the method's result type").ShowDefault();
    command.AddOption("--new-parameters", call->constructorParameters, "the constructor's parameter types");
    command.AddOption("--new-argument", call->constructorArguments, "an argument of the constructor").OneTextEach();
    command.SetAction([call] { std::cout << CallJava(*call) << "\n"; });
}

}  // namespace

void AddJavaCommand(Command program) {
    Command java = program.AddGroup(
        "java", "Shows the registered Java runtimes, starts the one that counts, and calls Java methods.");
    AddAction(java, "list", "Shows every registered runtime and why it would be used or not; exit code 1 if none is.",
              List);
    AddAction(java, "load", "Loads that runtime and creates a machine in this process.", Load);
    AddMethods(java);
    AddCall(java);
}

}  // namespace kivctl
