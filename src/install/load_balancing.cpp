#include "install/load_balancing.h"

#include "support/once.h"
#include "support/windows_api.h"

#include "install/server_paths.h"
#include "tavkivut/registry.h"

namespace kiv {
namespace {

constexpr std::uint16_t kDefaultQuality = 4;
constexpr unsigned long kHighestQuality = 999;

Once g_once;
LoadBalancing g_settings;

}  // namespace

LoadBalancing ReadLoadBalancing() noexcept {
    LoadBalancing settings{kDefaultQuality, 0};
    CKivRegKey policies(nullptr, kPoliciesKeyPath, nullptr, KEY_READ);
    const unsigned long quality = policies["LbDetectionQuality"];
    if (quality >= 1 && quality <= kHighestQuality)
        settings.quality = static_cast<std::uint16_t>(quality);
    const unsigned long evaluateAll = policies["LbEvaluateAllResponses"];
    settings.evaluateAll = evaluateAll != 0 ? 1 : 0;
    return settings;
}

LoadBalancing& LoadBalancingSettings() noexcept {
    g_once.Run([] { g_settings = ReadLoadBalancing(); });
    return g_settings;
}

}  // namespace kiv
