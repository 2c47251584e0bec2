#include "kivctl/service_view.h"

#include <iostream>

#include "kivctl/outcome.h"

namespace kivctl {
namespace {

using Json = nlohmann::ordered_json;

struct NamedNumber {
    unsigned long number;
    const char* name;
};

constexpr NamedNumber kStates[] = {
    {SERVICE_STOPPED, "stopped"}, {SERVICE_START_PENDING, "starting"},      {SERVICE_STOP_PENDING, "stopping"},
    {SERVICE_RUNNING, "running"}, {SERVICE_CONTINUE_PENDING, "continuing"}, {SERVICE_PAUSE_PENDING, "pausing"},
    {SERVICE_PAUSED, "paused"},
};
constexpr NamedNumber kTypes[] = {
    {SERVICE_KERNEL_DRIVER, "kernel driver"},
    {SERVICE_FILE_SYSTEM_DRIVER, "file system driver"},
    {SERVICE_WIN32_OWN_PROCESS, "own process"},
    {SERVICE_WIN32_SHARE_PROCESS, "shared process"},
};
constexpr NamedNumber kStartTypes[] = {
    {SERVICE_AUTO_START, "auto"}, {SERVICE_DEMAND_START, "demand"}, {SERVICE_DISABLED, "disabled"},
    {SERVICE_BOOT_START, "boot"}, {SERVICE_SYSTEM_START, "system"},
};
constexpr NamedNumber kErrorControls[] = {
    {SERVICE_ERROR_IGNORE, "ignore"},
    {SERVICE_ERROR_NORMAL, "normal"},
    {SERVICE_ERROR_SEVERE, "severe"},
    {SERVICE_ERROR_CRITICAL, "critical"},
};
constexpr NamedNumber kControls[] = {
    {SERVICE_ACCEPT_STOP, "stop"},
    {SERVICE_ACCEPT_PAUSE_CONTINUE, "pause"},
    {SERVICE_ACCEPT_SHUTDOWN, "shutdown"},
};

template <std::size_t Count>
std::string NameOf(const NamedNumber (&table)[Count], unsigned long number) {
    for (const NamedNumber& named : table)
        if (named.number == number)
            return named.name;
    return std::to_string(number);
}

std::string TypeName(unsigned long type) {
    const bool interactive = (type & SERVICE_INTERACTIVE_PROCESS) != 0;
    return NameOf(kTypes, type & ~static_cast<unsigned long>(SERVICE_INTERACTIVE_PROCESS)) +
           (interactive ? ", interactive" : "");
}

std::vector<std::string> Controls(unsigned long accepted) {
    std::vector<std::string> names;
    for (const NamedNumber& control : kControls)
        if ((accepted & control.number) != 0)
            names.emplace_back(control.name);
    return names;
}

std::string Text(const char* text) {
    return text != nullptr ? text : "";
}

// Names that follow one another, each terminated, with one more terminator at the end.
std::vector<std::string> Names(const char* names) {
    std::vector<std::string> found;
    while (names != nullptr && *names != '\0') {
        found.emplace_back(names);
        names += found.back().size() + 1;
    }
    return found;
}

std::string Join(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

}  // namespace

std::string StateName(unsigned long state) {
    return NameOf(kStates, state);
}

unsigned long StartTypeOf(const std::string& word) {
    for (const NamedNumber& named : kStartTypes)
        if (named.name == word)
            return named.number;
    throw UsageError("no way to start: '" + word + "'");
}

void PrintServices(const std::vector<ListedService>& services, bool json) {
    Json answer = Json::array();
    for (const ListedService& service : services) {
        if (json)
            answer.push_back({{"name", Utf8(service.name)},
                              {"displayName", Utf8(service.displayName)},
                              {"state", StateName(service.state)}});
        else
            std::cout << StateName(service.state) << "  " << service.name << "  " << service.displayName << "\n";
    }
    if (json)
        std::cout << answer.dump() << "\n";
}

void PrintStatus(const std::string& name, const SERVICE_STATUS& status, unsigned long processId, bool json) {
    const std::vector<std::string> controls = Controls(status.dwControlsAccepted);
    const bool stopped = status.dwCurrentState == SERVICE_STOPPED;
    if (json) {
        std::cout << Json{{"name", Utf8(name)},
                          {"state", StateName(status.dwCurrentState)},
                          {"type", TypeName(status.dwServiceType)},
                          {"process", processId},
                          {"accepts", controls},
                          {"exitCode", status.dwWin32ExitCode},
                          {"ownExitCode", status.dwServiceSpecificExitCode},
                          {"waitHint", status.dwWaitHint}}
                         .dump()
                  << "\n";
        return;
    }
    std::cout << "Name:     " << name << "\nState:    " << StateName(status.dwCurrentState)
              << "\nType:     " << TypeName(status.dwServiceType) << "\n";
    if (processId != 0)
        std::cout << "Process:  " << processId << "\n";
    if (!controls.empty())
        std::cout << "Accepts:  " << Join(controls) << "\n";
    if (stopped && status.dwWin32ExitCode == ERROR_SERVICE_SPECIFIC_ERROR)
        std::cout << "Ended:    with " << status.dwServiceSpecificExitCode << " of its own\n";
    else if (stopped && status.dwWin32ExitCode != NO_ERROR)
        std::cout << "Ended:    " << ErrorText(status.dwWin32ExitCode) << "\n";
}

void PrintConfig(const QUERY_SERVICE_CONFIGA& config, bool json) {
    const std::vector<std::string> dependencies = Names(config.lpDependencies);
    const std::string start = NameOf(kStartTypes, config.dwStartType);
    const std::string onError = NameOf(kErrorControls, config.dwErrorControl);
    if (json) {
        Json names = Json::array();
        for (const std::string& name : dependencies)
            names.push_back(Utf8(name));
        std::cout << Json{{"displayName", Utf8(Text(config.lpDisplayName))},
                          {"type", TypeName(config.dwServiceType)},
                          {"start", start},
                          {"onError", onError},
                          {"binary", Utf8(Text(config.lpBinaryPathName))},
                          {"account", Utf8(Text(config.lpServiceStartName))},
                          {"group", Utf8(Text(config.lpLoadOrderGroup))},
                          {"dependsOn", names}}
                         .dump()
                  << "\n";
        return;
    }
    std::cout << "Display name:  " << Text(config.lpDisplayName)
              << "\nType:          " << TypeName(config.dwServiceType) << "\nStart:         " << start
              << "\nOn error:      " << onError << "\nBinary:        " << Text(config.lpBinaryPathName)
              << "\nAccount:       " << Text(config.lpServiceStartName) << "\n";
    if (!Text(config.lpLoadOrderGroup).empty())
        std::cout << "Group:         " << config.lpLoadOrderGroup << "\n";
    if (!dependencies.empty())
        std::cout << "Depends on:    " << Join(dependencies) << "\n";
}

}  // namespace kivctl
