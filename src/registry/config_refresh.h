#ifndef KIV_REGISTRY_CONFIG_REFRESH_H
#define KIV_REGISTRY_CONFIG_REFRESH_H

namespace kiv {

// Brings the registry in step with the newer of the local and the session server's configuration file, when it is newer
// than what the registry was last filled from. Logs what it does.
void RefreshConfig();

}  // namespace kiv

#endif
