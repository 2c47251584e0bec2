#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kivctl/command.h"
#include "kivctl/descriptor_view.h"
#include "kivctl/password.h"
#include "kivctl/service_view.h"

namespace kivctl {
namespace {

constexpr unsigned long kPollPeriod = 250;  // milliseconds

struct Options {
    std::string machine;
    std::string name;
    std::string state = "all";
    std::optional<std::string> group;
    bool drivers = false;
    std::vector<std::string> arguments;
    unsigned long wait = 0;  // seconds
    std::string start;
    std::string displayName;
    std::string binary;
    std::string account;
    bool password = false;
    bool json = false;
};

class Manager : public CNTServiceControlManager {
public:
    Manager(const Options& options, unsigned long access) {
        if (!Open(options.machine.empty() ? nullptr : options.machine.c_str(), access))
            Fail("the service manager cannot be opened", GetLastError());
    }
};

class Service : public CNTScmService {
public:
    Service(const Options& options, unsigned long access) : m_name(options.name) {
        const Manager manager(options, SC_MANAGER_CONNECT);
        if (!manager.OpenServiceA(options.name.c_str(), access, *this))
            Fail("'" + m_name + "' cannot be opened", manager.GetLastError());
    }

    // What an operation answered, whose error is still the thread's last error.
    void Require(bool done, const char* what) const {
        if (!done)
            Fail("'" + m_name + "' " + what, ::GetLastError());
    }

    SERVICE_STATUS Status() const {
        SERVICE_STATUS status{};
        Require(QueryStatus(status), "does not tell its state");
        return status;
    }

    // Says where the service is now, and that it is not there yet while it takes its time.
    void ShowState() const { std::cout << m_name << ": " << StateName(Status().dwCurrentState) << "\n"; }
    void ShowProgress(unsigned long seconds) const {
        std::cerr << m_name << ": " << StateName(Status().dwCurrentState) << " for " << seconds << " s\n";
    }

private:
    std::string m_name;
};

// The data word of the library's lists is too small for a pointer on 64-bit systems.
std::vector<ListedService> g_listed;

const SERVICE_STATUS& StatusOf(const ENUM_SERVICE_STATUSA& record) {
    return record.ServiceStatus;
}
const SERVICE_STATUS_PROCESS& StatusOf(const ENUM_SERVICE_STATUS_PROCESSA& record) {
    return record.ServiceStatusProcess;
}

template <class Record>
bool AddListed(unsigned long, Record& record) {
    // Some systems have no display name where none was given, others the service's own name.
    const char* const display = record.lpDisplayName != nullptr ? record.lpDisplayName : record.lpServiceName;
    g_listed.push_back({record.lpServiceName, display, StatusOf(record).dwCurrentState});
    return true;
}

void List(const Options& options) {
    Manager manager(options, SC_MANAGER_ENUMERATE_SERVICE);
    const unsigned long type = options.drivers ? SERVICE_DRIVER : SERVICE_WIN32;
    const unsigned long state = options.state == "all"      ? SERVICE_STATE_ALL
                                : options.state == "active" ? SERVICE_ACTIVE
                                                            : SERVICE_INACTIVE;
    const bool done = options.group ? manager.EnumServices(type, state, options.group->c_str(), 0,
                                                           AddListed<ENUM_SERVICE_STATUS_PROCESSA>)
                                    : manager.EnumServices(type, state, 0, AddListed<ENUM_SERVICE_STATUSA>);
    if (!done)
        Fail("the services cannot be listed", manager.GetLastError());
    PrintServices(g_listed, options.json);
}

void ListDependents(const Options& options) {
    const Service service(options, SERVICE_ENUMERATE_DEPENDENTS);
    service.Require(service.EnumDependents(SERVICE_STATE_ALL, 0, AddListed<ENUM_SERVICE_STATUSA>),
                    "does not tell what depends on it");
    PrintServices(g_listed, options.json);
}

void Show(const Options& options) {
    const Service service(options, SERVICE_QUERY_STATUS);
    const SERVICE_STATUS status = service.Status();
    SERVICE_STATUS_PROCESS extended{};
    service.QueryStatus(extended);  // since Windows 2000
    PrintStatus(options.name, status, extended.dwProcessId, options.json);
}

// Waits so many seconds at most; a service that shall run and has ended is not waited for. Then shows the state.
void AwaitState(const Service& service, unsigned long wanted, unsigned long wait) {
    const unsigned long begin = ::GetTickCount();
    unsigned long shown = 0;
    unsigned long state = service.Status().dwCurrentState;
    for (; state != wanted && state != SERVICE_STOPPED; state = service.Status().dwCurrentState) {
        const unsigned long seconds = (::GetTickCount() - begin) / 1000;
        if (seconds > shown)
            service.ShowProgress(shown = seconds);
        if (seconds >= wait)
            break;
        ::Sleep(kPollPeriod);
    }
    service.ShowState();
    if (wait != 0 && state != wanted)
        SetExitCode(kExitFailed);
}

void Start(const Options& options) {
    const Service service(options, SERVICE_START | SERVICE_QUERY_STATUS);
    std::vector<const char*> arguments;
    for (const std::string& argument : options.arguments)
        arguments.push_back(argument.c_str());
    service.Require(service.Start(static_cast<unsigned long>(arguments.size()), arguments.data()), "does not start");
    AwaitState(service, SERVICE_RUNNING, options.wait);
}

void Stop(const Options& options) {
    Service service(options, SERVICE_STOP | SERVICE_QUERY_STATUS);
    service.Require(service.Stop(), "does not take the stop");
    AwaitState(service, SERVICE_STOPPED, options.wait);
}

void Pause(const Options& options) {
    const Service service(options, SERVICE_PAUSE_CONTINUE | SERVICE_QUERY_STATUS);
    service.Require(service.Pause(), "does not pause");
    service.ShowState();
}

void Continue(const Options& options) {
    const Service service(options, SERVICE_PAUSE_CONTINUE | SERVICE_QUERY_STATUS);
    service.Require(service.Continue(), "does not continue");
    service.ShowState();
}

void Security(const Options& options) {
    const Service service(options, READ_CONTROL);
    void* descriptor = nullptr;
    service.Require(
        service.QueryObjectSecurity(OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                                    descriptor),
        "does not tell its security");
    const CKivSecurityDescriptor sd(descriptor);
    std::free(descriptor);
    if (options.json)
        std::cout << DescriptorAsJson(sd, ObjectKind::kService).dump() << "\n";
    else
        PrintDescriptor(sd, ObjectKind::kService);
}

const char* TextOrNull(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

void ChangeConfig(Service& service, const Options& options) {
    const unsigned long start = options.start.empty() ? SERVICE_NO_CHANGE : StartTypeOf(options.start);
    std::unique_ptr<Password> password;
    if (options.password)
        password = std::make_unique<Password>();
    service.Require(service.ChangeConfig(SERVICE_NO_CHANGE, start, SERVICE_NO_CHANGE, TextOrNull(options.binary),
                                         nullptr, nullptr, nullptr, TextOrNull(options.account),
                                         password ? password->Text() : nullptr, TextOrNull(options.displayName)),
                    "cannot be configured");
}

void Config(const Options& options) {
    const bool change = options.password || !options.start.empty() || !options.binary.empty() ||
                        !options.account.empty() || !options.displayName.empty();
    Service service(options, SERVICE_QUERY_CONFIG | (change ? SERVICE_CHANGE_CONFIG : 0));
    if (change)
        ChangeConfig(service, options);
    QUERY_SERVICE_CONFIGA* config = nullptr;
    service.Require(service.QueryConfig(config), "does not tell its configuration");
    PrintConfig(*config, options.json);
    std::free(config);
}

using Run = void (*)(const Options&);

Command AddVerb(Command command, const std::shared_ptr<Options>& options, const char* name, const char* description,
                Run run) {
    Command verb = command.AddCommand(name, description, options, run);
    verb.AddOption("--machine", options->machine, "another computer");
    return verb;
}

// A verb about one service.
Command AddService(Command command, const std::shared_ptr<Options>& options, const char* name, const char* description,
                   Run run) {
    Command verb = AddVerb(command, options, name, description, run);
    verb.AddOption("NAME", options->name, "of the service, not its display name").Required();
    return verb;
}

void AddJson(Command verb, const std::shared_ptr<Options>& options) {
    verb.AddFlag("--json", options->json, "answer as JSON");
}

void AddWait(Command verb, const std::shared_ptr<Options>& options) {
    verb.AddOption("--wait", options->wait, "seconds to wait for the new state, at most; exit code 1 without it")
        .InRange(1UL, 86400UL);
}

void AddList(Command command, const std::shared_ptr<Options>& options) {
    Command list = AddVerb(command, options, "list", "Lists services with their states.", List);
    list.AddOption("--state", options->state, "all, active or inactive").OneOf({"all", "active", "inactive"});
    list.AddOption("--group", options->group, "of that load-order group only, \"\" for those without");
    list.AddFlag("--drivers", options->drivers, "drivers instead");
    AddJson(list, options);
}

void AddConfig(Command command, const std::shared_ptr<Options>& options) {
    Command config = AddService(command, options, "config", "Shows the configuration, changed where told so.", Config);
    config.AddOption("--start", options->start, "auto, demand, disabled, boot or system");
    config.AddOption("--display", options->displayName, "a new display name");
    config.AddOption("--binary", options->binary, "a new command line of the executable");
    config.AddOption("--account", options->account, "a new account");
    config.AddFlag("--password", options->password, "read the account's password from the standard input");
    AddJson(config, options);
}

}  // namespace

void AddServiceCommand(Command program) {
    auto options = std::make_shared<Options>();
    Command command = program.AddGroup("service", "Services of this computer or another.");
    AddList(command, options);
    AddJson(AddService(command, options, "show", "Shows the state of a service.", Show), options);
    AddConfig(command, options);
    Command start = AddService(command, options, "start", "Starts a service.", Start);
    start.AddOption("ARGUMENTS", options->arguments, "for the service");
    AddWait(start, options);
    AddWait(AddService(command, options, "stop", "Stops a service.", Stop), options);
    AddService(command, options, "pause", "Pauses a service.", Pause);
    AddService(command, options, "continue", "Continues a service that is paused.", Continue);
    AddJson(AddService(command, options, "dependents", "Lists the services that depend on one.", ListDependents),
            options);
    AddJson(AddService(command, options, "security", "Shows owner and access list of a service.", Security), options);
}

}  // namespace kivctl
