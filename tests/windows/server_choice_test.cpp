// The choice among servers that answer, lose and keep silent as told: fake ICMP, name resolution and network drives.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "files/universal_name_api.h"
#include "install/icmp.h"
#include "install/load_balancing.h"
#include "install/server_probe.h"
#include "support/check.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/resource_count.h"
#include "support/scripted_clock.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/tools.h"

using kiv::test::CountResources;
using kiv::test::SwappedApi;

namespace {

enum FakeKind { kAnswering, kLacking /* the product */, kWaiting /* for the gate */ };

struct FakeServer {
    std::uint32_t time = 10;
    FakeKind kind = kAnswering;
    long answers = 1000000;  // how many requests are answered before one is lost
    long deaf = 0;           // how many requests are not heard at first
    long requests = 0;
    hostent host{};
    char* addresses[2]{};
    IPAddr address = 0;
};

// The network of the running test. A server's folder is <root>\<number>, its UNC form \\s<number>\x, its address its
// number.
struct FakeNetwork {
    std::vector<FakeServer> servers;
    HANDLE gate = nullptr;
    long openFiles = 0;
    DWORD timeout = 2000;
};
FakeNetwork* g_network = nullptr;

HANDLE WINAPI FakeCreate() {
    __atomic_add_fetch(&g_network->openFiles, 1, __ATOMIC_SEQ_CST);
    return reinterpret_cast<HANDLE>(std::uintptr_t{0x77});
}

BOOL WINAPI FakeClose(HANDLE) {
    __atomic_sub_fetch(&g_network->openFiles, 1, __ATOMIC_SEQ_CST);
    return TRUE;
}

DWORD WINAPI FakeSendEcho(HANDLE, IPAddr address, LPVOID data, WORD dataSize, PIP_OPTION_INFORMATION options,
                          LPVOID buffer, DWORD size, DWORD timeout) {
    FakeServer& server = g_network->servers[address];
    if (server.kind == kWaiting)
        ::WaitForSingleObject(g_network->gate, INFINITE);
    const bool asAgreed = data == nullptr && dataSize == 0 && options == nullptr && timeout == g_network->timeout &&
                          size == (sizeof(void*) == 4 ? 36u : 48u);
    const long request = __atomic_add_fetch(&server.requests, 1, __ATOMIC_SEQ_CST);
    if (request <= server.deaf) {  // nothing, a reply without a time, or the word that there is no way
        if (request % 3 == 2)
            *static_cast<ICMP_ECHO_REPLY*>(buffer) = {address, IP_DEST_HOST_UNREACHABLE, 0, 0, 0, nullptr, {}};
        return static_cast<DWORD>(request % 3 != 0);
    }
    if (!asAgreed || request > server.answers)
        return 0;
    static_cast<ICMP_ECHO_REPLY*>(buffer)->RoundTripTime = server.time;
    return 1;
}

hostent* WINAPI FakeResolve(const char* name) {
    if (name[0] != 's')
        return nullptr;
    FakeServer& server = g_network->servers[std::stoul(name + 1)];
    server.address = std::stoul(name + 1);
    server.addresses[0] = reinterpret_cast<char*>(&server.address);
    server.host.h_addrtype = AF_INET;
    server.host.h_addr_list = server.addresses;
    return &server.host;
}

DWORD WINAPI FakeUniversalName(LPCSTR path, DWORD, LPVOID buffer, LPDWORD) {
    const char* const number = std::strrchr(path, '\\') + 1;
    if (*number < '0' || *number > '9')
        return ERROR_NOT_CONNECTED;
    auto* const info = static_cast<UNIVERSAL_NAME_INFOA*>(buffer);
    info->lpUniversalName = reinterpret_cast<LPSTR>(info + 1);
    std::strcpy(info->lpUniversalName, (std::string("\\\\s") + number + "\\x").c_str());
    return NO_ERROR;
}

// Servers on their folders, with the settings of the load balancing, for one test.
class Servers {
public:
    explicit Servers(std::vector<FakeServer> servers, bool evaluateAll = true, unsigned quality = 4) {
        network.servers = std::move(servers);
        network.gate = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
        g_network = &network;
        *icmp.operator->() = {FakeCreate, FakeClose, FakeSendEcho};
        winsock->getHostByName = FakeResolve;
        m_universal->getUniversalName = FakeUniversalName;
        m_universal->getConnection = nullptr;
        kiv::LoadBalancingSettings() = {static_cast<std::uint16_t>(quality), static_cast<std::uint16_t>(evaluateAll)};
        for (std::size_t i = 0; i < network.servers.size(); ++i) {
            paths.push_back(m_root / std::to_string(i));
            if (network.servers[i].kind == kLacking)
                continue;
            CKivTools::CreateDirectoryRecursive((paths[i] + "\\setup").c_str());
            kiv::test::WriteFileBytes(paths[i] + "\\setup\\TavSetup.cfg", "");
        }
    }
    ~Servers() {
        EndProbes();
        ::CloseHandle(network.gate);
    }
    Servers(const Servers&) = delete;
    Servers& operator=(const Servers&) = delete;

    // Late probes use the fakes.
    void EndProbes() {
        ::SetEvent(network.gate);
        CHECK(kiv::test::WaitForThreads(m_threads));
        CHECK(network.openFiles == 0);
    }

    // The index of the chosen server, -1 for none.
    int Choose() {
        std::vector<const char*> list;
        for (const std::string& path : paths)
            list.push_back(path.c_str());
        list.push_back("beyond the count");
        char out[kKivServerPathSize] = "untouched";
        const int chosen =
            CKivInstServer::GetMostResponsiveServer(out, sizeof out, list.data(), static_cast<int>(paths.size()));
        CHECK((chosen == 1) != (out[0] == '\0'));
        const auto found = std::find(paths.begin(), paths.end(), out);
        return chosen == 1 && found != paths.end() ? static_cast<int>(found - paths.begin()) : -1;
    }

    long Probed() const {
        return std::count_if(network.servers.begin(), network.servers.end(),
                             [](const FakeServer& server) { return server.requests > 0; });
    }

    FakeNetwork network;
    SwappedApi<kiv::IcmpApi> icmp;
    SwappedApi<kiv::WinsockApi> winsock;
    std::vector<std::string> paths;

private:
    const std::size_t m_threads = CountResources().threads;
    kiv::test::TempDirectory m_root;
    SwappedApi<kiv::UniversalNameApi> m_universal;
};

// Shortens the wait for the probes.
struct WaitLimit {
    explicit WaitLimit(DWORD milliseconds) { kiv::g_probeWaitLimit = milliseconds; }
    ~WaitLimit() { kiv::g_probeWaitLimit = m_previous; }
    const DWORD m_previous = kiv::g_probeWaitLimit;
};

}  // namespace

TEST_CASE("the settings are read within their range") {
    const std::pair<unsigned, unsigned> qualities[] = {{0, 4}, {1, 1}, {999, 999}, {1000, 4}, {0x10005, 4}};
    const std::pair<unsigned, unsigned> answers[] = {{0, 0}, {2, 1}, {0x10000, 1}};
    const kiv::test::RedirectedKey machine(HKEY_LOCAL_MACHINE);
    CHECK((kiv::ReadLoadBalancing().quality == 4 && kiv::ReadLoadBalancing().evaluateAll == 0));
    const auto set = [&machine](const char* name, unsigned value) {
        kiv::test::SetNumber(machine.Handle(), name, value, "Software\\TAV\\TAVSetup\\Policies");
        return kiv::ReadLoadBalancing();
    };
    kiv::test::CheckRows(qualities, [&](unsigned value) { return set("LbDetectionQuality", value).quality; });
    kiv::test::CheckRows(answers, [&](unsigned value) { return set("LbEvaluateAllResponses", value).evaluateAll; });
}

TEST_CASE("waiting for all, the fastest that serves the product wins") {
    // The list has two changes of the best candidate, so that no draw follows. One answer without a time is lost too.
    Servers servers({{50}, {1, kLacking}, {20}, {30}, {1, kAnswering, 3}, {1, kAnswering, 0}, {kiv::kNoRoundTripTime}});
    CHECK(servers.Choose() == 2);
    const long requests[] = {4, 4, 4, 4, 4, 1, 4};
    for (std::size_t i = 0; i < std::size(requests); ++i)
        CHECK(servers.network.servers[i].requests == requests[i]);
    const char* list[] = {servers.paths[0].c_str(), servers.paths[2].c_str()};
    char out[] = "untouched";
    CHECK(CKivInstServer::GetMostResponsiveServer(out, 3, list, 2) == 1);
    CHECK((out == servers.paths[2].substr(0, 2) && out[3] == 'o'));
    CHECK(CKivInstServer::GetMostResponsiveServer(nullptr, 260, list, 2) == 0);
    CHECK(CKivInstServer::GetMostResponsiveServer(out, 0, list, 2) == 0);
}

TEST_CASE("when nobody beat the first candidate, a draw takes any available server") {
    SUBCASE("also one that never answered, but none that is not available") {
        Servers servers({{10}, {1, kAnswering, 0}, {20}, {20, kLacking}}, true, 1);
        std::set<int> drawn;
        for (int i = 0; i < 500 && drawn.size() < 3; ++i) {
            drawn.insert(servers.Choose());
            ::Sleep(1);
        }
        CHECK(drawn == std::set<int>{0, 1, 2});
    }
    SUBCASE("and none where no server is") {
        Servers servers({{1, kLacking}, {2, kLacking}});
        CHECK(servers.Choose() == -1);
    }
}

TEST_CASE("waiting for any, the first to finish is taken or none is") {
    const WaitLimit limit(200);
    const struct {
        const char* name;
        std::vector<FakeServer> servers;
        int chosen;
    } rows[] = {
        {"it answered and is available", {{1, kWaiting}, {90}, {1, kWaiting}}, 1},
        {"it lost a request", {{1, kWaiting}, {1, kAnswering, 2}}, -1},
        {"it lacks the product", {{1, kWaiting}, {5, kLacking}, {1, kWaiting}}, -1},
        {"none finishes in time", {{1, kWaiting}, {1, kWaiting}}, -1},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        Servers servers(row.servers, false);
        CHECK(servers.Choose() == row.chosen);
    }
}

TEST_CASE("after the time-out what came in decides, and late probes free their records") {
    const WaitLimit limit(100);
    Servers servers({{1, kWaiting}, {10}, {20}, {2, kWaiting}});
    CHECK(kiv::test::LeavesNothing([&] {
        ::ResetEvent(servers.network.gate);
        CHECK(servers.Choose() == 1);  // one change only, but no draw
        CHECK(servers.network.openFiles == 2);
        servers.EndProbes();
    }));
}

TEST_CASE("at most 64 servers are measured, and nothing of them is left behind") {
    for (const std::size_t count : {0u, 1u, 65u}) {
        CAPTURE(count);
        std::vector<FakeServer> listed(count, {10, kLacking});
        for (const std::size_t available : {0u, 1u, 63u, 64u}) {
            if (available < count)
                listed[available] = {available == 0 ? 30u : available == 64 ? 1u : 20u};
        }
        Servers servers(listed, true, 1);
        CHECK(kiv::test::LeavesNothing([&] { CHECK(servers.Choose() == (count == 0 ? -1 : count == 1 ? 0 : 1)); }));
        CHECK(servers.Probed() == static_cast<long>(std::min<std::size_t>(count, 64)));
    }
}

TEST_CASE("a server without a usable host has no probe; nothing is chosen without anybody or anything to ask") {
    Servers servers({{30}, {20}, {1}, {1}, {1}});
    int chosen = -1;
    const char* const unusable[] = {"\\\\s2-and-more-of-it\\x", "\\\\\\x", "\\\\unresolvable\\x"};
    std::copy(unusable, unusable + 3, servers.paths.begin() + 2);
    SUBCASE("two are left") {
        chosen = 1;
    }
    SUBCASE("none is left") {
        servers.paths = {"\\\\", "\\\\\\x"};
    }
    SUBCASE("no echo function") {
        servers.icmp->sendEcho = nullptr;
    }
    SUBCASE("no module at all") {
        *servers.icmp.operator->() = {};
    }
    SUBCASE("no handle for echoes") {
        kiv::LoadBalancingSettings().evaluateAll = 0;  // waiting for all, a draw would follow
        servers.icmp->create = []() WINAPI { return INVALID_HANDLE_VALUE; };
    }
    SUBCASE("no Winsock 2") {
        servers.winsock->startup = nullptr;
    }
    CHECK(servers.Choose() == chosen);
    CHECK(servers.Probed() == (chosen == 1 ? 2 : 0));
}

TEST_CASE("a host is asked until it answers, however often; a system without ICMP takes all for alive") {
    const kiv::test::ScriptedClock clock;
    Servers servers({{3, kAnswering, 1000000, 20000}});
    CHECK(KivIsHostAlive("\\\\s0\\share", 0) == 1);
    CHECK(servers.network.servers[0].requests == 20001);
    CHECK(clock.Sleeps() == std::vector<DWORD>(20000, 2000));  // an attempt that fails at once takes its time too
    servers.network.timeout = 5000;
    CHECK((KivIsHostAlive("X:\\0", 1) == 1 && servers.network.openFiles == 0));
    *servers.icmp.operator->() = {FakeCreate, nullptr, FakeSendEcho};
    CHECK((KivIsHostAlive("name", 0) == 1 && KivIsHostAlive("\\\\\\share", 0) == 0));
}
