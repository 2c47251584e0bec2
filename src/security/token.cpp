#include "support/windows_api.h"

#include <atomic>
#include <new>

#include "security/process_heap.h"
#include "security/token_api.h"
#include "security/token_information.h"
#include "support/dynamic_function.h"
#include "support/nt_family.h"
#include "tavkivut/security.h"

using kiv::IsNtFamily;

namespace {

// A new token with the same access; *out is null on failure.
int Duplicate(HANDLE token, SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type, SECURITY_ATTRIBUTES* attributes,
              void** out) noexcept {
    if (out == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    *out = nullptr;
    if (!IsNtFamily())
        return 0;
    const auto duplicate = kiv::DynamicApi<kiv::TokenApi>::Get().duplicate;
    if (duplicate == nullptr) {
        ::SetLastError(ERROR_PROC_NOT_FOUND);
        return 0;
    }
    return duplicate(token, 0, attributes, level, type, out) != 0;
}

}  // namespace

void kiv::TokenApi::Load() noexcept {
    FindFunction(LoadSystemModule("advapi32.dll"), "DuplicateTokenEx", duplicate);
}

// What the objects that share a handle have in common. Each of them may be on a thread of its own.
struct CKivToken::Sharing {
    std::atomic<long> users;
    std::atomic<TOKEN_GROUPS*> groups;
    std::atomic<bool> givenAway;  // the handle is somebody else's to close
};

CKivToken::CKivToken() noexcept : m_token(nullptr), m_groups(nullptr), m_sharing(nullptr) {}

CKivToken::CKivToken(const CKivToken& other) noexcept : CKivToken() {
    *this = other;
}

CKivToken::~CKivToken() {
    Close();
}

CKivToken& CKivToken::operator=(const CKivToken& other) noexcept {
    if (this == &other)
        return *this;
    const bool shares = other.m_token != nullptr && other.Share();
    Close();
    if (shares) {
        m_token = other.m_token;
        m_groups = other.m_groups;
        m_sharing = other.m_sharing;
    }
    return *this;
}

// Counts one more user of this handle; false when memory is exhausted.
bool CKivToken::Share() const noexcept {
    if (m_sharing == nullptr) {
        m_sharing = new (std::nothrow) Sharing{{1}, {m_groups}, {false}};
        if (m_sharing == nullptr)
            return false;
    }
    ++m_sharing->users;
    return true;
}

int CKivToken::OpenProcessToken(void* process, unsigned long access) noexcept {
    Close();
    return IsNtFamily() && ::OpenProcessToken(kiv::ProcessOrCurrent(process), access, &m_token);
}

int CKivToken::OpenThreadToken(void* thread, unsigned long access) noexcept {
    Close();
    if (!IsNtFamily())
        return 0;
    const HANDLE source = kiv::ThreadOrCurrent(thread);
    if (::OpenThreadToken(source, access, TRUE, &m_token))
        return 1;
    if (::GetLastError() != ERROR_NO_TOKEN && ::OpenThreadToken(source, access, FALSE, &m_token))
        return 1;
    return ::GetLastError() == ERROR_NO_TOKEN && ::OpenProcessToken(::GetCurrentProcess(), access, &m_token);
}

void CKivToken::Close() noexcept {
    const bool last = m_sharing == nullptr || --m_sharing->users == 0;
    if (last) {
        kiv::ScopedKernelObject token(m_token);
        if (m_sharing != nullptr) {
            m_groups = m_sharing->groups;
            if (m_sharing->givenAway)
                token.Release();
            delete m_sharing;
        }
        kiv::FreeHeapBlock(m_groups);
    }
    m_token = nullptr;
    m_groups = nullptr;
    m_sharing = nullptr;
}

void CKivToken::Attach(void* token) noexcept {
    if (token == m_token)
        return;
    Close();
    m_token = token;
}

void* CKivToken::Detach() noexcept {
    void* token = m_token;
    m_token = nullptr;
    if (m_sharing != nullptr)
        m_sharing->givenAway = true;
    Close();
    return token;
}

CKivToken::operator void*() const noexcept {
    return m_token;
}

CKivSid CKivToken::GetOwner() const noexcept {
    return m_token != nullptr ? CKivSid::FromTokenUser(m_token) : CKivSid();
}

int CKivToken::GetGroupCount() noexcept {
    if (m_groups == nullptr && m_sharing != nullptr)
        m_groups = m_sharing->groups;
    if (m_groups == nullptr) {
        m_groups = static_cast<TOKEN_GROUPS*>(kiv::ReadTokenInformation(m_token, TokenGroups).Release());
        TOKEN_GROUPS* kept = nullptr;
        if (m_sharing != nullptr && !m_sharing->groups.compare_exchange_strong(kept, m_groups)) {
            kiv::FreeHeapBlock(m_groups);
            m_groups = kept;
        }
    }
    return m_groups != nullptr ? static_cast<int>(m_groups->GroupCount) : -1;
}

CKivSid CKivToken::GetGroupAt(int index) noexcept {
    return index >= 0 && index < GetGroupCount() ? CKivSid(m_groups->Groups[index].Sid) : CKivSid();
}

int CKivToken::IsImpersonation() const noexcept {
    TOKEN_TYPE type = TokenPrimary;
    DWORD size = 0;
    return IsNtFamily() && ::GetTokenInformation(m_token, TokenType, &type, sizeof type, &size) &&
           type == TokenImpersonation;
}

int CKivToken::IsPrimary() const noexcept {
    return !IsImpersonation();
}

int CKivToken::GetImpersonationLevel(SECURITY_IMPERSONATION_LEVEL* out) const noexcept {
    if (!IsNtFamily())
        return 0;
    if (out == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    DWORD size = 0;
    return ::GetTokenInformation(m_token, TokenImpersonationLevel, out, sizeof *out, &size) != 0;
}

int CKivToken::IsPrivilegeEnabled(const char* name) const noexcept {
    if (!IsNtFamily())
        return 0;
    if (name == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    LUID id;
    if (!::LookupPrivilegeValueA(nullptr, name, &id))
        return 0;
    int enabled = 0;
    TOKEN_PRIVILEGES* privileges = AllocPrivileges();
    for (unsigned long i = 0; i < GetPrivilegeCount(privileges); ++i) {
        const LUID_AND_ATTRIBUTES* privilege = GetPrivilegeAt(privileges, i);
        if (privilege->Luid.LowPart == id.LowPart && privilege->Luid.HighPart == id.HighPart)
            enabled = privilege->Attributes != 0;
    }
    FreePrivileges(privileges);
    return enabled;
}

int CKivToken::DuplicateTo(void** out, SECURITY_ATTRIBUTES* sa) const noexcept {
    SECURITY_IMPERSONATION_LEVEL level;
    const bool hasLevel = m_token != nullptr && GetImpersonationLevel(&level);
    return hasLevel ? Duplicate(m_token, level, TokenImpersonation, sa, out)
                    : Duplicate(m_token, SecurityIdentification, TokenPrimary, sa, out);
}

int CKivToken::DuplicateTo(void** out, SECURITY_IMPERSONATION_LEVEL level, SECURITY_ATTRIBUTES* sa) const noexcept {
    return Duplicate(m_token, level, TokenImpersonation, sa, out);
}

TOKEN_PRIVILEGES* CKivToken::AllocPrivileges() const noexcept {
    return static_cast<TOKEN_PRIVILEGES*>(kiv::ReadTokenInformation(m_token, TokenPrivileges).Release());
}

unsigned long CKivToken::GetPrivilegeCount(TOKEN_PRIVILEGES* privileges) const noexcept {
    return privileges != nullptr ? privileges->PrivilegeCount : 0;
}

LUID_AND_ATTRIBUTES* CKivToken::GetPrivilegeAt(TOKEN_PRIVILEGES* privileges, unsigned long index) const noexcept {
    return index < GetPrivilegeCount(privileges) ? &privileges->Privileges[index] : nullptr;
}

void CKivToken::FreePrivileges(TOKEN_PRIVILEGES* privileges) const noexcept {
    kiv::FreeHeapBlock(privileges);
}
