#include <string>
#include <vector>

#include "support/windows_api.h"

#include "install/configured_servers.h"
#include "install/load_balancing.h"
#include "install/server_list.h"
#include "install/server_probe.h"
#include "support/heap_text.h"
#include "tavkivut/inst_server.h"

using kiv::kNoServer;
using kiv::ProbeSet;

namespace {

using Servers = std::vector<std::string>;

Servers GivenServers(const char** list, int count) {
    Servers servers;
    for (int i = 0; i < count; ++i)
        servers.emplace_back(list[i] == nullptr ? "" : list[i]);
    return servers;
}

Servers ConfiguredServers() {
    const std::string list = kiv::ReadServerList().text;
    const std::vector<std::string_view> entries = kiv::SplitServerList(list);
    return Servers(entries.begin(), entries.end());
}

bool IsServerAvailable(const Servers& servers, std::size_t index) noexcept {
    return CKivInstServer::IsAvailable(servers[index].c_str()) != 0;
}

kiv::FastestServer FindFastest(const Servers& servers, const ProbeSet& probes) {
    return kiv::FindFastest(
        servers.size(), [&](std::size_t i) { return probes.Average(i); },
        [&](std::size_t i) { return IsServerAvailable(servers, i); });
}

// Any server of the list, when it is available; else `best`. A first responsive server that nobody beat would
// otherwise get every client.
int DrawInstead(const Servers& servers, int best) noexcept {
    const std::size_t drawn = ::GetTickCount() % servers.size();
    return IsServerAvailable(servers, drawn) ? static_cast<int>(drawn) : best;
}

// After a time-out what has come in by then decides, without a draw.
int ChooseAmongAll(const Servers& servers, ProbeSet& probes) {
    const DWORD result = probes.Run(true);
    if (result != WAIT_TIMEOUT && result >= WAIT_OBJECT_0 + probes.ThreadCount())
        return kNoServer;
    const kiv::FastestServer fastest = FindFastest(servers, probes);
    return result != WAIT_TIMEOUT && fastest.MayDraw() ? DrawInstead(servers, fastest.index) : fastest.index;
}

// The first to finish is the choice or there is none: a second wait would cost what this mode is to save.
int ChooseFirstFinisher(const Servers& servers, ProbeSet& probes) {
    const DWORD result = probes.Run(false);
    if (result >= WAIT_OBJECT_0 + probes.ThreadCount())
        return kNoServer;
    const std::size_t waitIndex = result - WAIT_OBJECT_0;
    const kiv::ProbeRecord* const finished = probes.FindByWaitIndex(waitIndex);
    if (finished != nullptr) {
        const auto server = static_cast<std::size_t>(finished->serverIndex);
        if (probes.Average(server) != kiv::kNoAverage && IsServerAvailable(servers, server))
            return finished->serverIndex;
    }
    probes.Forget(waitIndex);
    return kNoServer;
}

}  // namespace

int CKivInstServer::GetMostResponsiveServer(char* out, unsigned int outSize, const char** list, int count) noexcept {
    if (out == nullptr || outSize == 0)
        return 0;
    const Servers servers = list != nullptr ? GivenServers(list, count) : ConfiguredServers();
    out[0] = '\0';
    const bool evaluateAll = kiv::LoadBalancingSettings().evaluateAll != 0;
    const kiv::IcmpApi& icmp = kiv::DynamicApi<kiv::IcmpApi>::Get();
    if (!icmp.Complete() || !kiv::StartWinsock())
        return 0;

    ProbeSet probes(servers, icmp);
    const int chosen = evaluateAll ? ChooseAmongAll(servers, probes) : ChooseFirstFinisher(servers, probes);
    if (chosen == kNoServer)
        return 0;
    kiv::CopyText(out, outSize, servers[static_cast<std::size_t>(chosen)].c_str());
    return 1;
}
