#include "install/icmp.h"

#include "support/once.h"

namespace kiv {
namespace {

Once g_winsockOnce;
bool g_winsockRuns = false;

}  // namespace

void IcmpApi::Load() noexcept {
    const HMODULE module = LoadSystemModule("icmp.dll");
    FindFunction(module, "IcmpCreateFile", create);
    FindFunction(module, "IcmpCloseHandle", close);
    FindFunction(module, "IcmpSendEcho", sendEcho);
}

void WinsockApi::Load() noexcept {
    const HMODULE module = LoadSystemModule("ws2_32.dll");
    FindFunction(module, "WSAStartup", startup);
    FindFunction(module, "gethostbyname", getHostByName);
}

bool StartWinsock() noexcept {
    const WinsockApi& winsock = DynamicApi<WinsockApi>::Get();
    if (winsock.startup == nullptr || winsock.getHostByName == nullptr)
        return false;
    g_winsockOnce.Run([&] {
        WSADATA data;
        g_winsockRuns = winsock.startup(MAKEWORD(2, 2), &data) == 0;
    });
    return g_winsockRuns;
}

bool ResolveHost(const char* host, IPAddr& address) noexcept {
    const hostent* const found = DynamicApi<WinsockApi>::Get().getHostByName(host);
    if (found == nullptr || found->h_addrtype != AF_INET || found->h_addr_list[0] == nullptr)
        return false;
    static_assert(sizeof address == sizeof(in_addr));
    ::memcpy(&address, found->h_addr_list[0], sizeof address);
    return true;
}

bool SendEcho(const IcmpApi& icmp, HANDLE file, IPAddr address, DWORD timeout, std::uint32_t& roundTripTime) noexcept {
    // The reply without data, and the 8 bytes that an ICMP error message may carry.
    struct {
        ICMP_ECHO_REPLY reply;
        char errorMessage[8];
    } answer{};
    static_assert(sizeof answer == (sizeof(void*) == 4 ? 36 : 48));
    answer.reply.RoundTripTime = kNoRoundTripTime;
    const DWORD replies = icmp.sendEcho(file, address, nullptr, 0, nullptr, &answer, sizeof answer, timeout);
    // "Unreachable" and the like are replies too, without a time.
    roundTripTime = answer.reply.Status == IP_SUCCESS ? answer.reply.RoundTripTime : kNoRoundTripTime;
    return replies != 0;
}

}  // namespace kiv
