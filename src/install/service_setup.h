#ifndef KIV_INSTALL_SERVICE_SETUP_H
#define KIV_INSTALL_SERVICE_SETUP_H

#include <string>

#include "install/service_api.h"
#include "tavkivut/service_control.h"

namespace kiv {

// What both ways of installing the service have in common.

constexpr DWORD kServiceType = SERVICE_WIN32_OWN_PROCESS;
constexpr DWORD kServiceErrorControl = SERVICE_ERROR_NORMAL;
constexpr char kServiceDependencies[] = "RPCSS\0";  // a list: ended by two NUL characters
constexpr DWORD kServiceAccess = SERVICE_ALL_ACCESS;
constexpr DWORD kManagerAccess = SC_MANAGER_CREATE_SERVICE;

// A computer as an argument of the system's calls: null is this one.
class MachineArgument {
public:
    explicit MachineArgument(const char* computer);
    operator const char*() const noexcept { return m_server.empty() ? nullptr : m_server.c_str(); }

private:
    std::string m_server;
};

// An account as the service manager takes it; "" is the same as none.
inline const char* TextOrNull(const char* text) noexcept {
    return text != nullptr && text[0] != '\0' ? text : nullptr;
}

// The path of a program as the service manager starts it: in quotes where a blank would end it.
std::string ServiceBinaryPath(const std::string& path);

// Opens an installed service. Gives the Win32 error, 0 for success, and writes no line.
DWORD OpenInstalledService(SC_HANDLE manager, const char* name, CNTScmService& service) noexcept;

// Gives an installed service what a new one gets. Null texts stay as they are. Gives the Win32 error, 0 for success.
DWORD ConfigureService(SC_HANDLE service, DWORD startType, const char* binaryPath, const char* account,
                       const char* password, const char* display) noexcept;

// Copies a file over another one. What was read-only can be replaced by the next copy all the same. Gives the Win32
// error, 0 for success.
DWORD CopyOver(const char* source, const char* target) noexcept;

// Grants the account what it needs to run the service; a line for each right. Nothing without an account.
void GrantServiceRights(const char* machine, const char* account) noexcept;

// Writes the description where the system's own list of services looks for it; a failure is logged.
void WriteServiceDescription(const char* machine, const char* name, const char* description);

// Gives the service a null DACL; logs how that went.
bool OpenServiceToEveryone(SC_HANDLE service) noexcept;

}  // namespace kiv

#endif
