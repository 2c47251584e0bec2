// The service classes against the system's own manager; what that manager never does comes from functions in place of
// its own.

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "install/service_api.h"
#include "network/net_api.h"
#include "support/check.h"
#include "support/recording_log.h"
#include "support/resource_count.h"
#include "support/scripted_clock.h"
#include "support/swapped_api.h"
#include "tavkivut/process.h"
#include "tavkivut/service_control.h"

using namespace kiv::test;
using Lines = std::vector<std::string>;
using Times = std::vector<DWORD>;

struct CNTServiceControlManagerLayout {
    static_assert(offsetof(CNTServiceControlManager, m_lock) == sizeof(void*) &&
                  offsetof(CNTServiceControlManager, m_lastError) == 2 * sizeof(void*));
};

namespace {

// A service that lives as long as the object.
struct TemporaryService {
    CNTServiceControlManager manager;
    CNTScmService service;
    const std::string name = "KivTest";
    std::string path = CKivThisProcess::GetExeDir() + std::string("\\misbehaving_service.exe");

    TemporaryService() {
        REQUIRE(manager.Open(nullptr, SC_MANAGER_ALL_ACCESS));
        REQUIRE(service.Create(manager, name.c_str(), name.c_str(), SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                               SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, path.c_str(), nullptr, nullptr, "RPCSS\0",
                               nullptr, nullptr));
    }
    ~TemporaryService() { CHECK(service.Delete()); }

    DWORD State() const {
        SERVICE_STATUS status{};
        CHECK(service.QueryStatus(status));
        return status.dwCurrentState;
    }
};

std::string Line(const std::string& text, DWORD error) {
    return "1E " + text + " (" + std::to_string(error) + ")";
}

// What a callback was given; its data word holds no pointer, but how many are enough.
Lines g_listed;
template <class Record>
bool Note(unsigned long limit, Record& record) {
    g_listed.emplace_back(record.lpServiceName);
    return g_listed.size() != limit;
}

// The operation must fail with this error and write this line; "#" stands for the error.
void CheckFailure(std::string failure, DWORD error, const std::function<bool()>& run) {
    CAPTURE(failure);
    if (failure.back() == '#')
        failure.replace(failure.size() - 1, 1, std::to_string(error));
    const RecordingLog log;
    ::SetLastError(0);
    CHECK_FALSE((run() || ::GetLastError() != error));
    CHECK(log.Lines().back() == Line(failure, error));
    CHECK(log.Lines().size() == (failure.find(" in Accept") == std::string::npos ? 1 : 2));
}

}  // namespace

TEST_CASE("a service is made, configured, listed, run, stopped and removed") {
    CHECK(LeavesNothing([] {
        const RecordingLog log;
        TemporaryService test;
        CNTScmService& service = test.service;
        CNTScmService copy = service;
        CHECK((copy.Detach() == service && copy == nullptr));
        ::SetLastError(77);
        CHECK(test.manager.OpenServiceA(test.name.c_str(), SERVICE_ALL_ACCESS, service));  // closes the first handle
        CHECK((test.manager.Lock() && test.manager.Unlock()));
        CHECK(service.ChangeConfig(SERVICE_NO_CHANGE, SERVICE_AUTO_START, SERVICE_NO_CHANGE, nullptr, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, "Another name"));
        QUERY_SERVICE_CONFIGA* config = nullptr;
        REQUIRE(service.QueryConfig(config));
        CHECK(config->dwStartType == SERVICE_AUTO_START);
        CHECK((config->lpBinaryPathName == test.path && config->lpDisplayName == std::string("Another name")));
        std::free(config);
        void* security = nullptr;
        REQUIRE(service.QueryObjectSecurity(DACL_SECURITY_INFORMATION, security));
        CHECK(
            (::IsValidSecurityDescriptor(security) && service.SetObjectSecurity(DACL_SECURITY_INFORMATION, security)));
        std::free(security);

        g_listed.clear();
        CHECK((service.EnumDependents(SERVICE_STATE_ALL, 0, Note<ENUM_SERVICE_STATUSA>) && g_listed.empty()));
        CHECK(test.manager.EnumServices(SERVICE_WIN32, SERVICE_STATE_ALL, 0, Note<ENUM_SERVICE_STATUSA>));
        const Lines all = std::exchange(g_listed, Lines());
        CHECK(std::count(all.begin(), all.end(), test.name) == 1);
        CHECK(test.manager.EnumServices(SERVICE_WIN32, SERVICE_STATE_ALL, nullptr, 2,
                                        Note<ENUM_SERVICE_STATUS_PROCESSA>));
        CHECK(std::exchange(g_listed, Lines()) == Lines{all[0], all[1]});

        REQUIRE(service.Start(0, nullptr));
        while (test.State() == SERVICE_START_PENDING)
            ::Sleep(1);
        bool accepts[3] = {};
        CHECK((service.AcceptStop(accepts[0]) && service.AcceptPauseContinue(accepts[1])));
        CHECK((service.AcceptShutdown(accepts[2]) && accepts[0] && accepts[1] && !accepts[2]));
        CHECK((service.Control(SERVICE_CONTROL_PAUSE) && test.State() == SERVICE_PAUSED));
        CHECK((service.Continue() && service.Interrogate() && test.State() == SERVICE_RUNNING));
        CHECK((service.Pause() && ::GetLastError() == 77 && log.Lines() == Lines{}));
        // Wine can end the program of a service that stops at once before it has answered.
        CHECK((service.Stop() || ::GetLastError() == ERROR_BROKEN_PIPE));
        CHECK((service.WaitForStop(INFINITE) && test.State() == SERVICE_STOPPED));
    }));
}

TEST_CASE("the wait for a stop ends with the state, the time or a failure") {
    static std::vector<std::pair<DWORD, DWORD>> s_script;  // states and wait hints; the query fails at state 0
    SwappedApi<kiv::ServiceApi> services;
    services->queryStatus = [](SC_HANDLE, SERVICE_STATUS* status) WINAPI -> BOOL {
        *status = {0, s_script.front().first, 0, 0, 0, 0, s_script.front().second};
        s_script.erase(s_script.begin());
        ::SetLastError(ERROR_SERVICE_DOES_NOT_EXIST);
        return status->dwCurrentState != 0;
    };
    CNTScmService service;
    service.Attach(reinterpret_cast<SC_HANDLE>(&service));
    constexpr DWORD kEnds = SERVICE_STOP_PENDING;
    constexpr DWORD kHour = 3600000;
    const struct {
        std::vector<std::pair<DWORD, DWORD>> script;
        DWORD timeout;
        DWORD error;
        Times sleeps;
    } rows[] = {
        {{{SERVICE_RUNNING, 50}}, 0, 0, {}},
        {{{kEnds, 0}, {0, 0}}, 99, ERROR_SERVICE_DOES_NOT_EXIST, {10}},
        {{{kEnds, kHour}, {kEnds, 0}, {SERVICE_STOPPED, 0}}, INFINITE, 0, {kHour, 10}},
        {{{kEnds, 400}, {kEnds, 400}, {kEnds, 400}, {kEnds, 0}}, 1000, ERROR_TIMEOUT, {400, 400, 200}},
        {{{kEnds, 7}, {kEnds, 7}}, 0, ERROR_TIMEOUT, {0}},
        {{{kEnds, 80}, {SERVICE_RUNNING, 0}}, 50, ERROR_TIMEOUT, {50}},
        {{{kEnds, 80}, {SERVICE_STOPPED, 0}}, 50, 0, {50}},
    };
    for (const auto& row : rows) {
        CAPTURE(row.sleeps.size());
        s_script = row.script;
        const RecordingLog log;
        const ScriptedClock clock(0xFFFFFFF0);  // wraps on the way
        ::SetLastError(0);
        CHECK(service.WaitForStop(row.timeout) == (row.error == 0));
        CHECK(::GetLastError() == row.error);
        CHECK(clock.Sleeps() == row.sleeps);
        CHECK(log.Lines().empty() == (row.error != ERROR_SERVICE_DOES_NOT_EXIST));
    }
    service.Detach();
}

TEST_CASE("an operation that cannot be done says so and leaves its error") {
    CNTServiceControlManager m;
    CNTScmService s;
    bool accepts = false;
    SERVICE_STATUS status;
    SERVICE_STATUS_PROCESS extended;
    void* security = nullptr;
    QUERY_SERVICE_CONFIGA* config = nullptr;
    QUERY_SERVICE_LOCK_STATUSA* lock = nullptr;
    const auto note = Note<ENUM_SERVICE_STATUSA>;
    const struct {
        const char* failure;
        std::function<bool()> run;
    } operations[] = {
        {"ChangeServiceConfig in ChangeConfig", [&] { return s.ChangeConfig(1, 1, 1, "", "", 0, "", "", "", ""); }},
        {"ControlService in Control", [&] { return s.Control(SERVICE_CONTROL_PARAMCHANGE); }},
        {"ControlService in Stop", [&] { return s.Stop(); }},
        {"ControlService in Pause", [&] { return s.Pause(); }},
        {"ControlService in Continue", [&] { return s.Continue(); }},
        {"ControlService in Interrogate", [&] { return s.Interrogate(); }},
        {"ControlService in Start", [&] { return s.Start(0, nullptr); }},
        {"QueryStatus in AcceptStop", [&] { return s.AcceptStop(accepts); }},
        {"QueryStatus in AcceptPauseContinue", [&] { return s.AcceptPauseContinue(accepts); }},
        {"QueryStatus in AcceptShutdown", [&] { return s.AcceptShutdown(accepts); }},
        {"QueryServiceStatus in QueryStatus", [&] { return s.QueryStatus(status); }},
        {"QueryServiceConfig in QueryConfig", [&] { return s.QueryConfig(config); }},
        {"CreateService in Create", [&] { return s.Create(m, "x", "", 1, 1, 1, 1, "x", "", 0, "", "", ""); }},
        {"DeleteService in Delete", [&] { return s.Delete(); }},
        {"SetServiceObjectSecurity in SetObjectSecurity", [&] { return s.SetObjectSecurity(4, &status); }},
        {"QueryServiceObjectSecurity in QueryObjectSecurity", [&] { return s.QueryObjectSecurity(4, security); }},
        {"EnumDependentServices in EnumDependents", [&] { return s.EnumDependents(3, 0, note); }},
        {"QueryServiceLockStatus in QueryLockStatus", [&] { return m.QueryLockStatus(lock); }},
        {"EnumServicesStatus in EnumServices", [&] { return m.EnumServices(48, 3, 0, note); }},
        {"LockServiceDatabase in Lock", [&] { return m.Lock(); }},
        {"OpenService in OpenService #", [&] { return m.OpenServiceA("x", 1, s); }},
    };
    const auto checkAll = [&](DWORD error) {
        for (const auto& operation : operations)
            CheckFailure(std::string("Failed in call to ") + operation.failure, error, operation.run);
        CHECK(m.GetLastError() == error);
    };
    checkAll(ERROR_INVALID_HANDLE);
    CheckFailure("Failed in call to UnlockServiceDatabase in Unlock", ERROR_INVALID_SERVICE_LOCK,
                 [&] { return m.Unlock(); });
    CheckFailure("Failed in call to EnumServicesStatusEx in EnumServices", ERROR_INVALID_PARAMETER,
                 [&] { return m.EnumServices(48, 3, nullptr, 0, nullptr); });

    // A system without services, and one without the functions of Windows 2000.
    const SwappedApi<kiv::ServiceApi> none(kiv::ServiceApi{});
    const SwappedApi<kiv::AdvancedServiceApi> old(kiv::AdvancedServiceApi{});
    checkAll(ERROR_CALL_NOT_IMPLEMENTED);
    const std::string unsupported =
        " function is not supported on this OS. You need to be running at least Windows 2000 to use this function\n";
    CheckFailure("QueryServiceStatusEx" + unsupported, ERROR_CALL_NOT_IMPLEMENTED,
                 [&] { return s.QueryStatus(extended); });
    CheckFailure("EnumServicesStatusEx" + unsupported, ERROR_CALL_NOT_IMPLEMENTED,
                 [&] { return m.EnumServices(48, 3, "", 0, Note<ENUM_SERVICE_STATUS_PROCESSA>); });
    const RecordingLog log;
    kiv::AdvancedServiceApi{}.LoadFrom(nullptr);
    CHECK(log.Lines() == Lines{"1E _NTSERV_DATA const: advanced api dll could not be loaded"});
}

TEST_CASE("a manager's lock goes with the object that took it") {
    static int s_unlocked = 0;
    SwappedApi<kiv::ServiceApi> services;
    services->unlockDatabase = [](SC_LOCK) WINAPI -> BOOL { return ++s_unlocked; };
    {
        CNTServiceControlManager manager;
        REQUIRE((manager.Open(nullptr, SC_MANAGER_ALL_ACCESS) && manager.Lock()));
        { const CNTServiceControlManager copy = manager; }
        CheckFailure("Failed in call to LockServiceDatabase in Lock", ERROR_SERVICE_DATABASE_LOCKED,
                     [&] { return manager.Lock(); });
        CHECK((s_unlocked == 0 && manager.Detach() != nullptr));
    }
    CHECK(s_unlocked == 1);
}

TEST_CASE("a list that grows is whole, an answer that never fits is given up") {
    static DWORD s_services = 3000;
    static DWORD s_next = 0;
    SwappedApi<kiv::ServiceApi> services;
    // Some more each time, and never more at once than 256 KB: the rest begins where `resume` says.
    services->enumServices = [](SC_HANDLE, DWORD, DWORD, ENUM_SERVICE_STATUSA* out, DWORD size, DWORD* needed,
                                DWORD* count, DWORD* resume) WINAPI -> BOOL {
        const DWORD left = (s_services += 7) - *resume;
        CHECK(size <= 256 * 1024);
        *count = std::min<DWORD>(left, size / sizeof *out);
        for (DWORD i = 0; i < *count; ++i)
            out[i] = {nullptr, nullptr, {0, 0, 0, 0, 0, (*resume)++, 0}};
        *needed = (left - *count) * sizeof *out;
        ::SetLastError(ERROR_MORE_DATA);
        return *count == left;
    };
    services->queryLockStatus = [](SC_HANDLE, QUERY_SERVICE_LOCK_STATUSA*, DWORD, DWORD* needed) WINAPI -> BOOL {
        *needed = 40;
        ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    };
    CNTServiceControlManager manager;
    REQUIRE(manager.Open(nullptr, SC_MANAGER_ALL_ACCESS));
    CHECK(manager.EnumServices(SERVICE_WIN32, SERVICE_STATE_ALL, 0, [](unsigned long, ENUM_SERVICE_STATUSA& service) {
        return service.ServiceStatus.dwCheckPoint == s_next++;
    }));
    CHECK(s_next == s_services);
    QUERY_SERVICE_LOCK_STATUSA* status = nullptr;
    CheckFailure("Failed in call to QueryServiceLockStatus in QueryLockStatus", ERROR_NOT_ENOUGH_MEMORY,
                 [&] { return manager.QueryLockStatus(status); });
}

TEST_CASE("the manager is tried five times") {
    static DWORD s_error;
    static int s_failures;
    static int s_cleanUps;
    SwappedApi<kiv::ServiceApi> services;
    services->openManager = [](LPCSTR, LPCSTR, DWORD) WINAPI -> SC_HANDLE {
        ::SetLastError(s_error);
        return s_failures-- > 0 ? nullptr : reinterpret_cast<SC_HANDLE>(&s_failures);
    };
    SwappedApi<kiv::NetApi> net;
    net->sessionEnum = [](LPWSTR, LPWSTR, LPWSTR, DWORD, BYTE**, DWORD, DWORD*, DWORD*, DWORD*)
                           WINAPI -> DWORD { return ++s_cleanUps; };
    const struct {
        const char* machine;
        DWORD error;
        int failures;
        Times sleeps;
        Times messages;  // what is left of those for the thread
    } rows[] = {
        {"\\\\KIVNONE", RPC_S_CALL_FAILED, 2, {100, 100}, {WM_QUIT}},
        {"\\\\KIVNONE", RPC_S_CALL_FAILED, 5, {100, 100, 100, 100}, {WM_QUIT}},
        {"\\\\KIVNONE", ERROR_ACCESS_DENIED, 5, {}, {WM_APP, WM_QUIT}},
        {nullptr, RPC_S_SERVER_UNAVAILABLE, 5, {}, {WM_APP, WM_QUIT}},
    };
    for (const auto& row : rows) {
        s_error = row.error;
        s_failures = row.failures;
        s_cleanUps = 0;
        const std::string machine = row.machine != nullptr ? row.machine : "";
        Lines lines(row.failures, Line("Attempt to connect to remote registry " + machine + " failed", row.error));
        if (row.failures == 5)
            lines.push_back(Line("Failed in call to OpenSCManager in Open", row.error));
        ::PostThreadMessageA(::GetCurrentThreadId(), WM_APP, 0, 0);
        ::PostQuitMessage(3);
        const RecordingLog log;
        const ScriptedClock clock;
        CNTServiceControlManager manager;
        ::SetLastError(0);
        CHECK(manager.Open(row.machine, SC_MANAGER_CONNECT) == (row.failures < 5));
        CHECK(::GetLastError() == (row.failures < 5 ? 0 : row.error));
        CHECK(::GetLastError() == manager.GetLastError());
        manager.Detach();
        CHECK((clock.Sleeps() == row.sleeps && log.Lines() == lines));
        CHECK(s_cleanUps == (row.machine != nullptr ? row.failures : 0));
        Times left;
        for (MSG message; ::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);)
            left.push_back(message.message);
        CHECK(left == row.messages);
    }
}
