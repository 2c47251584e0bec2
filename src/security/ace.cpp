#include "support/windows_api.h"

#include <cstring>

#include "security/acl_record.h"
#include "support/nt_family.h"
#include "tavkivut/security.h"

using kiv::AceView;
using kiv::BytesOf;

namespace {

constexpr unsigned char kInheritedBelow = OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE;

// A copy of an entry in a block of the process heap; null for null and for a malformed one.
void* CopyAceToHeap(const void* ace) noexcept {
    if (ace == nullptr || !kiv::IsNtFamily())
        return nullptr;
    const std::uint8_t* const bytes = kiv::SoundAce(ace);
    if (bytes == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    void* copy = kiv::AllocateHeapBlock(AceView{bytes}.Size());
    if (copy != nullptr)
        std::memcpy(copy, bytes, AceView{bytes}.Size());
    return copy;
}

}  // namespace

CKivAce::CKivAce(void* const ace) noexcept : m_ace(CopyAceToHeap(ace)) {}

CKivAce::CKivAce(const CKivAce& other) noexcept : CKivAce(other.m_ace) {}

CKivAce::CKivAce(void* sid, unsigned long mask, int allow) noexcept : m_ace(nullptr) {
    Create(allow ? ACCESS_ALLOWED_ACE_TYPE : ACCESS_DENIED_ACE_TYPE, kInheritedBelow, mask, sid);
}

CKivAce::~CKivAce() {
    Clear();
}

int CKivAce::Create(unsigned char type, unsigned char flags, unsigned long mask, void* sid) noexcept {
    // The SID may be the one inside the present entry, which is therefore freed last.
    const kiv::ScopedHeapBlock old(m_ace);
    m_ace = nullptr;
    if (!kiv::IsNtFamily())
        return 0;
    if (sid == nullptr || !::IsValidSid(sid)) {
        ::SetLastError(ERROR_INVALID_SID);
        return 0;
    }
    const DWORD length = ::GetLengthSid(sid);
    m_ace = kiv::AllocateHeapBlock(kiv::kAceSidOffset + length);
    if (m_ace == nullptr)
        return 0;
    kiv::WriteAce(static_cast<std::uint8_t*>(m_ace), type, flags, mask, BytesOf(sid), length);
    return 1;
}

CKivAce& CKivAce::operator=(void* const ace) noexcept {
    void* copy = CopyAceToHeap(ace);
    Clear();
    m_ace = copy;
    return *this;
}

CKivAce& CKivAce::operator=(const CKivAce& other) noexcept {
    if (this != &other)
        *this = other.m_ace;
    return *this;
}

bool CKivAce::operator==(void* const ace) const noexcept {
    const std::uint8_t* const other = kiv::SoundAce(ace);
    return m_ace != nullptr && other != nullptr && kiv::AreEqualAces({BytesOf(m_ace)}, {other});
}

CKivAce::operator void*() const noexcept {
    return m_ace;
}

void* CKivAce::GetAce() const noexcept {
    return m_ace;
}

void* CKivAce::GetSid() const noexcept {
    const bool hasSid = m_ace != nullptr && AceView{BytesOf(m_ace)}.Sid() != nullptr;
    return hasSid ? static_cast<std::uint8_t*>(m_ace) + kiv::kAceSidOffset : nullptr;
}

CKivAce::operator unsigned long() const noexcept {
    return GetAccessMask();
}

unsigned long CKivAce::GetAccessMask() const noexcept {
    return m_ace != nullptr ? AceView{BytesOf(m_ace)}.Mask() : 0;
}

void CKivAce::Clear() noexcept {
    kiv::FreeHeapBlock(m_ace);
}
