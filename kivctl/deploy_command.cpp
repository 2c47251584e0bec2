#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "kivctl/command.h"
#include "kivctl/late_probes.h"
#include "kivctl/password.h"
#include "kivctl/service_view.h"
#include "support/characters.h"
#include "support/code_page.h"
#include "support/win32_error.h"
#include "tavkivut/file.h"
#include "tavkivut/install_service.h"

namespace kivctl {
namespace {

constexpr int kDeleteAttempts = 30;   // of a program that is about to end
constexpr DWORD kDeletePeriod = 100;  // milliseconds

struct Options {
    std::string computer;
    std::string account;
    std::string startType = "demand";
    std::string arguments;
    bool password = false;
    bool everyone = false;
    bool start = false;
    bool files = false;
    bool json = false;

    bool IsLocal() const { return computer.empty(); }
    const char* Computer() const { return IsLocal() ? nullptr : computer.c_str(); }
};

// What a status long says, where it does not say success.
void Require(long status, const std::string& what) {
    if (status == 1)
        throw Failure(what + ": not yet");
    const auto bits = static_cast<unsigned long>(status);
    if (bits >> 16U == 0x8007)
        Fail(what, bits & 0xFFFFU);
    if (status != 0)
        throw Failure(what + "; the log tells why");
}

CKivInstallService ServiceOf(const Options& options) {
    return {options.Computer(), kKivInstallServiceName, kKivInstallServiceExe, kKivInstallServiceDisplay,
            kKivInstallServiceDesc};
}

// The service as the service manager of the computer knows it.
class InstalledService : public CNTScmService {
public:
    InstalledService(const Options& options, unsigned long access) {
        CNTServiceControlManager manager;
        if (!manager.Open(options.Computer(), SC_MANAGER_CONNECT) ||
            !manager.OpenServiceA(kKivInstallServiceName, access, *this))
            Fail("the service cannot be opened", manager.GetLastError());
    }

    unsigned long State() const {
        SERVICE_STATUS status{};
        return QueryStatus(status) ? status.dwCurrentState : 0;
    }
};

struct Configuration {
    std::string program;  // without quotes
    std::string account;
    unsigned long startType = 0;
};

Configuration ConfigurationOf(const CNTScmService& service) {
    QUERY_SERVICE_CONFIGA* config = nullptr;
    if (!service.QueryConfig(config))
        Fail("the service does not tell its configuration", ::GetLastError());
    const auto text = [](const char* known) { return std::string(known != nullptr ? known : ""); };
    Configuration found{text(config->lpBinaryPathName), text(config->lpServiceStartName), config->dwStartType};
    std::free(config);
    if (!found.program.empty() && found.program.front() == '"')
        found.program = found.program.substr(1, found.program.find('"', 1) - 1);
    return found;
}

// "1.0.0.0"; "none" where there is no version, or no file.
std::string VersionOf(const Options& options, const std::string& program) {
    CKivFileVersion version;
    if (options.IsLocal())
        CKivFile::GetVersion(program.c_str(), version);
    else
        GetRemoteFileVersion(options.Computer(), program.c_str(), version.Major, version.Minor, version.Build,
                             version.Revision);
    return version.IsValid() ? version.GetVersionString() : "none";
}

void Start(CKivInstallService& service, const Options& options) {
    Require(service.StartServiceA(options.arguments.c_str()), "the service does not start");
    std::cout << "started\n";
}

// From this program's folder, whatever is there already.
void InstallHere(const Options& options, const char* password) {
    if (CreateInstallationService(options.account.c_str(), password) == 0)
        throw Failure("the service is not installed, or not open to everyone; the log tells why");
}

// From the installation server, what is newer.
void InstallFromServer(CKivInstallService& service, const Options& options, char* password) {
    const LateProbes probes;
    std::string account = options.account;
    Require(service.MakeUptodate(), "the files cannot be brought up to date");
    Require(service.InstallService(account.data(), password, StartTypeOf(options.startType)),
            "the service cannot be installed");
    if (options.everyone)
        Require(service.AllowEveryoneToStartService(), "the service cannot be opened to everyone");
}

void Install(const Options& options) {
    if (options.IsLocal() && (options.everyone || options.startType != "demand"))
        throw UsageError("--everyone and --start-type go with --computer");
    std::optional<Password> password;
    if (options.password)
        password.emplace();
    CKivInstallService service = ServiceOf(options);
    if (options.IsLocal())
        InstallHere(options, password ? password->Text() : nullptr);
    else
        InstallFromServer(service, options, password ? password->Text() : nullptr);
    std::cout << "installed " << ConfigurationOf(InstalledService(options, SERVICE_QUERY_CONFIG)).program << "\n";
    if (options.start)
        Start(service, options);
}

void Update(const Options& options) {
    const LateProbes probes;
    CKivInstallService service = ServiceOf(options);
    const InstalledService installed(options, SERVICE_QUERY_CONFIG | SERVICE_QUERY_STATUS);
    const std::string program = ConfigurationOf(installed).program;
    const std::string before = VersionOf(options, program);
    const unsigned long state = installed.State();
    const bool wasRunning = state != SERVICE_STOPPED && state != SERVICE_STOP_PENDING;
    if (state != SERVICE_STOPPED)
        Require(service.IsStopped(), "the service does not stop");
    const long updated = service.MakeUptodate();
    const std::string after = VersionOf(options, program);
    std::cout << program << ": " << before << (after == before ? "" : " -> " + after) << "\n";
    if (wasRunning)
        Start(service, options);
    Require(updated, "the files cannot be brought up to date");
}

// A program that was told to stop keeps its file for a moment.
void Delete(const std::string& path, const std::string& shown) {
    for (int attempt = 0; !::DeleteFileA(path.c_str()); ++attempt) {
        const DWORD error = ::GetLastError();
        if (kiv::IsNotFound(error))
            return;
        if (attempt == kDeleteAttempts)
            Fail("'" + shown + "' cannot be deleted", error);
        ::Sleep(kDeletePeriod);
    }
    std::cout << "deleted " << shown << "\n";
}

// The program and the library beside it, on another computer through a share of their folder.
void DeleteFiles(const Options& options, const std::string& program) {
    const std::string folder = program.substr(0, kiv::LastBackslash(program, kiv::IsAnsiLeadByte));
    CKivRemoteShare share(options.Computer());
    share.SetLocalPath(folder.c_str());
    if (!options.IsLocal() && !share.OpenShare())
        Fail("the folder '" + folder + "' cannot be shared", ::GetLastError());
    const std::string reached = options.IsLocal() ? folder : share.GetUNCName();
    for (const char* const name : {kKivInstallServiceExe, kKivInstallServiceLog})
        Delete(reached + "\\" + name, folder + "\\" + name);
}

void Remove(const Options& options) {
    std::string program;
    {
        const InstalledService installed(options, SERVICE_ALL_ACCESS);
        program = ConfigurationOf(installed).program;
        Require(ServiceOf(options).IsStopped(), "the service does not stop");
        if (!installed.Delete())
            Fail("the service cannot be deleted", ::GetLastError());
    }
    std::cout << "removed " << kKivInstallServiceName << "\n";
    if (options.files)
        DeleteFiles(options, program);
}

void Status(const Options& options) {
    const long status = ServiceOf(options).IsInstalled();
    if (status == static_cast<long>(0x80070424)) {  // no such service
        std::cout << (options.json ? "{\"installed\":false}" : "not installed") << "\n";
        SetExitCode(kExitFailed);
        return;
    }
    Require(status, "the service cannot be opened");
    const InstalledService installed(options, SERVICE_QUERY_CONFIG | SERVICE_QUERY_STATUS);
    const Configuration config = ConfigurationOf(installed);
    const std::string state = StateName(installed.State());
    const std::string version = VersionOf(options, config.program);
    if (options.json) {
        std::cout << nlohmann::ordered_json{{"installed", true},
                                            {"state", state},
                                            {"program", Utf8(config.program)},
                                            {"version", version},
                                            {"account", Utf8(config.account)}}
                         .dump()
                  << "\n";
        return;
    }
    std::cout << "State    " << state << "\nProgram  " << config.program << "\nVersion  " << version << "\nAccount  "
              << config.account << "\n";
}

using SharedOptions = std::shared_ptr<Options>;

Command AddAction(Command deploy, const char* name, const char* help, const SharedOptions& options,
                  void (*run)(const Options&)) {
    Command command = deploy.AddCommand(name, help, options, run);
    command.AddOption("--computer", options->computer, "that computer, \".\" is this one; without it: this one");
    return command;
}

void AddArguments(Command command, const SharedOptions& options) {
    command.AddOption("--arguments", options->arguments, "one text with the start arguments of the service");
}

}  // namespace

void AddDeployCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command deploy = program.AddGroup("deploy", "The installer service on this computer or another.");

    Command install = AddAction(deploy, "install",
                                "Installs it: without --computer from this program's folder, overwriting; with it "
                                "from the installation server, what is newer.",
                                options, Install);
    install.AddOption("--account", options->account, "the account that it runs under; it gets its rights");
    install.AddFlag("--password", options->password, "read the account's password from the standard input");
    install.AddOption("--start-type", options->startType).OneOf({"auto", "demand", "disabled"});
    install.AddFlag("--everyone", options->everyone, "open it to everyone, who may then change it too");
    install.AddFlag("--start", options->start, "start it afterwards");
    AddArguments(install, options);

    Command update =
        AddAction(deploy, "update", "Copies what is newer on the installation server; restarts it where it ran.",
                  options, Update);
    AddArguments(update, options);

    Command start = AddAction(deploy, "start", "Starts it.", options, [](const Options& chosen) {
        CKivInstallService service = ServiceOf(chosen);
        Start(service, chosen);
    });
    AddArguments(start, options);

    AddAction(deploy, "remove", "Stops and removes it.", options, Remove)
        .AddFlag("--files", options->files, "its program and the library beside it too");
    AddAction(deploy, "status", "Shows it; exit code 1 when it is not installed.", options, Status)
        .AddFlag("--json", options->json, "answer as JSON");
}

}  // namespace kivctl
