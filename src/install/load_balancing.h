#ifndef KIV_INSTALL_LOAD_BALANCING_H
#define KIV_INSTALL_LOAD_BALANCING_H

#include <cstdint>

namespace kiv {

// How servers are measured; read from the registry once in the process.
struct LoadBalancing {
    std::uint16_t quality = 0xFFFF;      // echo requests for each server
    std::uint16_t evaluateAll = 0xFFFF;  // 1: wait for every server, 0: for any; all ones: not read yet
};

// What the registry says now.
LoadBalancing ReadLoadBalancing() noexcept;

// What it said at the first call. Tests may change it afterwards.
LoadBalancing& LoadBalancingSettings() noexcept;

}  // namespace kiv

#endif
