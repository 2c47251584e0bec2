#ifndef KIVCTL_SERVICE_VIEW_H
#define KIVCTL_SERVICE_VIEW_H

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tavkivut/service_control.h"

namespace kivctl {

// How the subcommand for services shows what the service manager says.

struct ListedService {
    std::string name;
    std::string displayName;
    unsigned long state;
};
void PrintServices(const std::vector<ListedService>& services, bool json);

std::string StateName(unsigned long state);  // "running"

// `processId` is 0 where it is not known.
void PrintStatus(const std::string& name, const SERVICE_STATUS& status, unsigned long processId, bool json);

void PrintConfig(const QUERY_SERVICE_CONFIGA& config, bool json);

// "auto", "demand", "disabled", "boot" or "system".
unsigned long StartTypeOf(const std::string& word);

}  // namespace kivctl

#endif
