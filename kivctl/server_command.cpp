#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "install/option_table.h"
#include "kivctl/command.h"
#include "kivctl/echo.h"
#include "kivctl/late_probes.h"
#include "support/ascii.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/path.h"
#include "tavkivut/registry.h"

namespace kivctl {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kBarMilliseconds = 5;  // of one mark
constexpr std::size_t kBarLength = 40;

struct Options {
    std::vector<std::string> paths;
    std::string path;
    std::string name;
    std::string value;
    std::string product;
    EchoLimits echo;
    bool json = false;
};

// The library reads the product off the command line itself, in the installer's own form.
void RequireInstallerForm(const Options& options) {
    if (!options.product.empty() && kiv::FindOption(kiv::ParseOptions(::GetCommandLineA()), "product") == nullptr)
        throw UsageError("the product is given as /product:NAME");
}

std::vector<std::string> ListedServers() {
    std::vector<std::string> servers;
    char path[kKivServerPathSize];
    const unsigned count = CKivInstServer::GetCount();
    for (unsigned i = 0; i < count; ++i) {
        CKivInstServer::GetPath(i, path);
        servers.emplace_back(path);
    }
    return servers;
}

bool IsAvailable(const std::string& server) {
    return CKivInstServer::IsAvailable(server.c_str()) != 0;
}

void List(const Options& options) {
    RequireInstallerForm(options);
    Json answer = Json::array();
    const std::vector<std::string> servers = ListedServers();
    for (std::size_t i = 0; i < servers.size(); ++i) {
        const bool available = IsAvailable(servers[i]);
        answer.push_back({{"path", Utf8(servers[i])}, {"available", available}});
        if (!options.json)
            std::cout << i << "  " << (available ? "available    " : "not available") << "  " << servers[i] << "\n";
    }
    if (options.json)
        std::cout << answer.dump(2) << "\n";
}

std::string Bar(const EchoResult& result) {
    const std::size_t marks = result.Average() / kBarMilliseconds + 1;
    return marks <= kBarLength ? std::string(marks, '#') : std::string(kBarLength - 1, '#') + '>';
}

void PrintProbe(const std::string& server, const EchoResult& result) {
    std::string verdict = "no answer";
    if (!result.resolved)
        verdict = "host not found";
    else if (result.answered > 0)
        verdict = std::to_string(result.Average()) + " ms";
    if (result.answered > 0 && result.answered < result.sent)
        verdict +=
            ", " + std::to_string(result.sent - result.answered) + " of " + std::to_string(result.sent) + " lost";
    std::printf("%-32s %-*s %s\n", server.c_str(), static_cast<int>(kBarLength),
                result.answered > 0 ? Bar(result).c_str() : "", verdict.c_str());
    std::fflush(stdout);
}

Json ProbeAsJson(const std::string& server, const EchoResult& result) {
    Json entry{{"path", Utf8(server)}, {"sent", result.sent}, {"answered", result.answered}};
    if (result.answered > 0)
        entry["averageMilliseconds"] = result.Average();
    return entry;
}

void Probe(const Options& options) {
    const std::vector<std::string> servers = options.paths.empty() ? ListedServers() : options.paths;
    Json answer = Json::array();
    bool anyAnswered = false;
    for (const std::string& server : servers) {
        const std::optional<EchoResult> result = SendEchoes(server, options.echo);
        if (!result)
            throw Failure("this system has no ICMP echo or no Winsock 2");
        anyAnswered = anyAnswered || result->answered > 0;
        if (options.json)
            answer.push_back(ProbeAsJson(server, *result));
        else
            PrintProbe(server, *result);
    }
    if (options.json)
        std::cout << answer.dump(2) << "\n";
    SetExitCode(anyAnswered ? kExitDone : kExitFailed);
}

void Pick(const Options& options) {
    const LateProbes probes;
    RequireInstallerForm(options);
    char path[kKivServerPathSize];
    char setup[kKivServerPathSize];
    CKivInstServer::GetRandomPath(path);
    CKivInstServer::GetSetupPath(setup, path);
    const bool available = IsAvailable(path);
    if (options.json)
        std::cout << Json{{"path", Utf8(path)}, {"setup", Utf8(setup)}, {"available", available}}.dump() << "\n";
    else
        std::cout << path << (available ? "" : "  (no server is available)") << "\n";
    SetExitCode(available ? kExitDone : kExitFailed);
}

// The list in the registry, which is what add and remove write. The library does not tell whether it could.
std::string RegistryList() {
    CKivRegValue value(nullptr, "HKLM\\Software\\TAV\\TAVSetup\\General", "InstServer", KEY_READ);
    const char* const list = value;
    return list == nullptr ? "" : list;
}

void RequireWritten(const std::string& before) {
    const std::string after = RegistryList();
    if (after == before)
        throw Failure("the registry was not written");
    std::cout << "list in the registry: " << after << "\n";
}

std::optional<unsigned> FindListed(const std::string& path) {
    const std::vector<std::string> servers = ListedServers();
    for (std::size_t i = 0; i < servers.size(); ++i) {
        if (CKivPath::PathIsEqual(servers[i].c_str(), path.c_str()) != 0)
            return static_cast<unsigned>(i);
    }
    return std::nullopt;
}

void Add(const Options& options) {
    if (options.path.find(';') != std::string::npos || options.path.size() >= kKivServerPathSize)
        throw UsageError("a server's path has no \";\" and fewer than 260 characters");
    const std::string before = RegistryList();
    CKivInstServer::AddPath(options.path.c_str());
    if (RegistryList() == before && FindListed(options.path))
        std::cout << "listed already\n";
    else
        RequireWritten(before);
}

// A number of at most four digits; none where the text is something else.
std::optional<unsigned> IndexIn(const std::string& text) {
    const bool isNumber = !text.empty() && text.size() <= 4 && std::all_of(text.begin(), text.end(), kiv::IsDigit);
    return isNumber ? std::optional<unsigned>(static_cast<unsigned>(std::stoul(text))) : std::nullopt;
}

void Remove(const Options& options) {
    std::optional<unsigned> index = IndexIn(options.path);
    if (!index)
        index = FindListed(options.path);
    if (!index || *index >= CKivInstServer::GetCount())
        throw Failure("no such server in the list: " + options.path);
    const std::string before = RegistryList();
    CKivInstServer::RemovePath(*index);
    RequireWritten(before);
}

void GetPolicy(const Options& options) {
    const LateProbes probes;
    std::vector<char> value(65536);
    const unsigned length =
        CKivInstServer::GetServerPolicy(options.name.c_str(), value.data(), static_cast<unsigned>(value.size()));
    if (length == 0)
        throw Failure("no policy " + options.name + " on " + CKivInstServer::GetServerHost());
    if (options.json)
        std::cout << Json{{"value", Utf8(value.data())}}.dump() << "\n";
    else
        std::cout << value.data() << "\n";
}

void SetPolicy(const Options& options) {
    const LateProbes probes;
    if (CKivInstServer::SetServerPolicy(options.name.c_str(), options.value.c_str()) == 0)
        throw Failure("the policy was not written on " + std::string(CKivInstServer::GetServerHost()));
}

// The subcommands that judge servers take the product and may answer as JSON.
Command AddJudging(Command server, const char* name, const char* help, const std::shared_ptr<Options>& options,
                   void (*run)(const Options&)) {
    Command command = server.AddCommand(name, help, options, run);
    command.AddOption("--product", options->product, "the product that must be served, as /product:NAME");
    command.AddFlag("--json", options->json, "answer as JSON");
    return command;
}

void AddProbe(Command server, const std::shared_ptr<Options>& options) {
    Command probe =
        server.AddCommand("probe", "Measures servers with echoes, one server after the other.", options, Probe);
    probe.AddOption("PATH", options->paths, "servers to measure; those of the list by default");
    probe.AddOption("--count", options->echo.count, "echoes for each server").InRange(1, 20);
    probe.AddOption("--timeout", options->echo.timeout, "milliseconds to wait for each").InRange(10, 5000);
    probe.AddFlag("--json", options->json, "answer as JSON");
}

void AddPolicy(Command server, const std::shared_ptr<Options>& options) {
    Command policy = server.AddGroup("policy", "Reads and writes policies of the chosen server.");
    Command get = policy.AddCommand("get", "Shows a policy.", options, GetPolicy);
    get.AddOption("NAME", options->name).Required();
    get.AddFlag("--json", options->json, "answer as JSON");
    Command set = policy.AddCommand("set", "Writes a policy.", options, SetPolicy);
    set.AddOption("NAME", options->name).Required();
    set.AddOption("VALUE", options->value).Required();
}

}  // namespace

void AddServerCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command server = program.AddGroup("server", "Installation servers: the list, the choice, their policies.");
    AddJudging(server, "list", "Shows the list in force, and which servers are available.", options, List);
    AddJudging(server, "pick", "Chooses a server as an installer does.", options, Pick);
    AddProbe(server, options);
    Command add = server.AddCommand("add", "Adds a server to the list in the registry.", options, Add);
    add.AddOption("PATH", options->path).Required();
    Command remove = server.AddCommand("remove", "Writes the list without a server to the registry.", options, Remove);
    remove.AddOption("SERVER", options->path, "its path, or its number in the list").Required();
    AddPolicy(server, options);
}

}  // namespace kivctl
