#ifndef KIV_INSTALL_SERVER_PATHS_H
#define KIV_INSTALL_SERVER_PATHS_H

#include <string>
#include <string_view>

namespace kiv {

// What the sources of the installation server share: where its settings stand, and paths as the system sees them.

constexpr const char* kGeneralKeyPath = "HKLM\\Software\\TAV\\TAVSetup\\General";
constexpr const char* kPoliciesKeyPath = "HKLM\\Software\\TAV\\TAVSetup\\Policies";
constexpr const char* kServerListName = "InstServer";
constexpr const char* kSetupConfigFile = "TavSetup.cfg";

// The directory of the installer's own files on a workstation, and the value of the general key with its path.
constexpr const char* kWorkstationDirectory = "TAVwksta";
constexpr const char* kWorkstationPathName = "TAVwkstaPath";

// Copies a path into a buffer of kKivServerPathSize characters; one that does not fit leaves "", since a cut path
// names another place. Returns whether it fitted.
bool CopyServerPath(char* out, std::string_view path) noexcept;

std::string WithoutTrailingBackslash(std::string_view path);

// The UNC form of a path on a mapped drive; the path itself when it has none.
std::string UniversalPath(const std::string& path);

// The host that a path leads to: that of its UNC form, else the local computer.
std::string HostOfPath(const std::string& path);

// The directory above the executable's own, from which an installer runs that was started off its own server. An
// executable in the root of a drive has only that root.
std::string FallbackServerPath();

}  // namespace kiv

#endif
