#include "support/windows_api.h"

#include <cstring>
#include <string>

#include "install/server_paths.h"
#include "install/service_call.h"
#include "install/service_setup.h"
#include "support/heap_text.h"
#include "support/hresult.h"
#include "support/log.h"
#include "tavkivut/install_service.h"
#include "tavkivut/system.h"

// The object's data, its connections to the target, and the making of the service; install_service_state.cpp asks and
// changes the state of the service, install_service_files.cpp brings its files.

namespace {

constexpr unsigned long kLongestName = 256;  // as the service manager limits it
constexpr unsigned long kLongestText = 259;  // as a path

}  // namespace

CKivInstallService::CKivInstallService(const char* computer, const char* name, const char* exeName, const char* display,
                                       const char* description) noexcept
    : m_computer(nullptr), m_name(nullptr), m_exeName(nullptr), m_display(nullptr), m_description(nullptr),
      m_initialized(false) {
    m_share.SetDirToShare(DIR_WORKSTATION_BASE);
    SetTargetComputer(computer != nullptr ? computer : CKivSystem::GetComputerNameA());
    SetServiceName(name);
    SetServiceExeName(exeName);
    SetServiceDisplay(display);
    SetServiceDesc(description);
}

CKivInstallService::CKivInstallService(const CKivInstallService& other) noexcept
    : m_computer(kiv::DuplicateText(other.m_computer)), m_name(kiv::DuplicateText(other.m_name)),
      m_exeName(kiv::DuplicateText(other.m_exeName)), m_display(kiv::DuplicateText(other.m_display)),
      m_description(kiv::DuplicateText(other.m_description)), m_initialized(IsComplete()), m_share(other.m_computer) {
    m_share.SetDirToShare(DIR_WORKSTATION_BASE);
}

CKivInstallService& CKivInstallService::operator=(const CKivInstallService& other) noexcept {
    if (this == &other)
        return *this;
    Disconnect();
    kiv::ReplaceText(m_computer, other.m_computer);
    kiv::ReplaceText(m_name, other.m_name);
    kiv::ReplaceText(m_exeName, other.m_exeName);
    kiv::ReplaceText(m_display, other.m_display);
    kiv::ReplaceText(m_description, other.m_description);
    m_initialized = IsComplete();
    m_share.SetComputer(m_computer);
    return *this;
}

CKivInstallService::~CKivInstallService() {
    Disconnect();
    kiv::FreeText(m_computer);
    kiv::FreeText(m_name);
    kiv::FreeText(m_exeName);
    kiv::FreeText(m_display);
    kiv::FreeText(m_description);
}

bool CKivInstallService::IsComplete() const noexcept {
    return m_computer != nullptr && m_name != nullptr && m_exeName != nullptr && m_display != nullptr &&
           m_description != nullptr;
}

bool CKivInstallService::Set(char*& field, const char* text, unsigned long limit) noexcept {
    const std::size_t length = text != nullptr ? std::strlen(text) : 0;
    if (length == 0 || length > limit)
        return false;
    if (!kiv::TryReplaceText(field, text))
        return false;
    m_initialized = IsComplete();
    return true;
}

bool CKivInstallService::SetServiceName(const char* name) noexcept {
    return Set(m_name, name, kLongestName);
}

bool CKivInstallService::SetServiceExeName(const char* exeName) noexcept {
    return Set(m_exeName, exeName, kLongestText);
}

bool CKivInstallService::SetServiceDisplay(const char* display) noexcept {
    return Set(m_display, display, kLongestName);
}

bool CKivInstallService::SetServiceDesc(const char* description) noexcept {
    return Set(m_description, description, kLongestText);
}

bool CKivInstallService::SetTargetComputer(const char* computer) noexcept {
    if (!Set(m_computer, computer, kLongestText))
        return false;
    Disconnect();
    return m_share.SetComputer(m_computer);
}

bool CKivInstallService::ServiceDataInitialized() const noexcept {
    return m_initialized;
}

void CKivInstallService::Disconnect() noexcept {
    m_manager.Close();
    m_share.CloseShare();
}

// Gives the Win32 error; the manager logs its attempts.
unsigned long CKivInstallService::Connect() noexcept {
    if (!m_initialized)
        return ERROR_INVALID_PARAMETER;
    if (SC_HANDLE(m_manager) != nullptr || m_manager.Open(kiv::MachineArgument(m_computer), SC_MANAGER_CONNECT))
        return ERROR_SUCCESS;
    return m_manager.GetLastError();
}

// Opens the service. A connection that has gone is made anew by the next operation.
unsigned long CKivInstallService::OpenTarget(CNTScmService& service) noexcept {
    if (const DWORD error = Connect())
        return error;
    const DWORD error = kiv::OpenInstalledService(m_manager, m_name, service);
    if (error != ERROR_SUCCESS && error != ERROR_SERVICE_DOES_NOT_EXIST)
        m_manager.Close();
    return error;
}

// As OpenTarget, only to see whether the service is there. A connection that has gone since the last operation is made
// anew at once.
unsigned long CKivInstallService::FindTarget() noexcept {
    const bool wasConnected = SC_HANDLE(m_manager) != nullptr;
    CNTScmService service;
    const DWORD error = OpenTarget(service);
    const bool isAnswer = error == ERROR_SUCCESS || error == ERROR_SERVICE_DOES_NOT_EXIST;
    return isAnswer || !wasConnected ? error : OpenTarget(service);
}

// Opens the share of the directory that holds the workstation directory; it stays open.
unsigned long CKivInstallService::OpenDirectory() noexcept {
    if (m_share.IsOpen() || m_share.OpenShare())
        return ERROR_SUCCESS;
    const DWORD error = ::GetLastError();
    KIV_LOG_WIN32(error, kiv::kLogError, "CKivInstallService: Could not create share on %s", m_computer);
    return error;
}

long CKivInstallService::InstallService(char* account, char* password, unsigned long startType) noexcept {
    if (!m_initialized)
        return kiv::kStatusFail;
    kiv::GrantServiceRights(kiv::MachineArgument(m_computer), account);
    if (const DWORD error = OpenDirectory())
        return kiv::StatusFromWin32(error);
    const std::string binaryPath = kiv::ServiceBinaryPath(std::string(m_share.GetLocalPath()) + "\\" +
                                                          kiv::kWorkstationDirectory + "\\" + m_exeName);
    CNTScmService service;
    const DWORD error = OpenTarget(service);
    if (error == ERROR_SUCCESS)
        return Reconfigure(service, binaryPath.c_str(), kiv::TextOrNull(account), password, startType);
    if (error == ERROR_SERVICE_DOES_NOT_EXIST)
        return Create(binaryPath.c_str(), kiv::TextOrNull(account), password, startType);
    return kiv::StatusFromWin32(error);
}

long CKivInstallService::Create(const char* binaryPath, const char* account, const char* password,
                                unsigned long startType) noexcept {
    const kiv::MachineArgument machine(m_computer);
    CNTServiceControlManager manager;
    if (!manager.Open(machine, kiv::kManagerAccess))
        return kiv::StatusFromWin32(manager.GetLastError());
    CNTScmService service;
    if (!service.Create(manager, m_name, m_display, kiv::kServiceAccess, kiv::kServiceType, startType,
                        kiv::kServiceErrorControl, binaryPath, nullptr, nullptr, kiv::kServiceDependencies, account,
                        password))
        return kiv::StatusFromWin32(::GetLastError());
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Created Service successfully at %s", binaryPath);
    kiv::WriteServiceDescription(machine, m_name, m_description);
    return kiv::kStatusOk;
}

long CKivInstallService::Reconfigure(CNTScmService& service, const char* binaryPath, const char* account,
                                     const char* password, unsigned long startType) noexcept {
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "The service is allready installed; user and pwd will be changed");
    if (IsStopped() != kiv::kStatusOk) {
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Could not stop service in order to change config.");
        return kiv::kStatusFail;
    }
    const char* const displayAsItIs = nullptr;
    const DWORD error = kiv::ConfigureService(service, startType, binaryPath, account, password, displayAsItIs);
    if (error == ERROR_SUCCESS)
        return kiv::kStatusOk;
    KIV_LOG_WIN32_TEXT(error, "Failed to reconfigure service", kiv::kLogMain);
    return kiv::StatusFromWin32(error);
}
