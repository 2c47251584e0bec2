// The deployment of the installer service, with the system's own service manager, in a prefix that has shares and that
// is thrown away afterwards.

#include "install/service_api.h"

#include <cstddef>
#include <cstdlib>
#include <string>
#include <vector>

#include "network/net_api.h"
#include "security/object_security.h"
#include "support/check.h"
#include "support/recording_log.h"
#include "support/registry_data.h"
#include "support/resource_count.h"
#include "support/scripted_clock.h"
#include "support/sddl_text.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "tavkivut/crypt.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/install_service.h"
#include "tavkivut/registry.h"
#include "tavkivut/security.h"
#include "tavkivut/system.h"

using kiv::test::RecordingLog;
using kiv::test::ScriptedClock;
using kiv::test::SwappedApi;
using kiv::test::TempDirectory;
using kiv::test::WriteFileBytes;
using Lines = std::vector<std::string>;

struct CKivInstallServiceLayout {
    static_assert(offsetof(CKivInstallService, m_computer) == 0);
    static_assert(offsetof(CKivInstallService, m_description) == 4 * sizeof(void*));
    static_assert(offsetof(CKivInstallService, m_initialized) == 5 * sizeof(void*));
    static_assert(offsetof(CKivInstallService, m_manager) == 6 * sizeof(void*));
    static_assert(offsetof(CKivInstallService, m_share) ==
                  offsetof(CKivInstallService, m_manager) + sizeof(CNTServiceControlManager));
};

namespace {

constexpr char kName[] = "TAVInstallerSvc";
constexpr char kGeneral[] = "HKLM\\Software\\TAV\\TAVSetup\\General";

Lines Concat(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The lines about the four rights.
Lines RightLines(const std::string& account, bool granted) {
    const std::string start = granted ? "1  Security : allowed " : "1E Security : failed to allow ";
    return {start + account + " to logon as service", start + account + " to logon interactively",
            start + account + " to act as part of system", start + account + " to replace process-level token"};
}

// The service as the system has it. It and the workstation directory are gone at the end.
struct Installed {
    CNTServiceControlManager manager;
    CNTScmService service;

    Installed() {
        REQUIRE(manager.Open(nullptr, SC_MANAGER_ALL_ACCESS));
        REQUIRE(manager.OpenServiceA(kName, SERVICE_ALL_ACCESS, service));
    }
    ~Installed() {
        if (State() != SERVICE_STOPPED) {
            service.Stop();
            CHECK(service.WaitForStop(10000));
        }
        CHECK(service.Delete());
        CKivRegKey(nullptr, kGeneral)["TAVwkstaPath"].remove();
        kiv::test::RemoveTree(CKivSystem::GetWinDir() + std::string("\\TAVwksta"));
    }

    DWORD State() const {
        SERVICE_STATUS status{};
        CHECK(service.QueryStatus(status));
        return status.dwCurrentState;
    }
    void WaitUntilRunning() const {
        while (State() == SERVICE_START_PENDING)
            ::Sleep(1);
        REQUIRE(State() == SERVICE_RUNNING);
    }
};

// Puts a function in a table that is refused.
template <class Result, class... Parameters>
void Refuse(Result(WINAPI*& function)(Parameters...)) {
    function = [](Parameters...) WINAPI -> Result { return ::SetLastError(ERROR_ACCESS_DENIED), Result{}; };
}

}  // namespace

TEST_CASE("what fails on this computer is told, and nothing stays open") {
    CHECK(kiv::test::LeavesNothing([] {
        const RecordingLog log;
        SwappedApi<kiv::ServiceApi> services;
        Refuse(services->createService);
        Refuse(services->openService);
        CHECK(CreateInstallationService("no such account", "password") == 0);
        Refuse(services->openManager);
        CHECK(CreateInstallationService(nullptr, nullptr) == 0);
        services->openManager = nullptr;
        CHECK(CreateInstallationService(nullptr, nullptr) == 0);
        CHECK(log.Lines() ==
              Concat(RightLines("no such account", false),
                     {"1E Cannot create service (5)", "1E Cannot open SCM (5)", "1E Cannot open SCM (120)"}));
    }));
    REQUIRE(CreateInstallationService(nullptr, nullptr) == 1);
    const Installed installed;
    const RecordingLog log;
    SwappedApi<kiv::ServiceApi> services;
    SwappedApi<kiv::ObjectSecurityApi> security;
    Refuse(services->changeConfig);
    Refuse(security->setService);
    CHECK(CreateInstallationService(nullptr, nullptr) == 0);
    CHECK(log.Lines() == Lines{"1E Cannot create service (1073)", "1E Cannot configure service (5)",
                               "1E Failed to allow everyone access to the service (5)"});
}

namespace {

// An installation server with a setup folder, which becomes the session's.
struct Server {
    TempDirectory folder;
    std::string setup = folder.Path() + "\\Setup\\";

    explicit Server(const std::string& config) {
        ::CreateDirectoryA(setup.c_str(), nullptr);
        WriteFileBytes(setup + "TavSetup.cfg", config);
        CKivInstServer::SetSessionServerPath(folder.Path().c_str());
    }
    ~Server() { CKivInstServer::SetSessionServerPath(""); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
};

CKivInstallService TheService(const char* computer = nullptr) {
    return {computer, kName, "tavkivis.exe", "The display name", "The description"};
}

constexpr long kFail = static_cast<long>(0x80004005);

void WINAPI SleepShortly(DWORD) {
    ::Sleep(30);
}

BOOL WINAPI AlwaysRunning(SC_HANDLE, SERVICE_STATUS* status) {
    *status = {SERVICE_WIN32_OWN_PROCESS, SERVICE_RUNNING, 0, 0, 0, 0, 0};
    return TRUE;
}

}  // namespace

TEST_CASE("a service stops, or takes its time") {
    REQUIRE(CreateInstallationService(nullptr, nullptr) == 1);
    const Installed installed;
    const RecordingLog log;
    CKivInstallService service = TheService(".");
    REQUIRE(service.StartServiceA("/work:0") == 0);
    installed.WaitUntilRunning();
    {
        SwappedApi<kiv::ServiceApi> services;
        services->queryStatus = AlwaysRunning;
        Refuse(services->controlService);
        const ScriptedClock clock;
        CHECK(service.IsStopped() == 1);
        CHECK(clock.Sleeps() == std::vector<DWORD>(25, 300));
        CHECK(service.InstallService(nullptr, nullptr, SERVICE_DEMAND_START) == kFail);
    }
    {
        static std::vector<DWORD> s_states;  // the next one last
        s_states = {SERVICE_STOPPED, SERVICE_RUNNING, SERVICE_START_PENDING, SERVICE_START_PENDING};
        SwappedApi<kiv::ServiceApi> services;
        services->queryStatus = [](SC_HANDLE, SERVICE_STATUS* status) WINAPI -> BOOL {
            status->dwCurrentState = s_states.back();
            s_states.pop_back();
            return TRUE;
        };
        services->controlService = [](SC_HANDLE, DWORD, SERVICE_STATUS*) WINAPI -> BOOL {
            ::SetLastError(ERROR_SERVICE_CANNOT_ACCEPT_CTRL);
            return s_states.size() == 1 ? TRUE : FALSE;
        };
        const ScriptedClock clock;
        CHECK((service.IsStopped() == 0 && s_states.empty()));
    }
    const std::string early = "1E Failed in call to ControlService in Stop (1061)";
    const std::string refused = "1E Failed in call to ControlService in Stop (5)";
    const std::string notStopped = "1  Serivce status is ! NOT ! STOPPED";
    SwappedApi<kiv::ClockApi> quickClock;
    quickClock->sleep = SleepShortly;
    CHECK(service.IsStopped() == 0);
    CKivSid user = CKivSid::FromProcessUser(::GetCurrentProcess());
    std::string account = std::string(".\\") + user.GetName();
    std::string password = "a password that no line shows";
    CHECK(service.InstallService(account.data(), password.data(), SERVICE_AUTO_START) == 0);
    const std::string change = "1  The service is allready installed; user and pwd will be changed";
    const std::string stopped = "1  Serivce status is STOPPED";
    CHECK(log.Lines() ==
          Concat(Concat({"1  Successfully started service using \"/work:0\"", refused, notStopped, change, refused,
                         notStopped, "1E Could not stop service in order to change config.", early, stopped, stopped},
                        RightLines(account, true)),
                 {change, stopped}));
    QUERY_SERVICE_CONFIGA* config = nullptr;
    REQUIRE(installed.service.QueryConfig(config));
    CHECK(config->lpServiceStartName == account);
    CHECK(config->dwStartType == SERVICE_AUTO_START);
    std::free(config);
}

namespace {

std::vector<DWORD> g_startErrors;  // of the next starts, the last one first
Lines g_startArguments;

BOOL WINAPI StartAsScripted(SC_HANDLE, DWORD argc, const char** argv) {
    g_startArguments.assign(argv, argv + argc);
    const DWORD error = g_startErrors.empty() ? 0 : g_startErrors.back();
    g_startErrors.resize(g_startErrors.empty() ? 0 : g_startErrors.size() - 1);
    ::SetLastError(error);
    return error == ERROR_SUCCESS;
}

}  // namespace

TEST_CASE("a start is repeated as long as the service database is locked") {
    REQUIRE(CreateInstallationService(nullptr, nullptr) == 1);
    const Installed installed;
    SwappedApi<kiv::ServiceApi> services;
    services->startService = StartAsScripted;
    const std::string failed = "1E Installation service : failed to start service (";
    const std::string started = "1  Successfully started service using \"";
    const struct {
        const char* arguments;
        std::vector<DWORD> errors;
        std::size_t sleeps;
        Lines lines;
        Lines split;
    } rows[] = {
        {"/a \"b c\"", {}, 0, {started + "/a \"b c\"\""}, {"/a", "\"b c\""}},
        {nullptr, {1055, 1055}, 2, {failed + "1055)", started + "\""}, {}},
        {"", {1058, 1055}, 1, {failed + "1055)"}, {}},
        {"", {1058}, 0, {failed + "1058)"}, {}},
        {"",
         std::vector<DWORD>(11, 1055),
         10,
         {failed + "1055)", "1E Installation service : service database locked, 10000ms timeout"},
         {}},
    };
    for (const auto& row : rows) {
        const RecordingLog log;
        const ScriptedClock clock;
        g_startErrors = row.errors;
        const bool succeeds = row.lines.back().find(started) == 0;
        CHECK(TheService().StartServiceA(row.arguments) == (succeeds ? 0 : kFail));
        CHECK(clock.Sleeps() == std::vector<DWORD>(row.sleeps, 1000));
        CHECK(log.Lines() == row.lines);
        CHECK(g_startArguments == row.split);
    }
}

TEST_CASE("an update that cannot begin changes nothing") {
    const auto failure = [](const char* config) {
        const Server server(config);
        const RecordingLog log;
        SwappedApi<kiv::ServiceApi> services;
        Refuse(services->openManager);
        CHECK(TheService().MakeUptodate() == kFail);
        return log.Lines().back();
    };
    CHECK(failure("[Other]\r\na=b\r\n") ==
          "1E CKivInstallService::MakeUptodate: No Files to install found in cfg file");
    CHECK(failure("[Files]\r\na=b\r\n") == "1E Could not open remote SCM; Service installation must be aborted");
    CKivRegKey refusing;
    REQUIRE(refusing.create("HKLM\\Software\\TavShareStandIn\\refusing", KEY_ALL_ACCESS, REG_OPTION_VOLATILE));
    refusing["Refuse"] = 1UL;
    const RecordingLog log;
    unsigned short part = 77;
    CHECK_FALSE(GetRemoteFileVersion("refusing", "C:\\windows\\a.exe", part, part, part, part));
    CHECK(log.Lines() == Lines{"1E GetRemoteFileVersion: Could not create share"});
    CHECK_FALSE(GetRemoteFileVersion(nullptr, "C:\\windows\\a.exe", part, part, part, part));
    CHECK((part == 77 && log.Lines().size() == 1));
}

TEST_CASE("texts have limits, and copies their own connections") {
    CKivInstallService service(nullptr, kName, "", "display", "description");
    CHECK_FALSE(service.ServiceDataInitialized());
    CHECK(service.MakeUptodate() == kFail);
    CHECK(service.InstallService(nullptr, nullptr, 3) == kFail);
    CHECK(service.StartServiceA("") == kFail);
    const std::string longest(256, 'x');
    const std::string longestPath(259, 'x');
    CHECK_FALSE(
        (service.SetServiceName((longest + "x").c_str()) || service.SetServiceDisplay((longest + "x").c_str())));
    CHECK_FALSE((service.SetServiceDesc((longestPath + "x").c_str()) || service.SetTargetComputer(nullptr)));
    CHECK((service.SetServiceName(longest.c_str()) && service.SetServiceDisplay(longest.c_str())));
    CHECK((service.SetServiceExeName(longestPath.c_str()) && service.SetTargetComputer(longestPath.c_str())));
    CHECK(service.ServiceDataInitialized());

    REQUIRE(CreateInstallationService(nullptr, nullptr) == 1);
    const Installed installed;
    CHECK(kiv::test::LeavesNothing([&service] {
        CKivInstallService first = TheService();
        CHECK(first.InstallService(nullptr, nullptr, 3) == 0);
        const CKivInstallService copy = first;
        service = copy;
        CHECK(service.IsInstalled() == 0);
        service.SetTargetComputer("elsewhere");
    }));
}

TEST_CASE("credentials are kept encrypted, for administrators") {
    const RecordingLog log;
    constexpr char kRestricted[] = "D:(A;OICI;GA;;;BA)";
    for (const std::size_t length : {0, 257, 1, 256}) {
        const bool isProper = length == 1 || length == 256;
        std::string password(length, 'p');
        CHECK(SaveServiceUserCredentials(nullptr, "DOMAIN\\installer", password.data()) == isProper);
        CKivRegKey key(nullptr, "HKLM\\Software\\TAV\\TAVSetup\\tavkivds\\UData", nullptr, KEY_READ);
        char clear[kKivClearTextLimit + 1] = "";
        CHECK((CKivDecryptData::Decrypt(key["dopw"], clear, sizeof clear) != 0) == isProper);
        CHECK(clear == (isProper ? password : ""));
        CHECK((CKivDecryptData::Decrypt(key["down"], clear, sizeof clear) != 0) == isProper);
        CHECK(clear == std::string(isProper ? "DOMAIN\\installer" : ""));
        if (isProper)
            CHECK(kiv::test::SddlOfKey(key) == kRestricted);
    }
    CHECK(Save_DS_SupportedServerList(nullptr, "SRV1;SRV2"));
    const CKivRegKey list(nullptr, "HKLM\\Software\\TAV\\TAVSetup\\tavkivds\\ServerList", nullptr, KEY_READ);
    CHECK(kiv::test::Data(list, "ServerList") == std::string("1:SRV1;SRV2\0", 12));
    CHECK(kiv::test::SddlOfKey(list) == kRestricted);
    CHECK(log.Lines().empty());

    char password[] = "geheim";
    CHECK_FALSE(SaveServiceUserCredentials("no-such-pc", "user", password));
    CHECK_FALSE(Save_DS_SupportedServerList("no-such-pc", "SRV1"));
    SwappedApi<kiv::ObjectSecurityApi> security;
    security->setRegKey = nullptr;
    CHECK(SaveServiceUserCredentials(nullptr, "user", password));
    CHECK(Save_DS_SupportedServerList(nullptr, "SRV1"));
    CHECK_FALSE(SaveServiceUserCredentials(nullptr, nullptr, password));
    CHECK_FALSE(SaveServiceUserCredentials(nullptr, "user", nullptr));
    CHECK_FALSE(Save_DS_SupportedServerList(nullptr, nullptr));
    CHECK(log.Lines() == Lines{"1E Failed to write service user data! THIS IS A CRITICAL ERROR (53)",
                               "1E Failed to write the list of supported Servers! THIS IS A CRITICAL ERROR (53)",
                               "1E Could not change reg key security for Service Credentials",
                               "1E Could not change reg key security"});
}
