#include "network/computer.h"

#include "support/ascii.h"
#include "tavkivut/system.h"

namespace kiv {

std::string ComputerName(const char* name) {
    std::string_view bare = name != nullptr ? name : "";
    while (!bare.empty() && bare.front() == '\\')
        bare.remove_prefix(1);
    if (bare == "." || EqualsIgnoreCase(bare, CKivSystem::GetComputerNameA()))
        return {};
    return std::string(bare);
}

std::string ServerName(std::string_view computer) {
    return computer.empty() ? std::string() : "\\\\" + std::string(computer);
}

}  // namespace kiv
