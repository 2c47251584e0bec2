#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "kivctl/command.h"
#include "support/scoped_resource.h"
#include "tavkivut/ipc.h"

namespace kivctl {
namespace {

struct Options {
    std::string name;
    std::string text;
    std::vector<std::string> command;
    unsigned timeout = INFINITE;
    unsigned count = 0;  // 0: no end
    long response = 0;
    bool json = false;
};

using SharedOptions = std::shared_ptr<Options>;
using Json = nlohmann::ordered_json;

constexpr std::size_t kLongestName = 127;
constexpr std::size_t kLongestText = 1023;
constexpr long kNobodyAnswered = static_cast<long>(0x80004005);

// --- Sending

void Send(const Options& options) {
    if (options.name.size() > kLongestName || options.text.size() > kLongestText)
        throw UsageError("a notification holds a name of 127 bytes and a text of 1023");
    CKivNotificationSource source;
    const char* const name = options.name.empty() ? nullptr : options.name.c_str();
    const long response = source.Send(name, options.text.c_str(), options.timeout);
    if (response == kNobodyAnswered)
        throw Failure("no listener, or one that refuses this notification");
    if (options.json)
        std::cout << Json{{"response", response}}.dump() << "\n";
    else
        std::cout << response << "\n";
}

// --- Listening

// What the handler needs, since it gets nothing of the caller's.
struct Listening {
    const Options* options;
    unsigned handled;
};
Listening g_listening{};

// By the rules of the C run-time, which most programs split their command line with.
std::string Quoted(const std::string& argument) {
    if (!argument.empty() && argument.find_first_of(" \t\"") == std::string::npos)
        return argument;
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (const char c : argument) {
        if (c == '"')
            quoted.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    return quoted.append(backslashes, '\\') + "\"";
}

// Runs the command for a notification and gives its exit code. What the notification says stands in two variables of
// the environment, never in the command line. The command must not get the handles of the line: they would keep it
// alive when this program has ended.
long RunCommand(const std::vector<std::string>& command, const char* name, const char* payload) {
    ::SetEnvironmentVariableA("KIVCTL_NAME", name);
    ::SetEnvironmentVariableA("KIVCTL_TEXT", payload);
    std::string line;
    for (const std::string& argument : command)
        line += (line.empty() ? "" : " ") + Quoted(argument);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!::CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
        const DWORD error = ::GetLastError();
        std::cerr << "kivctl: '" << command[0] << "' cannot be started: " << ErrorText(error) << "\n";
        SetExitCode(kExitFailed);
        return kNobodyAnswered;
    }
    const kiv::ScopedKernelObject thread(process.hThread);
    const kiv::ScopedKernelObject running(process.hProcess);
    DWORD exitCode = static_cast<DWORD>(kNobodyAnswered);
    ::WaitForSingleObject(running.Get(), INFINITE);
    ::GetExitCodeProcess(running.Get(), &exitCode);
    return static_cast<long>(exitCode);
}

int Handle(const char* name, const char* payload, long* response) {
    const Options& options = *g_listening.options;
    *response = options.command.empty() ? options.response : RunCommand(options.command, name, payload);
    if (options.json)
        std::cout << Json{{"name", Utf8(name)}, {"text", Utf8(payload)}, {"response", *response}}.dump() << std::endl;
    else
        std::cout << (*name == '\0' ? "(no name)" : name) << (*payload == '\0' ? "" : ": ") << payload << " -> "
                  << *response << std::endl;
    return ++g_listening.handled == options.count ? 0 : 1;
}

void Listen(const Options& options) {
    g_listening = {&options, 0};
    CKivNotificationSink sink(options.name.c_str());
    switch (sink.Receive(Handle, options.timeout)) {
    case 0:
        return;
    case 1:
        throw Failure("no notification within " + std::to_string(options.timeout) + " ms");
    default:
        throw Failure("the objects of the line cannot be used, or a source has gone again");
    }
}

Command AddAction(Command ipc, const char* name, const char* help, const SharedOptions& options,
                  void (*run)(const Options&)) {
    Command command = ipc.AddCommand(name, help, options, run);
    command.AddFlag("--json", options->json, "answer as JSON");
    return command;
}

}  // namespace

void AddIpcCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command ipc = program.AddGroup("ipc", "Notifications between two processes of this machine.");
    Command send = AddAction(ipc, "send", "Sends a notification and shows the response.", options, Send);
    send.AddOption("NAME", options->name);
    send.AddOption("TEXT", options->text);
    send.AddOption("--timeout", options->timeout, "milliseconds to wait for a listener to be there (for ever)");
    Command listen = AddAction(ipc, "listen", "Waits for notifications, shows and answers them.", options, Listen);
    listen.AddOption("--name", options->name, "take notifications of this name only, refuse all others");
    listen.AddOption("--timeout", options->timeout, "milliseconds to wait for each notification (for ever)");
    listen.AddOption("--count", options->count, "end after so many notifications");
    listen.AddOption("--response", options->response, "what is answered when no command is run (0)");
    listen.AddOption("COMMAND", options->command,
                     "program to run for each notification, best behind --; its exit code is the response, "
                     "KIVCTL_NAME and KIVCTL_TEXT are in its environment; it must not send notifications itself");
}

}  // namespace kivctl
