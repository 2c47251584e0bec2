// The typical run of an installer front end: it asks for the installation server, reads its settings from the
// configuration that the library keeps in step with that server's TavSetup.cfg, deploys the installer service, and
// hands a job to the distribution service.
//
//     front_end [/product:NAME] [/section:NAME] [/deploy:HERE|COMPUTER] [/account:NAME] [/job:FILE] [/cancel] [/remove]
//
// The library itself looks for the option "product" in the command line: only a server that serves that product is
// chosen. The other options are this program's own:
//
//     section    the settings that it prints (General)
//     deploy     where the installer service goes: HERE copies it from this program's folder, whatever is there; for a
//                computer it comes from the installation server, where it is newer, and is started
//     account    the account of the service, the local system without it; its password is the first line of the input
//     job        the descriptor that goes to the distribution service
//     cancel     cancels the distribution service's job
//     remove     takes the installer service away from this computer, and does nothing else
//
// It ends with 1 when something that was asked for failed; the log tells why. So it does, with nothing done, for an
// option that it does not know.

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "tavkivut/tavkivut.h"

namespace {

constexpr char kUsage[] = "usage: front_end [/product:NAME] [/section:NAME] [/deploy:HERE|COMPUTER] [/account:NAME] "
                          "[/job:FILE] [/cancel] [/remove]";
constexpr unsigned long kStopLimit = 10000;  // milliseconds

struct Options {
    std::string section = "General";
    std::string deploy;
    std::string account;
    std::string job;
    bool cancel = false;
    bool remove = false;
};

// "/name:value" puts the value there.
bool TakeValue(const std::string& argument, const std::string& option, std::string& value) {
    if (argument.compare(0, option.size(), option) != 0)
        return false;
    value = argument.substr(option.size());
    return true;
}

// "/name" sets the switch.
bool TakeSwitch(const std::string& argument, const char* option, bool& isSet) {
    isSet = isSet || argument == option;
    return argument == option;
}

// False for an argument that no option takes.
bool ReadOption(const std::string& argument, Options& options) {
    std::string product;  // which the library reads for itself
    return argument.empty() || TakeSwitch(argument, "/cancel", options.cancel) ||
           TakeSwitch(argument, "/remove", options.remove) || TakeValue(argument, "/section:", options.section) ||
           TakeValue(argument, "/deploy:", options.deploy) || TakeValue(argument, "/account:", options.account) ||
           TakeValue(argument, "/job:", options.job) || TakeValue(argument, "/product:", product);
}

// False, with a line about it, for an argument that is none of the options.
bool ReadOptions(Options& options) {
    int argc = 0;
    char** argv = CommandLineToArgv(::GetCommandLineA(), &argc);
    bool isRead = argv != nullptr;
    for (int i = 1; isRead && i < argc; ++i) {
        std::string argument = argv[i];  // with the quotes that keep its blanks
        argument.erase(std::remove(argument.begin(), argument.end(), '"'), argument.end());
        isRead = ReadOption(argument, options);
        if (!isRead)
            std::fprintf(stderr, "front_end: unknown option %s\n%s\n", argument.c_str(), kUsage);
    }
    ReleaseArgs(argv);
    return isRead;
}

void ShowServer() {
    std::printf("installation server: asking %u listed server(s)\n", CKivInstServer::GetCount());
    const DWORD start = ::GetTickCount();
    char server[kKivServerPathSize];
    CKivInstServer::GetPath(server, 0);
    std::printf("installation server: got %s after %lu ms\n", server, ::GetTickCount() - start);

    char setup[kKivServerPathSize];
    CKivInstServer::GetSetupPath(setup, nullptr);
    const char* share = CKivInstServer::GetServerShare();
    std::printf("                     host %s, share %s, setup folder %s%s\n", CKivInstServer::GetServerHost(),
                share == nullptr ? "(none)" : share, setup,
                CKivInstServer::IsFallbackServer(server) != 0 ? " (the fallback: no server is available)" : "");
}

void ShowSettings(CKivConfigMgr& config, const char* section) {
    char** names = nullptr;
    char** values = nullptr;
    const long count = config.GetCfgStrings(section, names, values);
    std::printf("configuration: section %s has %ld setting(s)\n", section, count);
    for (long i = 0; i < count; ++i)
        std::printf("                     %s = %s\n", names[i], values[i] == nullptr ? "(unreadable)" : values[i]);
    config.ReleaseCfgStrings(names, values);
}

// One step of a deployment: 0 is success.
bool Step(const char* what, long status) {
    std::printf("installer service: %s: %s", what, status == 0 ? "done\n" : "failed");
    if (status != 0)
        std::printf(" (0x%08lx)\n", static_cast<unsigned long>(status));
    return status == 0;
}

// A password never stands in a command line, where others could read it.
class Password {
public:
    Password() {
        if (std::fgets(m_text, sizeof m_text, stdin) != nullptr)
            m_text[std::strcspn(m_text, "\r\n")] = '\0';
    }
    ~Password() { ::SecureZeroMemory(m_text, sizeof m_text); }
    Password(const Password&) = delete;
    Password& operator=(const Password&) = delete;

    char* Text() { return m_text; }

private:
    char m_text[260] = "";
};

bool DeployHere(char* account, char* password) {
    return Step("installation on this computer", CreateInstallationService(account, password) == 1 ? 0 : E_FAIL);
}

bool DeployOn(const char* computer, char* account, char* password) {
    CKivInstallService service(computer, kKivInstallServiceName, kKivInstallServiceExe, "Installs TAV applications",
                               "Installs software and patches on locked-down workstations");
    // A program that runs cannot be replaced.
    if (service.IsInstalled() == 0 && !Step("stop", service.IsStopped()))
        return false;
    return Step("files", service.MakeUptodate()) &&
           Step("installation", service.InstallService(account, password, SERVICE_DEMAND_START)) &&
           Step("access for everyone", service.AllowEveryoneToStartService()) &&
           Step("start", service.StartServiceA("/work:200"));
}

bool Deploy(Options& options) {
    if (options.account.empty())
        return options.deploy == "HERE" ? DeployHere(nullptr, nullptr)
                                        : DeployOn(options.deploy.c_str(), nullptr, nullptr);
    Password password;
    return options.deploy == "HERE" ? DeployHere(options.account.data(), password.Text())
                                    : DeployOn(options.deploy.c_str(), options.account.data(), password.Text());
}

// The last error is the code of the service's answer.
bool Tell(const char* what, int result) {
    const DWORD code = ::GetLastError();
    std::printf("distribution service: %s: %s (%lu)\n", what, result == 1 ? "yes" : "no", code);
    return result == 1;
}

// Stops the service and waits until it has ended: its files are free then.
bool RemoveService() {
    CNTServiceControlManager manager;
    CNTScmService service;
    if (!manager.Open(nullptr, SC_MANAGER_CONNECT) ||
        !manager.OpenServiceA(kKivInstallServiceName, SERVICE_ALL_ACCESS, service))
        return false;
    SERVICE_STATUS status{};
    if (!service.QueryStatus(status))
        return false;
    if (status.dwCurrentState != SERVICE_STOPPED && (!service.Stop() || !service.WaitForStop(kStopLimit)))
        return false;
    return service.Delete();
}

bool Remove() {
    if (!Step("removal", RemoveService() ? 0 : E_FAIL))
        return false;
    const std::string folder = KivGetTavWkstaPath(nullptr, nullptr);
    for (const char* file : {kKivInstallServiceExe, kKivInstallServiceLog, "__TAV.DIR"})
        ::DeleteFileA((folder + "\\" + file).c_str());
    CKivRegKey general(nullptr, "HKLM\\Software\\TAV\\TAVSetup\\General", nullptr, KEY_ALL_ACCESS);
    general["TAVwkstaPath"].remove();
    return Step("removal of its folder", ::RemoveDirectoryA(folder.c_str()) ? 0 : E_FAIL);
}

bool Run(Options& options) {
    std::printf("system: %s\n", CKivSystem::GetOsVersionString());
    ShowServer();
    CKivConfigMgr config;  // the first question refreshes the registry when the server's file is newer
    ShowSettings(config, options.section.c_str());
    if (!options.deploy.empty() && !Deploy(options))
        return false;
    if (!options.job.empty() && !Tell("job started", KivDSJobInit(options.job.data(), kKivDsReplySize)))
        return false;
    return !options.cancel || Tell("job cancelled", KivDSJobCancel());
}

}  // namespace

int main() {
    Options options;
    return ReadOptions(options) && (options.remove ? Remove() : Run(options)) ? 0 : 1;
}
