#include "support/windows_api.h"

#include <algorithm>
#include <new>

#include "security/acl_record.h"
#include "security/acl_text.h"
#include "support/heap_text.h"
#include "support/nt_family.h"
#include "tavkivut/security.h"

using kiv::AceView;
using kiv::BytesOf;
using kiv::IsNtFamily;

namespace {

std::uint8_t* WritableBytes(ACL* list) noexcept {
    return reinterpret_cast<std::uint8_t*>(list);
}

int Fail(std::uint32_t error) noexcept {
    ::SetLastError(error);
    return 0;
}

}  // namespace

CKivAcl::CKivAcl(ACL* const acl) noexcept : m_acl(nullptr), m_text(nullptr), m_capacity(0) {
    *this = acl;
}

CKivAcl::CKivAcl(const CKivAcl& other) noexcept : CKivAcl(other.m_acl) {}

CKivAcl::~CKivAcl() {
    Clear();
}

CKivAcl& CKivAcl::operator=(ACL* const acl) noexcept {
    kiv::ScopedHeapBlock copy;
    if (acl != nullptr && IsNtFamily()) {
        if (const std::uint32_t error = kiv::CopyAclToHeap(acl, copy))
            ::SetLastError(error);
    }
    Adopt(copy.Release());
    return *this;
}

CKivAcl& CKivAcl::operator=(decltype(nullptr)) noexcept {
    Clear();
    return *this;
}

CKivAcl& CKivAcl::operator=(const CKivAcl& other) noexcept {
    return this != &other ? *this = other.m_acl : *this;
}

CKivAcl& CKivAcl::operator=(const char* text) noexcept {
    kiv::ScopedHeapBlock list;
    if (text != nullptr && IsNtFamily())
        list = kiv::ReadAclToHeap(text);
    Adopt(list.Release());
    return *this;
}

CKivAcl::operator const char*() noexcept {
    if (m_acl == nullptr)
        return m_text;
    kiv::FreeText(m_text);
    try {
        m_text = kiv::DuplicateText(kiv::WriteAclText(BytesOf(m_acl)).c_str());
    } catch (const std::bad_alloc&) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return m_text;
}

CKivAcl::operator ACL*() const noexcept {
    return m_acl;
}

ACL* CKivAcl::GetAcl() const noexcept {
    return m_acl;
}

int CKivAcl::IsValid() const noexcept {
    return m_acl != nullptr && kiv::IsSoundAcl(BytesOf(m_acl));
}

int CKivAcl::AddAce(unsigned char type, unsigned char flags, unsigned long mask, void* sid) noexcept {
    CKivAce ace;
    return ace.Create(type, flags, mask, sid) ? AddAce(ace.GetAce()) : 0;
}

int CKivAcl::AddAce(void* const ace) noexcept {
    if (!IsNtFamily())
        return 0;
    const std::uint8_t* const bytes = kiv::SoundAce(ace);
    if (bytes == nullptr)
        return Fail(kiv::kAclBadArgument);
    const std::uint8_t* const block = BytesOf(m_acl);
    if (m_acl != nullptr && bytes >= block && bytes < block + m_capacity) {
        const CKivAce copy(ace);  // the block moves
        return copy.GetAce() != nullptr ? AddAce(copy.GetAce()) : 0;
    }

    const AceView entry{bytes};
    const bool isNew = m_acl == nullptr;
    const kiv::AclAddition plan = isNew ? kiv::PlanNewAcl(entry) : kiv::PlanAddition(block, entry);
    if (plan.error != kiv::kAclDone)
        return Fail(plan.error);
    if (!Reserve(static_cast<unsigned long>(plan.size)))
        return 0;
    if (isNew)
        kiv::WriteEmptyAcl(WritableBytes(m_acl), plan.size, kiv::kAclRevision);
    kiv::AddAce(WritableBytes(m_acl), entry, plan);
    return 1;
}

int CKivAcl::DeleteAce(long index) noexcept {
    if (m_acl == nullptr || index < 0)
        return Fail(kiv::kAclBadArgument);
    const std::uint32_t error = kiv::DeleteAce(WritableBytes(m_acl), static_cast<std::size_t>(index));
    return error == kiv::kAclDone ? 1 : Fail(error);
}

void CKivAcl::SetPreferredDaclOrder() noexcept {
    if (m_acl == nullptr)
        return;
    const std::size_t size = kiv::AclSize(BytesOf(m_acl));
    kiv::ScopedHeapBlock ordered(kiv::AllocateHeapBlock(size));
    if (!ordered || !kiv::CopyInPreferredOrder(BytesOf(m_acl), static_cast<std::uint8_t*>(ordered.Get())))
        return;
    kiv::FreeHeapBlock(m_acl);
    m_acl = static_cast<ACL*>(ordered.Release());
    m_capacity = static_cast<unsigned long>(size);
}

long CKivAcl::GetAceCount() const noexcept {
    return m_acl != nullptr ? static_cast<long>(kiv::AclCount(BytesOf(m_acl))) : -1;
}

void* CKivAcl::GetAceAt(long index) const noexcept {
    if (m_acl == nullptr || index < 0)
        return nullptr;
    const std::uint8_t* const ace = kiv::FindAce(BytesOf(m_acl), static_cast<std::size_t>(index));
    return ace != nullptr ? WritableBytes(m_acl) + (ace - BytesOf(m_acl)) : nullptr;
}

void CKivAcl::Clear() noexcept {
    kiv::FreeHeapBlock(m_acl);
    m_capacity = 0;
    kiv::FreeText(m_text);
}

// Takes a list over, a block of the process heap, in place of what the object held.
void CKivAcl::Adopt(void* list) noexcept {
    Clear();
    m_acl = static_cast<ACL*>(list);
    m_capacity = m_acl != nullptr ? m_acl->AclSize : 0;
}

// Makes the list's block at least that large, with something to spare when it has to move.
bool CKivAcl::Reserve(unsigned long size) noexcept {
    if (size <= m_capacity)
        return true;
    const unsigned long capacity = std::max(size, m_capacity + m_capacity / 2);
    void* const block = m_acl == nullptr ? kiv::AllocateHeapBlock(capacity)
                                         : ::HeapReAlloc(::GetProcessHeap(), HEAP_ZERO_MEMORY, m_acl, capacity);
    if (block == nullptr) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
    m_acl = static_cast<ACL*>(block);
    m_capacity = capacity;
    return true;
}
