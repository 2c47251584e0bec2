#ifndef KIV_REGISTRY_CONFIG_FILES_H
#define KIV_REGISTRY_CONFIG_FILES_H

#include <string>

namespace kiv {

constexpr char kConfigRootKey[] = "HKLM\\Software\\TAV\\TAVSetup";

// "TavSetup.cfg" beside the running executable, and in the setup folder of an installation server.
std::string LocalConfigFile();
std::string ServerConfigFile(std::string serverPath);

// Writes an entry into the local file and into that of every installation server, each distinct path once; logs what
// happens to each.
void UpdateConfigFiles(const char* section, const char* key, const char* value);

}  // namespace kiv

#endif
