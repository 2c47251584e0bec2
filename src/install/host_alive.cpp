#include <string>

#include "files/path_text.h"
#include "install/icmp.h"
#include "install/server_paths.h"
#include "support/clock.h"
#include "support/code_page.h"
#include "tavkivut/inst_server.h"

namespace {

constexpr DWORD kTimeout = 2000;
constexpr DWORD kSlowTimeout = 5000;

bool IsDrivePathWithRoot(const std::string& path) noexcept {
    return kiv::IsDrivePath(path) && path.size() > 2 && path[2] == '\\';
}

std::string HostIn(const std::string& hostOrPath) {
    if (kiv::IsUncPath(hostOrPath))
        return std::string(kiv::HostOfUncPath(hostOrPath, kiv::IsAnsiLeadByte));
    return IsDrivePathWithRoot(hostOrPath) ? kiv::HostOfPath(hostOrPath) : hostOrPath;
}

// Asks until an answer comes, however often. Callers rely on it to wait for a machine that is starting; a machine that
// never answers keeps them here for ever. An attempt that fails at once, as without a network, takes its time too.
void WaitForAnswer(const kiv::IcmpApi& icmp, HANDLE file, IPAddr address, DWORD timeout) noexcept {
    for (std::uint32_t time = kiv::kNoRoundTripTime;;) {
        const DWORD start = kiv::Clock().tickCount();
        if (kiv::SendEcho(icmp, file, address, timeout, time) && time != kiv::kNoRoundTripTime)
            return;
        const DWORD elapsed = kiv::MillisecondsSince(start);
        if (elapsed < timeout)
            kiv::Clock().sleep(timeout - elapsed);
    }
}

}  // namespace

int KIV_CALL KivIsHostAlive(const char* hostOrPath, int slow) noexcept {
    const std::string host = HostIn(hostOrPath == nullptr ? "" : hostOrPath);
    if (host.empty())
        return 0;
    // A system that cannot ask takes the host for alive.
    const kiv::IcmpApi& icmp = kiv::DynamicApi<kiv::IcmpApi>::Get();
    const HANDLE file = icmp.Complete() ? icmp.create() : INVALID_HANDLE_VALUE;
    if (file == INVALID_HANDLE_VALUE)
        return 1;
    IPAddr address = 0;
    const bool resolved = kiv::StartWinsock() && kiv::ResolveHost(host.c_str(), address);
    if (resolved)
        WaitForAnswer(icmp, file, address, slow != 0 ? kSlowTimeout : kTimeout);
    icmp.close(file);
    return resolved ? 1 : 0;
}
