#ifndef KIV_INSTALL_ICMP_H
#define KIV_INSTALL_ICMP_H

#include <cstdint>

#include "support/dynamic_function.h"

#include <winsock2.h>

#include <iphlpapi.h>

#include <icmpapi.h>

namespace kiv {

constexpr std::uint32_t kNoRoundTripTime = 0xFFFFFFFF;

// The three entry points of ICMP echoes, in icmp.dll.
struct IcmpApi {
    decltype(&::IcmpCreateFile) create;
    decltype(&::IcmpCloseHandle) close;
    decltype(&::IcmpSendEcho) sendEcho;

    void Load() noexcept;
    bool Complete() const noexcept { return create != nullptr && close != nullptr && sendEcho != nullptr; }
};

// Winsock 2, which the first Windows 95 lacks.
struct WinsockApi {
    decltype(&::WSAStartup) startup;
    decltype(&::gethostbyname) getHostByName;

    void Load() noexcept;
};

// Starts Winsock 2.2, once in the process; it is never cleaned up. Returns whether it runs.
bool StartWinsock() noexcept;

// The first address of a host; false when its name does not resolve. Winsock must run.
bool ResolveHost(const char* host, IPAddr& address) noexcept;

// Sends one echo request without data and waits for its reply. Returns whether any came; its time, in milliseconds,
// can be kNoRoundTripTime.
bool SendEcho(const IcmpApi& icmp, HANDLE file, IPAddr address, DWORD timeout, std::uint32_t& roundTripTime) noexcept;

}  // namespace kiv

#endif
