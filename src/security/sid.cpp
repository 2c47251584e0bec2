#include "support/windows_api.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>

#include "security/account_lookup.h"
#include "security/process_heap.h"
#include "security/sid_record.h"
#include "security/sid_text.h"
#include "security/token_information.h"
#include "support/heap_text.h"
#include "support/nt_family.h"
#include "tavkivut/security.h"

using kiv::IsNtFamily;

namespace {

constexpr std::size_t kMostAllocatorParts = 8;

// A SID from the system's allocator, which takes the eight numbers one by one; null on failure.
PSID AllocateSid(std::uint8_t authority, const std::array<std::uint32_t, kMostAllocatorParts>& parts,
                 std::size_t count) noexcept {
    SID_IDENTIFIER_AUTHORITY identifier = {{0, 0, 0, 0, 0, authority}};
    PSID sid = nullptr;
    if (!::AllocateAndInitializeSid(&identifier, static_cast<BYTE>(count), parts[0], parts[1], parts[2], parts[3],
                                    parts[4], parts[5], parts[6], parts[7], &sid))
        return nullptr;
    return sid;
}

std::uint8_t AuthorityByte(CKivSid::Authorities authority) noexcept {
    switch (authority) {
    case CKivSid::AUTH_NULL:
    case CKivSid::AUTH_WORLD:
    case CKivSid::AUTH_LOCAL:
    case CKivSid::AUTH_CREATOR:
        return static_cast<std::uint8_t>(authority);
    default:
        return CKivSid::AUTH_NT;
    }
}

struct WellKnown {
    CKivSid::WellKnownSid which;
    CKivSid::Authorities authority;
    unsigned char count;
    unsigned long parts[2];
};

constexpr WellKnown kWellKnown[] = {
    {CKivSid::WKS_EVERYONE, CKivSid::AUTH_WORLD, 1, {SECURITY_WORLD_RID, 0}},
    {CKivSid::WKS_GUESTS, CKivSid::AUTH_NT, 2, {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_GUESTS}},
    {CKivSid::WKS_USERS, CKivSid::AUTH_NT, 2, {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_USERS}},
    {CKivSid::WKS_POWER_USERS, CKivSid::AUTH_NT, 2, {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_POWER_USERS}},
    {CKivSid::WKS_AUTHENTICATED_USERS, CKivSid::AUTH_NT, 1, {SECURITY_AUTHENTICATED_USER_RID, 0}},
    {CKivSid::WKS_ADMINISTRATORS, CKivSid::AUTH_NT, 2, {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS}},
    {CKivSid::WKS_NULL, CKivSid::AUTH_NULL, 1, {SECURITY_NULL_RID, 0}},
    {CKivSid::WKS_LOCAL_SYSTEM, CKivSid::AUTH_NT, 1, {SECURITY_LOCAL_SYSTEM_RID, 0}},
};

const char* WithoutLocalMark(const char* account) noexcept {
    return account[0] == '.' && account[1] == '\\' ? account + 2 : account;
}

}  // namespace

CKivSid::CKivSid(void* const sid) noexcept
    : m_sid(nullptr), m_heapOwned(1), m_text(nullptr), m_name(nullptr), m_domain(nullptr) {
    *this = sid;
}

CKivSid::CKivSid(decltype(nullptr)) noexcept : CKivSid(static_cast<void*>(nullptr)) {}

CKivSid::CKivSid(const CKivSid& other) noexcept : CKivSid(other.m_sid) {}

CKivSid::CKivSid(const char* text) noexcept : CKivSid() {
    *this = text;
}

CKivSid::~CKivSid() {
    Clear();
}

CKivSid& CKivSid::operator=(void* const sid) noexcept {
    void* copy = IsNtFamily() ? kiv::CopySidToHeap(sid).Release() : nullptr;
    Clear();
    m_sid = copy;
    return *this;
}

CKivSid& CKivSid::operator=(decltype(nullptr)) noexcept {
    Clear();
    return *this;
}

CKivSid& CKivSid::operator=(const CKivSid& other) noexcept {
    if (this != &other)
        *this = other.m_sid;
    return *this;
}

CKivSid& CKivSid::operator=(const char* text) noexcept {
    void* sid = nullptr;
    int heapOwned = 1;
    kiv::SidParts parts;
    if (text != nullptr && IsNtFamily()) {
        if (kiv::ReadSidText(text, parts)) {
            sid = AllocateSid(parts.authority, parts.subAuthorities, parts.count);
            heapOwned = 0;
        } else {
            sid = kiv::FindAccountSid(WithoutLocalMark(text)).Release();
        }
    }
    Clear();
    m_sid = sid;
    m_heapOwned = sid != nullptr ? heapOwned : 1;
    return *this;
}

CKivSid& CKivSid::operator=(WellKnownSid which) noexcept {
    for (const WellKnown& known : kWellKnown) {
        if (known.which == which)
            Create(known.authority, known.count, known.parts[0], known.parts[1]);
    }
    return *this;
}

bool CKivSid::operator==(void* const sid) const noexcept {
    if (m_sid == sid)
        return true;
    return m_sid != nullptr && sid != nullptr && ::EqualSid(m_sid, sid);
}

bool CKivSid::operator==(const CKivSid& other) const noexcept {
    return *this == other.m_sid;
}

int CKivSid::Create(Authorities authority, unsigned char count, ...) noexcept {
    std::array<std::uint32_t, kMostAllocatorParts> parts{};
    const std::size_t used = std::min<std::size_t>(count, parts.size());
    va_list arguments;
    va_start(arguments, count);
    for (std::size_t i = 0; i < used; ++i)
        parts[i] = va_arg(arguments, unsigned long);
    va_end(arguments);
    Clear();
    if (!IsNtFamily())
        return 0;
    m_sid = AllocateSid(AuthorityByte(authority), parts, used);
    m_heapOwned = m_sid != nullptr ? 0 : 1;
    return m_sid != nullptr;
}

CKivSid::operator const char*() noexcept {
    if (m_text == nullptr && m_sid != nullptr) {
        m_text = static_cast<char*>(std::malloc(kiv::SidRecordTextSize(m_sid) + 1));
        if (m_text != nullptr)
            kiv::WriteSidRecordText(m_sid, m_text);
    }
    return m_text;
}

CKivSid::operator void*() const noexcept {
    return m_sid;
}

void* CKivSid::GetSid() const noexcept {
    return m_sid;
}

const char* CKivSid::GetName() noexcept {
    if (m_name == nullptr && m_domain == nullptr && m_sid != nullptr)
        kiv::FindAccountName(m_sid, m_name, m_domain);
    return m_name;
}

const char* CKivSid::GetDomain() noexcept {
    if (m_domain == nullptr)
        GetName();
    return m_domain;
}

int CKivSid::IsValid() const noexcept {
    return m_sid != nullptr && ::IsValidSid(m_sid);
}

void CKivSid::Clear() noexcept {
    if (m_heapOwned) {
        kiv::FreeHeapBlock(m_sid);
    } else if (m_sid != nullptr) {
        const kiv::LastErrorKeeper keeper;
        ::FreeSid(m_sid);
    }
    m_sid = nullptr;
    m_heapOwned = 1;
    kiv::FreeText(m_text);
    kiv::FreeText(m_name);
    kiv::FreeText(m_domain);
}

CKivSid CKivSid::FromTokenUser(void* token) noexcept {
    if (!IsNtFamily())
        return CKivSid();
    const kiv::ScopedHeapBlock user = kiv::ReadTokenInformation(token, TokenUser);
    return user ? CKivSid(static_cast<TOKEN_USER*>(user.Get())->User.Sid) : CKivSid();
}

CKivSid CKivSid::FromProcessUser(void* process) noexcept {
    CKivToken token;
    token.OpenProcessToken(process, TOKEN_READ);
    return token.GetOwner();
}

CKivSid CKivSid::FromThreadUser(void* thread) noexcept {
    CKivToken token;
    token.OpenThreadToken(thread, TOKEN_READ);
    return token.GetOwner();
}
