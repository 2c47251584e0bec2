#include "kivctl/echo.h"

#include "install/icmp.h"
#include "install/server_paths.h"

namespace kivctl {
namespace {

constexpr unsigned kFutile = 2;

void Measure(const kiv::IcmpApi& icmp, HANDLE file, IPAddr address, const EchoLimits& limits, EchoResult& result) {
    while (result.sent < static_cast<unsigned>(limits.count) && (result.answered > 0 || result.sent < kFutile)) {
        std::uint32_t time = kiv::kNoRoundTripTime;
        const bool came = kiv::SendEcho(icmp, file, address, static_cast<DWORD>(limits.timeout), time);
        ++result.sent;
        if (!came || time == kiv::kNoRoundTripTime)
            continue;
        ++result.answered;
        result.total += time;
    }
}

}  // namespace

std::optional<EchoResult> SendEchoes(const std::string& server, const EchoLimits& limits) {
    const kiv::IcmpApi& icmp = kiv::DynamicApi<kiv::IcmpApi>::Get();
    const HANDLE file = icmp.Complete() && kiv::StartWinsock() ? icmp.create() : INVALID_HANDLE_VALUE;
    if (file == INVALID_HANDLE_VALUE)
        return std::nullopt;
    EchoResult result;
    const std::string host = kiv::HostOfPath(server);
    IPAddr address = 0;
    result.resolved = !host.empty() && kiv::ResolveHost(host.c_str(), address);
    if (result.resolved)
        Measure(icmp, file, address, limits, result);
    icmp.close(file);
    return result;
}

}  // namespace kivctl
