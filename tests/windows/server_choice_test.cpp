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
#include "support/heap_text.h"
#include "support/redirected_key.h"
#include "support/resource_count.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "tavkivut/inst_server.h"

using kiv::test::CountResources;
using kiv::test::ResourceCount;
using kiv::test::SwappedApi;
using kiv::test::TempDirectory;

namespace {

constexpr unsigned kSilent = 0;

struct FakeServer {
    std::uint32_t time = 10;
    unsigned answers = 1000;  // how many requests are answered before one is lost
    bool available = true;
    bool waits = false;  // answers only when the gate is open
    long requests = 0;
};

struct ResolvedHost {
    hostent host;
    char* addresses[2];
    IPAddr address;
};

// The network of the running test. A server's folder is <root>\<number>, its UNC form \\s<number>\x, its address its
// number.
struct FakeNetwork {
    std::vector<FakeServer> servers;
    std::vector<ResolvedHost> hosts;
    HANDLE gate = nullptr;
    long openFiles = 0;
};
FakeNetwork* g_network = nullptr;

HANDLE WINAPI FakeCreate() {
    __atomic_add_fetch(&g_network->openFiles, 1, __ATOMIC_SEQ_CST);
    return reinterpret_cast<HANDLE>(std::uintptr_t{0x77});
}

HANDLE WINAPI FailingCreate() {
    return INVALID_HANDLE_VALUE;
}

BOOL WINAPI FakeClose(HANDLE) {
    __atomic_sub_fetch(&g_network->openFiles, 1, __ATOMIC_SEQ_CST);
    return TRUE;
}

DWORD WINAPI FakeSendEcho(HANDLE, IPAddr address, LPVOID data, WORD dataSize, PIP_OPTION_INFORMATION options,
                          LPVOID buffer, DWORD size, DWORD timeout) {
    FakeServer& server = g_network->servers[address];
    if (server.waits)
        ::WaitForSingleObject(g_network->gate, INFINITE);
    const bool asAgreed = data == nullptr && dataSize == 0 && options == nullptr && timeout == 2000 &&
                          size == (sizeof(void*) == 4 ? 36u : 48u);
    const auto request = static_cast<unsigned>(__atomic_add_fetch(&server.requests, 1, __ATOMIC_SEQ_CST));
    if (!asAgreed || request > server.answers)
        return 0;
    static_cast<ICMP_ECHO_REPLY*>(buffer)->RoundTripTime = server.time;
    return 1;
}

hostent* WINAPI FakeResolve(const char* name) {
    if (name[0] != 's')
        return nullptr;
    const unsigned long server = std::stoul(name + 1);
    ResolvedHost& resolved = g_network->hosts[server];
    resolved.address = server;
    resolved.addresses[0] = reinterpret_cast<char*>(&resolved.address);
    resolved.host.h_addrtype = AF_INET;
    resolved.host.h_addr_list = resolved.addresses;
    return &resolved.host;
}

DWORD WINAPI FakeUniversalName(LPCSTR path, DWORD, LPVOID buffer, LPDWORD) {
    auto* const info = static_cast<UNIVERSAL_NAME_INFOA*>(buffer);
    info->lpUniversalName = reinterpret_cast<LPSTR>(info + 1);
    std::strcpy(info->lpUniversalName, (std::string("\\\\s") + (std::strrchr(path, '\\') + 1) + "\\x").c_str());
    return NO_ERROR;
}

// Servers on their folders, with the settings of the load balancing, for one test.
class Servers {
public:
    explicit Servers(std::vector<FakeServer> servers, bool evaluateAll = true, unsigned quality = 4) {
        m_network.servers = std::move(servers);
        m_network.hosts.resize(m_network.servers.size());
        m_network.gate = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
        g_network = &m_network;
        m_icmp->create = FakeCreate;
        m_icmp->close = FakeClose;
        m_icmp->sendEcho = FakeSendEcho;
        m_winsock->getHostByName = FakeResolve;
        m_universal->getUniversalName = FakeUniversalName;
        kiv::LoadBalancingSettings() = {static_cast<std::uint16_t>(quality), static_cast<std::uint16_t>(evaluateAll)};
        for (std::size_t i = 0; i < m_network.servers.size(); ++i) {
            m_paths.push_back(m_root / std::to_string(i));
            if (!m_network.servers[i].available)
                continue;
            ::CreateDirectoryA(m_paths[i].c_str(), nullptr);
            ::CreateDirectoryA((m_paths[i] + "\\setup").c_str(), nullptr);
            kiv::test::WriteFileBytes(m_paths[i] + "\\setup\\TavSetup.cfg", "");
        }
    }
    ~Servers() {
        OpenGate();
        kiv::test::WaitForThreads(m_threads);  // late probes use the fakes
        ::CloseHandle(m_network.gate);
    }
    Servers(const Servers&) = delete;
    Servers& operator=(const Servers&) = delete;

    void OpenGate() { ::SetEvent(m_network.gate); }
    FakeServer& operator[](std::size_t i) { return m_network.servers[i]; }
    std::vector<std::string>& Paths() { return m_paths; }
    SwappedApi<kiv::IcmpApi>& Icmp() { return m_icmp; }
    SwappedApi<kiv::WinsockApi>& Winsock() { return m_winsock; }
    long OpenFiles() const { return __atomic_load_n(&m_network.openFiles, __ATOMIC_SEQ_CST); }

    // The index of the chosen server, -1 for none.
    int Choose() {
        std::vector<const char*> list;
        for (const std::string& path : m_paths)
            list.push_back(path.c_str());
        list.push_back("beyond the count");
        char out[kKivServerPathSize] = "untouched";
        const int chosen =
            CKivInstServer::GetMostResponsiveServer(out, sizeof out, list.data(), static_cast<int>(m_paths.size()));
        const auto found = std::find(m_paths.begin(), m_paths.end(), out);
        m_consistent = chosen == 1 ? found != m_paths.end() : out[0] == '\0';
        return chosen == 1 ? static_cast<int>(found - m_paths.begin()) : -1;
    }
    bool Consistent() const { return m_consistent; }

    long Probed() const {
        return std::count_if(m_network.servers.begin(), m_network.servers.end(),
                             [](const FakeServer& server) { return server.requests > 0; });
    }

private:
    const std::size_t m_threads = CountResources().threads;
    TempDirectory m_root;
    FakeNetwork m_network;
    SwappedApi<kiv::IcmpApi> m_icmp;
    SwappedApi<kiv::WinsockApi> m_winsock;
    SwappedApi<kiv::UniversalNameApi> m_universal;
    std::vector<std::string> m_paths;
    bool m_consistent = true;
};

// Shortens the wait for the probes.
class WaitLimit {
public:
    explicit WaitLimit(DWORD milliseconds) : m_previous(kiv::g_probeWaitLimit) { kiv::g_probeWaitLimit = milliseconds; }
    ~WaitLimit() { kiv::g_probeWaitLimit = m_previous; }
    WaitLimit(const WaitLimit&) = delete;
    WaitLimit& operator=(const WaitLimit&) = delete;

private:
    DWORD m_previous;
};

FakeServer Answering(std::uint32_t time) {
    return {time, 1000, true, false, 0};
}

FakeServer Losing(unsigned answers) {
    return {1, answers, true, false, 0};
}

FakeServer Lacking(std::uint32_t time) {
    return {time, 1000, false, false, 0};
}

FakeServer Waiting(std::uint32_t time) {
    return {time, 1000, true, true, 0};
}

}  // namespace

TEST_CASE("the settings are read within their range") {
    const struct {
        unsigned long quality;
        unsigned long evaluateAll;
        unsigned expectedQuality;
        unsigned expectedAll;
    } rows[] = {{0, 0, 4, 0}, {1, 1, 1, 1}, {999, 2, 999, 1}, {1000, 0x10000, 4, 1}, {0x10005, 0, 4, 0}};
    kiv::test::RedirectedKey machine(HKEY_LOCAL_MACHINE);
    CHECK(kiv::ReadLoadBalancing().quality == 4);
    CHECK(kiv::ReadLoadBalancing().evaluateAll == 0);
    HKEY key;
    REQUIRE(::RegCreateKeyA(HKEY_LOCAL_MACHINE, "Software\\TAV\\TAVSetup\\Policies", &key) == ERROR_SUCCESS);
    for (const auto& row : rows) {
        ::RegSetValueExA(key, "LbDetectionQuality", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&row.quality), 4);
        ::RegSetValueExA(key, "LbEvaluateAllResponses", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&row.evaluateAll),
                         4);
        CAPTURE(row.quality);
        CHECK(kiv::ReadLoadBalancing().quality == row.expectedQuality);
        CHECK(kiv::ReadLoadBalancing().evaluateAll == row.expectedAll);
    }
    ::RegCloseKey(key);
}

TEST_CASE("waiting for all, the fastest that serves the product wins") {
    // Each list has two changes of the best candidate, so that no draw follows.
    Servers servers({Answering(50), Lacking(1), Answering(20), Answering(30), Losing(3), Losing(kSilent)});
    CHECK(servers.Choose() == 2);
    CHECK(servers.Consistent());
    CHECK(servers[0].requests == 4);
    CHECK(servers[4].requests == 4);
    CHECK(servers[5].requests == 1);
    CHECK(servers.OpenFiles() == 0);
}

TEST_CASE("an answer without a time counts as a lost one") {
    Servers servers({Answering(50), Answering(40), Answering(kiv::kNoRoundTripTime)});
    CHECK(servers.Choose() == 1);
    CHECK(servers[2].requests == 4);
}

TEST_CASE("when nobody beat the first candidate, a draw takes any available server") {
    SUBCASE("also one that never answered") {
        Servers servers({Answering(10), Losing(kSilent), Answering(20)}, true, 1);
        std::set<int> drawn;
        for (int i = 0; i < 500 && drawn.size() < 3; ++i) {
            drawn.insert(servers.Choose());
            ::Sleep(1);
        }
        CHECK(drawn == std::set<int>{0, 1, 2});
    }
    SUBCASE("but not one that is not available") {
        Servers servers({Lacking(1), Answering(10), Lacking(20)}, true, 1);
        for (int i = 0; i < 20; ++i)
            REQUIRE(servers.Choose() == 1);
    }
    SUBCASE("and none where no server is") {
        Servers servers({Lacking(1), Lacking(2)});
        CHECK(servers.Choose() == -1);
        CHECK(servers.Consistent());
    }
}

TEST_CASE("waiting for any, the first to finish is taken or none is") {
    SUBCASE("it answered and is available") {
        Servers servers({Waiting(1), Answering(90), Waiting(1)}, false);
        CHECK(servers.Choose() == 1);
    }
    SUBCASE("it lost a request") {
        Servers servers({Waiting(1), Losing(2)}, false);
        CHECK(servers.Choose() == -1);
    }
    SUBCASE("it could not even ask") {
        Servers servers({Answering(1)}, false);
        servers.Icmp()->create = FailingCreate;
        CHECK(servers.Choose() == -1);
        CHECK(servers.OpenFiles() == 0);
    }
    SUBCASE("it lacks the product") {
        Servers servers({Waiting(1), Lacking(5), Waiting(1)}, false);
        CHECK(servers.Choose() == -1);
    }
    SUBCASE("none finishes in time") {
        const WaitLimit limit(50);
        Servers servers({Waiting(1), Waiting(1)}, false);
        CHECK(servers.Choose() == -1);
        CHECK(servers.Consistent());
    }
}

TEST_CASE("after the time-out what came in decides, and late probes free their records") {
    const std::size_t threads = CountResources().threads;
    const auto choose = [&] {
        const WaitLimit limit(100);
        Servers servers({Waiting(1), Answering(10), Answering(20), Waiting(2)});
        CHECK(servers.Choose() == 1);  // one change only, but no draw
        CHECK(servers.OpenFiles() == 2);
        servers.OpenGate();
        CHECK(kiv::test::WaitForThreads(threads));
        CHECK(servers.OpenFiles() == 0);
    };
    choose();
    const ResourceCount before = CountResources();
    choose();
    CHECK(CountResources() == before);
}

TEST_CASE("at most 64 servers are measured, and nothing of them is left behind") {
    for (const std::size_t count : {0u, 1u, 64u, 65u, 300u}) {
        CAPTURE(count);
        std::vector<FakeServer> listed(count, Lacking(10));
        for (const std::size_t available : {0u, 1u, 63u, 64u}) {
            if (available < count)
                listed[available] = Answering(available == 0 ? 30 : available == 64 ? 1 : 20);
        }
        Servers servers(listed, true, 1);
        const int chosen = servers.Choose();
        CHECK(servers.Consistent());
        CHECK((chosen == -1) == (count == 0));
        CHECK((count < 64 || chosen == 1));
        CHECK(servers.Probed() == static_cast<long>(std::min<std::size_t>(count, 64)));
        const ResourceCount before = CountResources();
        servers.Choose();
        CHECK(CountResources() == before);
    }
}

TEST_CASE("a server without a usable host has no probe") {
    Servers servers({Answering(30), Answering(20), Answering(1), Answering(1), Answering(1)});
    servers.Paths()[2] = "\\\\s2-and-more-of-it\\x";  // 16 characters and more
    servers.Paths()[3] = "\\\\\\x";
    servers.Paths()[4] = "\\\\unresolvable\\x";
    CHECK(servers.Choose() == 1);
    CHECK(servers.Probed() == 2);
}

TEST_CASE("nothing is chosen without ICMP or Winsock, or without anybody to ask") {
    Servers servers({Answering(30), Answering(20)});
    SUBCASE("no echo function") {
        servers.Icmp()->sendEcho = nullptr;
    }
    SUBCASE("no module at all") {
        *servers.Icmp().operator->() = {};
    }
    SUBCASE("no Winsock 2") {
        servers.Winsock()->startup = nullptr;
    }
    SUBCASE("no host") {
        servers.Paths() = {"\\\\", "\\\\\\x"};
    }
    CHECK(servers.Choose() == -1);
    CHECK(servers.Consistent());
}

TEST_CASE("the answer is cut to the caller's buffer") {
    Servers servers({Answering(20), Answering(10)});
    const char* list[] = {servers.Paths()[0].c_str(), servers.Paths()[1].c_str()};
    char out[] = "untouched";
    CHECK(CKivInstServer::GetMostResponsiveServer(out, 3, list, 2) == 1);
    CHECK(std::string(out) == servers.Paths()[1].substr(0, 2));
    CHECK(out[3] == 'o');
    CHECK(CKivInstServer::GetMostResponsiveServer(nullptr, 260, list, 2) == 0);
    CHECK(CKivInstServer::GetMostResponsiveServer(out, 0, list, 2) == 0);
    CHECK(std::string(out) == servers.Paths()[1].substr(0, 2));
}
