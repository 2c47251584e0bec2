// The service classes against the system's own manager, with a service that misbehaves; what that manager never does
// comes from functions in place of its own.

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "install/service_api.h"
#include "network/net_api.h"
#include "support/check.h"
#include "support/document_page.h"
#include "support/recording_log.h"
#include "support/resource_count.h"
#include "support/run_program.h"
#include "support/scripted_clock.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "tavkivut/service_control.h"

using kiv::test::ProgramResult;
using kiv::test::RecordingLog;
using kiv::test::RunProgram;
using kiv::test::ScriptedClock;
using kiv::test::SwappedApi;
using Json = nlohmann::json;
using Lines = std::vector<std::string>;

struct CNTScmServiceLayout {
    static_assert(offsetof(CNTScmService, m_service) == 0 && sizeof(CNTScmService) == sizeof(void*));
};
struct CNTServiceControlManagerLayout {
    static_assert(offsetof(CNTServiceControlManager, m_manager) == 0);
    static_assert(offsetof(CNTServiceControlManager, m_lock) == sizeof(void*));
    static_assert(offsetof(CNTServiceControlManager, m_lastError) == 2 * sizeof(void*));
};

namespace {

// A service that lives as long as the object, whatever it does.
struct TemporaryService {
    CNTServiceControlManager manager;
    CNTScmService service;
    std::string name;
    std::string path = "\"" + kiv::test::BuiltProgram("tests\\misbehaving_service.exe") + "\"";

    TemporaryService()
        : TemporaryService("KivTest" + std::to_string(::GetCurrentProcessId()) + "_" + std::to_string(s_count++)) {}
    explicit TemporaryService(const std::string& serviceName) : name(serviceName) {
        REQUIRE(manager.Open(nullptr, SC_MANAGER_ALL_ACCESS));
        REQUIRE(Create(service));
    }
    ~TemporaryService() {
        if (process != nullptr)
            ::TerminateProcess(process, 1);
        ::CloseHandle(process);
        CHECK(service.Delete());
    }

    bool Create(CNTScmService& out) {
        return out.Create(manager, name.c_str(), name.c_str(), SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                          SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, path.c_str(), nullptr, nullptr, "RPCSS\0",
                          nullptr, nullptr);
    }
    DWORD State() const {
        SERVICE_STATUS status{};
        CHECK(service.QueryStatus(status));
        return status.dwCurrentState;
    }
    void Start(const char* behaviour, const char* waitHint) {
        const char* arguments[] = {behaviour, waitHint};
        REQUIRE(service.Start(2, arguments));
        while (State() == SERVICE_START_PENDING)
            ::Sleep(1);
        SERVICE_STATUS_PROCESS status{};
        CHECK(service.QueryStatus(status));
        process = ::OpenProcess(PROCESS_TERMINATE, FALSE, status.dwProcessId);
        CHECK(process != nullptr);
    }

private:
    HANDLE process = nullptr;
    static inline int s_count = 0;
};

std::string Line(const std::string& text, DWORD error) {
    return "1E " + text + " (" + std::to_string(error) + ")";
}

// What a callback was given; its data word holds no pointer.
std::vector<std::string> g_listed;
template <class Record>
bool Note(unsigned long limit, Record& record) {
    g_listed.emplace_back(record.lpServiceName);
    return g_listed.size() != limit;
}

bool g_accepts;
SERVICE_STATUS g_status;
void* g_security;
QUERY_SERVICE_CONFIGA* g_config;
QUERY_SERVICE_LOCK_STATUSA* g_lock;

}  // namespace

TEST_CASE("a service is made, configured, run, stopped and removed") {
    kiv::test::ResourceCount before{};
    for (int round = 0; round < 2; ++round) {
        before = kiv::test::CountResources();
        const RecordingLog log;
        TemporaryService test;
        CNTScmService& service = test.service;
        ::SetLastError(77);
        CHECK(service.ChangeConfig(SERVICE_NO_CHANGE, SERVICE_AUTO_START, SERVICE_NO_CHANGE, nullptr, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, "Another name"));
        QUERY_SERVICE_CONFIGA* config = nullptr;
        REQUIRE(service.QueryConfig(config));
        CHECK(config->dwStartType == SERVICE_AUTO_START);
        CHECK(config->dwServiceType == SERVICE_WIN32_OWN_PROCESS);
        CHECK(std::string(config->lpBinaryPathName) == test.path);
        CHECK(std::string(config->lpDisplayName) == "Another name");
        std::free(config);
        void* security = nullptr;
        REQUIRE(service.QueryObjectSecurity(DACL_SECURITY_INFORMATION, security));
        CHECK(::IsValidSecurityDescriptor(security));
        CHECK(service.SetObjectSecurity(DACL_SECURITY_INFORMATION, security));
        std::free(security);

        CHECK(service.WaitForStop(0));
        test.Start("stops", "0");
        bool accepts = false;
        CHECK((service.AcceptStop(accepts) && accepts));
        CHECK((service.AcceptShutdown(accepts) && accepts));
        CHECK((service.AcceptPauseContinue(accepts) && accepts));
        CHECK((service.Control(SERVICE_CONTROL_PAUSE) && test.State() == SERVICE_PAUSED));
        CHECK((service.Continue() && test.State() == SERVICE_RUNNING));
        CHECK((service.Pause() && service.Interrogate() && service.Continue()));
        g_listed.clear();
        CHECK(service.EnumDependents(SERVICE_STATE_ALL, 0, Note<ENUM_SERVICE_STATUSA>));
        CHECK(g_listed.empty());
        CHECK((service.Stop() && service.WaitForStop(INFINITE) && test.State() == SERVICE_STOPPED));
        CHECK(::GetLastError() == 77);
        CHECK(log.Lines() == Lines{});
    }
    CHECK(kiv::test::CountResources() == before);
}

TEST_CASE("the manager's lists hold each service once, until the callback has enough") {
    TemporaryService test;
    const auto count = [&] { return std::count(g_listed.begin(), g_listed.end(), test.name); };
    g_listed.clear();
    CHECK(test.manager.EnumServices(SERVICE_WIN32, SERVICE_STATE_ALL, 0, Note<ENUM_SERVICE_STATUSA>));
    CHECK(count() == 1);
    const Lines all = g_listed;
    g_listed.clear();
    CHECK(test.manager.EnumServices(SERVICE_WIN32, SERVICE_STATE_ALL, nullptr, 0, Note<ENUM_SERVICE_STATUS_PROCESSA>));
    CHECK(g_listed == all);
    g_listed.clear();
    CHECK(test.manager.EnumServices(SERVICE_WIN32, SERVICE_STATE_ALL, 2, Note<ENUM_SERVICE_STATUSA>));
    CHECK(g_listed == Lines(all.begin(), all.begin() + 2));
    g_listed.clear();
    CHECK(test.manager.EnumServices(SERVICE_WIN32, SERVICE_ACTIVE, 0, Note<ENUM_SERVICE_STATUSA>));
    CHECK(count() == 0);
}

TEST_CASE("a service that hangs, refuses or dies does not hold the caller") {
    const struct {
        const char* behaviour;
        const char* waitHint;
        DWORD timeout;
        DWORD stopError;
        DWORD waitError;
        std::vector<DWORD> sleeps;
    } rows[] = {
        {"hangs", "0", 25, 0, ERROR_TIMEOUT, {10, 10, 5}},
        {"hangs", "3600000", 1000, 0, ERROR_TIMEOUT, {1000}},
        {"refuses", "0", 1000, ERROR_INVALID_SERVICE_CONTROL, 0, {}},
    };
    for (const auto& row : rows) {
        CAPTURE(row.sleeps.size());
        TemporaryService test;
        test.Start(row.behaviour, row.waitHint);
        const RecordingLog log;
        const ScriptedClock clock(0xFFFFFFF0);  // wraps on the way
        bool accepts = false;
        CHECK((test.service.AcceptStop(accepts) && accepts == (row.stopError == 0)));
        CHECK(test.service.Stop() == (row.stopError == 0));
        ::SetLastError(0);
        const bool stopped = test.service.WaitForStop(row.timeout);
        const DWORD error = ::GetLastError();
        CHECK(stopped == (row.waitError == 0));
        CHECK(error == row.waitError);
        CHECK(clock.Sleeps() == row.sleeps);
        CHECK(log.Lines().size() == (row.stopError == 0 ? 0 : 1));
    }
    TemporaryService test;
    test.Start("dies", "0");
    test.service.Stop();
    const ScriptedClock clock;
    // Windows sees the death at once, Wine never does.
    CHECK(test.service.WaitForStop(1000) == (test.State() == SERVICE_STOPPED));
}

TEST_CASE("the wait for a stop ends with the state, the time or a failure") {
    struct Status {
        DWORD state;  // 0: the query fails
        DWORD waitHint;
    };
    static std::vector<Status> s_script;
    SwappedApi<kiv::ServiceApi> services;
    services->queryStatus = [](SC_HANDLE, SERVICE_STATUS* status) WINAPI -> BOOL {
        *status = {};
        status->dwCurrentState = s_script.front().state;
        status->dwWaitHint = s_script.front().waitHint;
        s_script.erase(s_script.begin());
        ::SetLastError(ERROR_SERVICE_DOES_NOT_EXIST);
        return status->dwCurrentState != 0;
    };
    services->closeHandle = [](SC_HANDLE) WINAPI -> BOOL { return TRUE; };
    CNTScmService service;
    service.Attach(reinterpret_cast<SC_HANDLE>(&service));
    constexpr DWORD kHour = 3600000;
    const Lines failed = {Line("Failed in call to QueryServiceStatus in QueryStatus", ERROR_SERVICE_DOES_NOT_EXIST)};
    const struct {
        const char* name;
        std::vector<Status> script;
        DWORD timeout;
        DWORD error;
        std::vector<DWORD> sleeps;
        Lines lines;
    } rows[] = {
        {"stopped", {{SERVICE_STOPPED, 50}}, 0, 0, {}, {}},
        {"never told to stop", {{SERVICE_RUNNING, 50}}, 0, 0, {}, {}},
        {"the first query fails", {{0, 0}}, 9, ERROR_SERVICE_DOES_NOT_EXIST, {}, failed},
        {"the second fails", {{SERVICE_STOP_PENDING, 0}, {0, 0}}, 99, ERROR_SERVICE_DOES_NOT_EXIST, {10}, failed},
        {"no limit",
         {{SERVICE_STOP_PENDING, kHour}, {SERVICE_STOP_PENDING, 0}, {SERVICE_STOPPED, 0}},
         INFINITE,
         0,
         {kHour, 10},
         {}},
        {"stopped with the end of the time", {{SERVICE_STOP_PENDING, 50}, {SERVICE_STOPPED, 0}}, 50, 0, {50}, {}},
        {"a time of 0", {{SERVICE_STOP_PENDING, 7}, {SERVICE_STOP_PENDING, 7}}, 0, ERROR_TIMEOUT, {0}, {}},
        {"runs again", {{SERVICE_STOP_PENDING, 20}, {SERVICE_RUNNING, 0}}, 50, 0, {20}, {}},
        {"runs again too late", {{SERVICE_STOP_PENDING, 80}, {SERVICE_RUNNING, 0}}, 50, ERROR_TIMEOUT, {50}, {}},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        s_script = row.script;
        const RecordingLog log;
        const ScriptedClock clock;
        ::SetLastError(0);
        const bool done = service.WaitForStop(row.timeout);
        const DWORD error = ::GetLastError();
        CHECK(done == (row.error == 0));
        CHECK(error == row.error);
        CHECK(clock.Sleeps() == row.sleeps);
        CHECK(log.Lines() == row.lines);
        CHECK(s_script.empty());
    }
}

namespace {

// Every operation, with the text of its failure; only the lines of Open and Unlock are not written without a handle.
struct Operation {
    const char* failure;
    bool (*run)(CNTServiceControlManager& manager, CNTScmService& service);
};
const Operation kOperations[] = {
    {"ChangeServiceConfig in ChangeConfig",
     [](auto&, auto& service) { return service.ChangeConfig(1, 1, 1, "", "", nullptr, "", "", "", ""); }},
    {"ControlService in Control", [](auto&, auto& service) { return service.Control(SERVICE_CONTROL_PARAMCHANGE); }},
    {"ControlService in Stop", [](auto&, auto& service) { return service.Stop(); }},
    {"ControlService in Pause", [](auto&, auto& service) { return service.Pause(); }},
    {"ControlService in Continue", [](auto&, auto& service) { return service.Continue(); }},
    {"ControlService in Interrogate", [](auto&, auto& service) { return service.Interrogate(); }},
    {"ControlService in Start", [](auto&, auto& service) { return service.Start(0, nullptr); }},
    {"QueryStatus in AcceptStop", [](auto&, auto& service) { return service.AcceptStop(g_accepts); }},
    {"QueryStatus in AcceptPauseContinue", [](auto&, auto& service) { return service.AcceptPauseContinue(g_accepts); }},
    {"QueryStatus in AcceptShutdown", [](auto&, auto& service) { return service.AcceptShutdown(g_accepts); }},
    {"QueryServiceStatus in QueryStatus", [](auto&, auto& service) { return service.QueryStatus(g_status); }},
    {"QueryServiceConfig in QueryConfig", [](auto&, auto& service) { return service.QueryConfig(g_config); }},
    {"CreateService in Create",
     [](auto& manager, auto& service) {
         return service.Create(manager, "x", "", 1, 1, 1, 1, "x", "", nullptr, "", "", "");
     }},
    {"DeleteService in Delete", [](auto&, auto& service) { return service.Delete(); }},
    {"SetServiceObjectSecurity in SetObjectSecurity",
     [](auto&, auto& service) { return service.SetObjectSecurity(4, &g_status); }},
    {"QueryServiceObjectSecurity in QueryObjectSecurity",
     [](auto&, auto& service) { return service.QueryObjectSecurity(4, g_security); }},
    {"EnumDependentServices in EnumDependents",
     [](auto&, auto& service) { return service.EnumDependents(3, 0, Note<ENUM_SERVICE_STATUSA>); }},
    {"QueryServiceLockStatus in QueryLockStatus", [](auto& manager, auto&) { return manager.QueryLockStatus(g_lock); }},
    {"EnumServicesStatus in EnumServices",
     [](auto& manager, auto&) { return manager.EnumServices(48, 3, 0, Note<ENUM_SERVICE_STATUSA>); }},
    {"LockServiceDatabase in Lock", [](auto& manager, auto&) { return manager.Lock(); }},
    {"OpenService in OpenService #",
     [](auto& manager, auto& service) { return manager.OpenServiceA("x", 1, service); }},
};

// Runs one operation, which must fail with this error and these lines before its own.
void CheckFailure(std::string failure, DWORD expected, const std::function<bool()>& run) {
    CAPTURE(failure);
    if (failure.back() == '#')
        failure.replace(failure.size() - 1, 1, std::to_string(expected));
    const RecordingLog log;
    ::SetLastError(0);
    const bool done = run();
    const DWORD error = ::GetLastError();
    CHECK_FALSE(done);
    CHECK(error == expected);
    Lines lines;
    if (failure.find(" in Accept") != std::string::npos)
        lines.push_back(Line("Failed in call to QueryServiceStatus in QueryStatus", expected));
    lines.push_back(Line(failure, expected));
    CHECK(log.Lines() == lines);
}

}  // namespace

TEST_CASE("an operation that cannot be done says so and leaves its error") {
    CNTServiceControlManager manager;
    CNTScmService service;
    const auto checkAll = [&](DWORD error) {
        for (const Operation& operation : kOperations)
            CheckFailure(std::string("Failed in call to ") + operation.failure, error,
                         [&] { return operation.run(manager, service); });
        CHECK(manager.GetLastError() == error);
    };
    checkAll(ERROR_INVALID_HANDLE);
    CheckFailure("Failed in call to UnlockServiceDatabase in Unlock", ERROR_INVALID_SERVICE_LOCK,
                 [&] { return manager.Unlock(); });
    REQUIRE(manager.Open(nullptr, SC_MANAGER_ALL_ACCESS));
    CheckFailure("Failed in call to OpenService in OpenService #", ERROR_SERVICE_DOES_NOT_EXIST,
                 [&] { return manager.OpenServiceA("KivNone", SERVICE_QUERY_STATUS, service); });
    CheckFailure("Failed in call to EnumServicesStatusEx in EnumServices", ERROR_INVALID_PARAMETER,
                 [&] { return manager.EnumServices(48, 3, nullptr, 0, nullptr); });
    const char* arguments[] = {"a", nullptr};
    CheckFailure("Failed in call to ControlService in Start", ERROR_INVALID_PARAMETER,
                 [&] { return service.Start(2, arguments); });

    // A system without services, and one without the functions of Windows 2000.
    SwappedApi<kiv::ServiceApi> none(kiv::ServiceApi{});
    SwappedApi<kiv::AdvancedServiceApi> old(kiv::AdvancedServiceApi{});
    checkAll(ERROR_CALL_NOT_IMPLEMENTED);
    const std::string unsupported =
        " function is not supported on this OS. You need to be running at least Windows 2000 to use this function\n";
    SERVICE_STATUS_PROCESS status;
    CheckFailure("QueryServiceStatusEx" + unsupported, ERROR_CALL_NOT_IMPLEMENTED,
                 [&] { return service.QueryStatus(status); });
    CheckFailure("EnumServicesStatusEx" + unsupported, ERROR_CALL_NOT_IMPLEMENTED,
                 [&] { return manager.EnumServices(48, 3, "", 0, Note<ENUM_SERVICE_STATUS_PROCESSA>); });
    const RecordingLog log;
    kiv::AdvancedServiceApi{}.LoadFrom(nullptr);
    CHECK(log.Lines() == Lines{"1E _NTSERV_DATA const: advanced api dll could not be loaded"});
}

TEST_CASE("a list that grows and comes in pieces is whole") {
    static DWORD s_services;
    s_services = 3000;
    SwappedApi<kiv::ServiceApi> services;
    // Some more each time, and never more at once than 256 KB: the rest begins where `resume` says.
    services->enumServices = [](SC_HANDLE, DWORD, DWORD, ENUM_SERVICE_STATUSA* out, DWORD size, DWORD* needed,
                                DWORD* count, DWORD* resume) WINAPI -> BOOL {
        static char s_name[] = "x";
        const DWORD left = (s_services += 7) - *resume;
        CHECK(size <= 256 * 1024);
        *count = std::min<DWORD>(left, size / sizeof *out);
        for (DWORD i = 0; i < *count; ++i)
            out[i] = {s_name, s_name, {0, 0, 0, 0, 0, (*resume)++, 0}};
        *needed = (left - *count) * sizeof *out;
        ::SetLastError(ERROR_MORE_DATA);
        return *count == left;
    };
    CNTServiceControlManager manager;
    REQUIRE(manager.Open(nullptr, SC_MANAGER_ENUMERATE_SERVICE));
    static DWORD s_next;
    s_next = 0;
    CHECK(manager.EnumServices(SERVICE_WIN32, SERVICE_STATE_ALL, 0, [](unsigned long, ENUM_SERVICE_STATUSA& service) {
        return service.ServiceStatus.dwCheckPoint == s_next++;
    }));
    CHECK(s_next == s_services);
}

TEST_CASE("an answer that grows is asked again, one that never fits is given up") {
    static int s_tooSmall;  // so many times
    SwappedApi<kiv::ServiceApi> services;
    services->queryLockStatus = [](SC_HANDLE, QUERY_SERVICE_LOCK_STATUSA* out, DWORD size, DWORD* needed)
                                    WINAPI -> BOOL {
        *needed = size + 40 - size % 3;  // sometimes all, sometimes what is missing
        if (s_tooSmall-- > 0)
            *needed = size / 2 + 40;
        else if (size >= sizeof *out)
            return (out->fIsLocked = 5);
        ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    };
    CNTServiceControlManager manager;
    REQUIRE(manager.Open(nullptr, SC_MANAGER_QUERY_LOCK_STATUS));
    QUERY_SERVICE_LOCK_STATUSA* status = nullptr;
    s_tooSmall = 5;
    CHECK(manager.QueryLockStatus(status));
    CHECK(status->fIsLocked == 5);
    std::free(status);
    s_tooSmall = 1000;
    CheckFailure("Failed in call to QueryServiceLockStatus in QueryLockStatus", ERROR_NOT_ENOUGH_MEMORY,
                 [&] { return manager.QueryLockStatus(status); });
    CHECK(status == nullptr);
}

TEST_CASE("the manager is tried five times") {
    static DWORD s_error;
    static int s_failures;
    static int s_clients;
    SwappedApi<kiv::ServiceApi> services;
    services->openManager = [](LPCSTR, LPCSTR database, DWORD) WINAPI -> SC_HANDLE {
        CHECK(std::string(database) == "ServicesActive");
        ::SetLastError(s_error);
        return s_failures-- > 0 ? nullptr : reinterpret_cast<SC_HANDLE>(&s_failures);
    };
    services->closeHandle = [](SC_HANDLE) WINAPI -> BOOL { return TRUE; };
    SwappedApi<kiv::NetApi> net;
    net->sessionEnum = [](LPWSTR, LPWSTR, LPWSTR, DWORD, BYTE**, DWORD, DWORD*, DWORD*, DWORD*) WINAPI -> DWORD {
        ++s_clients;
        return ERROR_ACCESS_DENIED;
    };
    const struct {
        const char* machine;
        DWORD error;
        int failures;
        std::vector<DWORD> sleeps;
    } rows[] = {
        {"\\\\KIVNONE", RPC_S_CALL_FAILED, 2, {100, 100}},
        {"\\\\KIVNONE", RPC_S_CALL_FAILED, 9, {100, 100, 100, 100}},
        {"\\\\KIVNONE", ERROR_ACCESS_DENIED, 9, {}},
        {nullptr, RPC_S_SERVER_UNAVAILABLE, 9, {}},
    };
    for (const auto& row : rows) {
        const bool opens = row.failures < 5;
        const char* const machine = row.machine != nullptr ? row.machine : "";
        s_error = row.error;
        s_failures = row.failures;
        s_clients = 0;
        Lines expected(static_cast<std::size_t>(std::min(row.failures, 5)),
                       Line(std::string("Attempt to connect to remote registry ") + machine + " failed", row.error));
        if (!opens)
            expected.push_back(Line("Failed in call to OpenSCManager in Open", row.error));
        // A message for the thread is handled at the right error only; a request to quit stays.
        ::PostThreadMessageA(::GetCurrentThreadId(), WM_APP, 0, 0);
        ::PostQuitMessage(3);
        const RecordingLog log;
        const ScriptedClock clock;
        CNTServiceControlManager manager;
        const bool opened = manager.Open(row.machine, SC_MANAGER_CONNECT);
        const DWORD error = ::GetLastError();
        CHECK(opened == opens);
        CHECK((opens || error == row.error));
        CHECK(manager.GetLastError() == (opens ? 0 : row.error));
        CHECK(clock.Sleeps() == row.sleeps);
        CHECK(log.Lines() == expected);
        CHECK(s_clients == (row.machine != nullptr ? std::min(row.failures, 5) : 0));
        std::vector<unsigned> left;
        for (MSG message; ::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);)
            left.push_back(message.message);
        CHECK(left == (row.error == RPC_S_CALL_FAILED ? std::vector<unsigned>{WM_QUIT}
                                                      : std::vector<unsigned>{WM_APP, WM_QUIT}));
    }
}

TEST_CASE("handles and locks have one owner") {
    static std::string s_calls;
    SwappedApi<kiv::ServiceApi> services;
    services->closeHandle = [](SC_HANDLE handle) WINAPI -> BOOL {
        s_calls += *reinterpret_cast<const char*>(handle);
        return TRUE;
    };
    services->lockDatabase = [](SC_HANDLE) WINAPI -> SC_LOCK { return &s_calls; };
    services->unlockDatabase = [](SC_LOCK) WINAPI -> BOOL { return !!(s_calls += "u").size(); };
    char names[] = "abc";
    const auto handle = [&](int i) { return reinterpret_cast<SC_HANDLE>(&names[i]); };
    {
        CNTScmService service;
        service.Attach(handle(0));
        service.Attach(service);
        service = *&service;
        CHECK(s_calls.empty());
        service.Attach(handle(1));
        CHECK(s_calls == "a");
        CNTScmService other(service);
        CHECK(service.Detach() == handle(1));
        CHECK(service == nullptr);
        CNTServiceControlManager manager;
        manager.Attach(handle(2));
        CHECK(manager.Lock());
        CheckFailure("Failed in call to LockServiceDatabase in Lock", ERROR_SERVICE_DATABASE_LOCKED,
                     [&] { return manager.Lock(); });
        CHECK(manager.Unlock());
        CHECK(manager.Lock());
        const CNTServiceControlManager copy = manager;
        CHECK(manager.Detach() == copy);
        CHECK(s_calls == "au");
    }
    CHECK(s_calls == "aucub");
}

TEST_CASE("kivctl service and the example program do what their page says") {
    const kiv::test::DocumentPage page("services.md");
    TemporaryService demo("KivDemo");
    const kiv::test::TempDirectory folder;
    kiv::test::RunKivctlExamples(page.BlockBehind("`KivDemo` is a service"), folder.Path());
    demo.Start("stops", "0");
    const std::string example = kiv::test::BuiltProgram("tests\\services_example.exe");
    CHECK(RunProgram(example + " KivDemo").output == "stopped\n");
    CHECK(RunProgram(example + " KivNone").exitCode == 1);
    CHECK(demo.service.ChangeConfig(SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE,
                                    "\"C:\\Program Files\\Demo\\demo.exe\"", nullptr, nullptr, nullptr, nullptr,
                                    nullptr, nullptr));
    kiv::test::RunKivctlExamples(page.BlockBehind("`config` changes what"), folder.Path());
}

TEST_CASE("kivctl service tells of a service that does not stop") {
    TemporaryService test;
    const std::string program = "\"" + kiv::test::BuiltProgram("bin\\kivctl.exe") + "\" service ";
    const auto kivctl = [&](const std::string& verb, const std::string& arguments = "") {
        return RunProgram(program + verb + " " + test.name + arguments);
    };
    test.Start("hangs", "3600000");
    const Json shown = Json::parse(kivctl("show", " --json").output);
    CHECK(shown["state"] == "running");
    CHECK(shown["process"] != 0);
    CHECK(shown["accepts"] == Json{"stop", "pause", "shutdown"});
    CHECK(kivctl("security").output.find("DACL:") != std::string::npos);
    const ProgramResult stop = kivctl("stop", " --wait 1");
    CHECK(stop.exitCode == 1);
    CHECK(stop.output == test.name + ": stopping for 1 s\n" + test.name + ": stopping\n");
    CHECK(kivctl("stop").exitCode == 1);
    CHECK(kivctl("stop", " --wait x").exitCode == 2);
    const std::string list = RunProgram(program + "list --state active").output;
    CHECK(list.find("stopping  " + test.name + "  " + test.name + "\n") != std::string::npos);
}
