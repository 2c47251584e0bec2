#include "support/windows_api.h"

#include "security/token_information.h"
#include "support/heap_text.h"
#include "support/log.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"
#include "tavkivut/security.h"

using kiv::IsNtFamily;

CKivPrivilege::CKivPrivilege(const char* name, int processWide) noexcept
    : m_name(kiv::DuplicateText(name)), m_granted(0), m_processWide(processWide), m_token(nullptr) {
    m_granted = processWide ? SetProcessPrivilege(::GetCurrentProcess(), m_name, 1)
                            : SetThreadPrivilege(::GetCurrentThread(), m_name, 1);
}

CKivPrivilege::CKivPrivilege(void* token, const char* name) noexcept
    : m_name(kiv::DuplicateText(name)), m_granted(0), m_processWide(0), m_token(token) {
    m_granted = SetTokenPrivilege(m_token, m_name, 1);
}

CKivPrivilege::CKivPrivilege(const CKivPrivilege& other) noexcept
    : m_name(kiv::DuplicateText(other.m_name)), m_granted(other.m_granted), m_processWide(other.m_processWide),
      m_token(other.m_token) {}

CKivPrivilege::~CKivPrivilege() {
    if (m_granted) {
        const kiv::LastErrorKeeper keeper;
        if (m_token != nullptr)
            SetTokenPrivilege(m_token, m_name, 0);
        else if (m_processWide)
            SetProcessPrivilege(::GetCurrentProcess(), m_name, 0);
        else
            SetThreadPrivilege(::GetCurrentThread(), m_name, 0);
    }
    kiv::FreeText(m_name);
}

CKivPrivilege& CKivPrivilege::operator=(const CKivPrivilege& other) noexcept {
    if (this == &other)
        return *this;
    kiv::ReplaceText(m_name, other.m_name);
    m_granted = other.m_granted;
    m_processWide = other.m_processWide;
    m_token = other.m_token;
    return *this;
}

int CKivPrivilege::Granted() const noexcept {
    return m_granted;
}

int CKivPrivilege::SetTokenPrivilege(void* token, const char* name, int enable) noexcept {
    if (!IsNtFamily())
        return 1;
    if (name == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Security : %s privilege '%s'...", enable ? "Enabling" : "Disabling", name);
    TOKEN_PRIVILEGES change{};
    change.PrivilegeCount = 1;
    change.Privileges[0].Attributes = enable ? SE_PRIVILEGE_ENABLED : 0;
    if (::LookupPrivilegeValueA(nullptr, name, &change.Privileges[0].Luid) &&
        ::AdjustTokenPrivileges(token, FALSE, &change, 0, nullptr, nullptr))
        return 1;
    const DWORD error = ::GetLastError();
    KIV_LOG_WIN32_TEXT(error, "Security : failed to set privilege", kiv::kLogDetail);
    return 0;
}

int CKivPrivilege::SetProcessPrivilege(void* process, const char* name, int enable) noexcept {
    if (!IsNtFamily())
        return 1;
    kiv::ScopedKernelObject token;
    if (!::OpenProcessToken(kiv::ProcessOrCurrent(process), TOKEN_ADJUST_PRIVILEGES, token.Receive())) {
        const DWORD error = ::GetLastError();
        KIV_LOG_WIN32_TEXT(error, "Security : failed to open process token", kiv::kLogDetail);
        return 0;
    }
    return SetTokenPrivilege(token.Get(), name, enable);
}

int CKivPrivilege::SetThreadPrivilege(void* thread, const char* name, int enable) noexcept {
    if (!IsNtFamily())
        return 1;
    kiv::ScopedKernelObject token;
    if (!::OpenThreadToken(kiv::ThreadOrCurrent(thread), TOKEN_ADJUST_PRIVILEGES, FALSE, token.Receive())) {
        const DWORD error = ::GetLastError();
        KIV_LOG_WIN32_TEXT(error, "Security : cannot set privilege for thread (not impersonating)", kiv::kLogDetail);
        return 0;
    }
    return SetTokenPrivilege(token.Get(), name, enable);
}
