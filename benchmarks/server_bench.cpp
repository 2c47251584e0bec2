// The choice among 64 servers, each measured on a thread of its own, beside the slowest server's echoes alone: what the
// choice cannot be faster than. tools/bench gives the servers 127.0.2.1 to 127.0.2.64 rising delays and a share.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench.h"

#include "install/icmp.h"
#include "support/resource_count.h"
#include "tavkivut/inst_server.h"

namespace {

constexpr int kServers = 64;
constexpr int kQuality = 4;
constexpr int kRounds = 5;
constexpr int kWarmUp = 12;  // the system's heap sets more room aside over the first choices with 64 threads
constexpr DWORD kTimeout = 2000;
constexpr const char* kScratchKey = "Software\\tavkivut-bench-server";

std::string Host(int number) {
    return "127.0.2." + std::to_string(number);
}

// All servers are waited for, in this process only.
void EvaluateAll() {
    HKEY machine = nullptr;
    HKEY policies = nullptr;
    const DWORD yes = 1;
    ::RegCreateKeyA(HKEY_CURRENT_USER, kScratchKey, &machine);
    ::RegCreateKeyA(machine, "Software\\TAV\\TAVSetup\\Policies", &policies);
    ::RegSetValueExA(policies, "LbEvaluateAllResponses", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&yes), sizeof yes);
    ::RegCloseKey(policies);
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine);
    ::RegCloseKey(machine);
}

void RemoveScratchKey() {
    const std::string root = kScratchKey;
    for (const char* below :
         {"\\Software\\TAV\\TAVSetup\\Policies", "\\Software\\TAV\\TAVSetup", "\\Software\\TAV", "\\Software", ""})
        ::RegDeleteKeyA(HKEY_CURRENT_USER, (root + below).c_str());
}

bool Choose(const std::vector<const char*>& list) {
    char chosen[kKivServerPathSize];
    return CKivInstServer::GetMostResponsiveServer(chosen, sizeof chosen, const_cast<const char**>(list.data()),
                                                   static_cast<int>(list.size())) == 1;
}

bool AskSlowest() {
    const kiv::IcmpApi& icmp = kiv::DynamicApi<kiv::IcmpApi>::Get();
    IPAddr address = 0;
    if (!icmp.Complete() || !kiv::StartWinsock() || !kiv::ResolveHost(Host(kServers).c_str(), address))
        return false;
    const HANDLE file = icmp.create();
    bool answered = true;
    std::uint32_t time = 0;
    for (int i = 0; i < kQuality; ++i)
        answered = kiv::SendEcho(icmp, file, address, kTimeout, time) && answered;
    icmp.close(file);
    return answered;
}

}  // namespace

int main() {
    const char* const network = std::getenv("KIV_PRIVATE_NETWORK");
    if (network == nullptr || std::string(network) != "1") {
        std::puts("choice among 64 servers: not measured, it needs a private network");
        return 0;
    }
    std::vector<std::string> paths;
    std::vector<const char*> list;
    for (int i = 1; i <= kServers; ++i)
        paths.push_back("\\\\" + Host(i) + "\\apps");
    for (const std::string& path : paths)
        list.push_back(path.c_str());

    EvaluateAll();
    bool done = AskSlowest();
    for (int i = 0; i < kWarmUp; ++i)
        done = Choose(list) && done;
    kiv::bench::Compare(
        "choice among 64 servers, evaluate-all, all answering", 1.2, kRounds, [&] { done = Choose(list) && done; },
        [&] { done = AskSlowest() && done; });
    const kiv::test::ResourceCount before = kiv::test::CountResources();
    done = Choose(list) && done;
    const kiv::test::ResourceCount after = kiv::test::CountResources();
    RemoveScratchKey();
    std::printf("  left behind: %d threads, %d heap blocks, %s\n", static_cast<int>(after.threads - before.threads),
                static_cast<int>(after.heapBlocks - before.heapBlocks),
                after.nextHandle == before.nextHandle ? "no handle" : "handles");
    return done ? 0 : 1;
}
