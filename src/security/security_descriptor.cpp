#include "support/windows_api.h"

#include <cstring>
#include <utility>

#include "security/acl_record.h"
#include "security/descriptor_parts.h"
#include "support/nt_family.h"
#include "tavkivut/security.h"

using kiv::IsNtFamily;

namespace {

// What protects a DACL from inheritance, or marks it as inherited.
constexpr SECURITY_DESCRIPTOR_CONTROL kKeptMarks =
    SE_DACL_PROTECTED | SE_DACL_AUTO_INHERITED | SE_DACL_AUTO_INHERIT_REQ;

int Fail(DWORD error) noexcept {
    ::SetLastError(error);
    return 0;
}

// False, with the last error, for a SID that cannot be copied.
bool CopySidInto(CKivSid& copy, void* sid) noexcept {
    if (sid != nullptr && !::IsValidSid(sid)) {
        ::SetLastError(ERROR_INVALID_SID);
        return false;
    }
    copy = sid;
    return sid == nullptr || copy.GetSid() != nullptr;
}

// A DACL on its way from one descriptor to another.
struct DaclCopy {
    bool present = false;
    kiv::ScopedHeapBlock list;          // null for a null DACL
    const ACL* foreignTypes = nullptr;  // or a sound list that only a verbatim copy preserves, still the source's
};

// A Win32 error. A list that cannot be had is one: a descriptor that lost its DACL would grant more than its source.
DWORD CopyDacl(void* source, DaclCopy& copy) noexcept {
    ACL* list = nullptr;
    copy.present = kiv::DescriptorDacl(source, list);
    if (!copy.present || list == nullptr)
        return ERROR_SUCCESS;
    const DWORD error = kiv::CopyAclToHeap(list, copy.list);
    if (error != kiv::kAclWrongType)
        return error;
    copy.foreignTypes = list;
    return ERROR_SUCCESS;
}

// A new absolute descriptor with nothing but the marks of its source, which may be null. A verbatim list follows it in
// the same block.
kiv::ScopedHeapBlock NewDescriptor(void* source, const DaclCopy& dacl) noexcept {
    const std::uint8_t* const verbatim = kiv::BytesOf(dacl.foreignTypes);
    const std::size_t listSize = verbatim != nullptr ? kiv::AclUsedSize(verbatim) : 0;
    kiv::ScopedHeapBlock block(kiv::AllocateHeapBlock(sizeof(SECURITY_DESCRIPTOR) + listSize));
    if (!block)
        return block;
    auto* const descriptor = static_cast<SECURITY_DESCRIPTOR*>(block.Get());
    ::InitializeSecurityDescriptor(descriptor, SECURITY_DESCRIPTOR_REVISION);
    if (source != nullptr)
        descriptor->Control |= static_cast<SECURITY_DESCRIPTOR_CONTROL>(kiv::DescriptorControl(source) & kKeptMarks);
    if (listSize != 0) {
        auto* const list = reinterpret_cast<ACL*>(descriptor + 1);
        std::memcpy(list, verbatim, listSize);
        list->AclSize = static_cast<WORD>(listSize);
        ::SetSecurityDescriptorDacl(descriptor, TRUE, list, FALSE);
    }
    return block;
}

}  // namespace

CKivSecurityDescriptor::CKivSecurityDescriptor(void* const sd) noexcept : m_sd(nullptr) {
    *this = sd;
}

CKivSecurityDescriptor::CKivSecurityDescriptor(const CKivSecurityDescriptor& other) noexcept : m_sd(nullptr) {
    *this = other;
}

CKivSecurityDescriptor::~CKivSecurityDescriptor() {
    Clear();
}

CKivSecurityDescriptor& CKivSecurityDescriptor::operator=(void* const sd) noexcept {
    if (!CopyFrom(sd, false))
        Clear();
    return *this;
}

CKivSecurityDescriptor& CKivSecurityDescriptor::operator=(const CKivSecurityDescriptor& other) noexcept {
    if (other.m_sd == nullptr)
        Clear();
    else if (this != &other)
        *this = other.m_sd;
    return *this;
}

CKivSecurityDescriptor::operator void*() const noexcept {
    return m_sd;
}

void* CKivSecurityDescriptor::GetSecurityDescriptor() const noexcept {
    return m_sd;
}

void* CKivSecurityDescriptor::GetOwner() const noexcept {
    return m_sd != nullptr ? kiv::DescriptorOwner(m_sd) : nullptr;
}

void* CKivSecurityDescriptor::GetPrimaryGroup() const noexcept {
    return m_sd != nullptr ? kiv::DescriptorGroup(m_sd) : nullptr;
}

int CKivSecurityDescriptor::GetDacl(ACL** out) const noexcept {
    ACL* list = nullptr;
    const bool present = m_sd != nullptr && kiv::DescriptorDacl(m_sd, list);
    if (out != nullptr)
        *out = list;
    return present;
}

ACL* CKivSecurityDescriptor::GetDacl() const noexcept {
    return m_dacl.GetAcl();
}

int CKivSecurityDescriptor::SetOwner(void* const sid) noexcept {
    if (m_sd == nullptr)
        return Fail(ERROR_INVALID_PARAMETER);
    CKivSid copy;
    if (!CopySidInto(copy, sid))
        return 0;
    std::swap(m_owner.m_sid, copy.m_sid);  // both blocks of the process heap, as copies are
    return ::SetSecurityDescriptorOwner(m_sd, m_owner.GetSid(), FALSE);
}

int CKivSecurityDescriptor::SetPrimaryGroup(void* const sid) noexcept {
    if (m_sd == nullptr)
        return Fail(ERROR_INVALID_PARAMETER);
    CKivSid copy;
    if (!CopySidInto(copy, sid))
        return 0;
    std::swap(m_group.m_sid, copy.m_sid);  // both blocks of the process heap, as copies are
    return ::SetSecurityDescriptorGroup(m_sd, m_group.GetSid(), FALSE);
}

int CKivSecurityDescriptor::SetDacl(ACL* const acl) noexcept {
    if (m_sd == nullptr)
        return Fail(ERROR_INVALID_PARAMETER);
    kiv::ScopedHeapBlock copy;
    if (acl != nullptr) {
        if (const DWORD error = kiv::CopyAclToHeap(acl, copy))
            return Fail(error);
    }
    return AdoptDacl(copy.Release());
}

void CKivSecurityDescriptor::Attach(void* sd) noexcept {
    if (sd == m_sd)
        return;
    const kiv::ScopedHeapBlock source(sd);
    if (sd == nullptr || !CopyFrom(sd, true))
        Clear();
}

// As Attach, for what was read from an object; null or a failure leaves the object as it was.
int CKivSecurityDescriptor::AttachRead(void* sd) noexcept {
    const kiv::ScopedHeapBlock source(sd);
    return sd != nullptr && CopyFrom(sd, true);
}

void CKivSecurityDescriptor::Clear() noexcept {
    kiv::FreeHeapBlock(m_sd);
    m_owner = nullptr;
    m_group = nullptr;
    m_dacl = nullptr;
}

// Makes this a copy of a descriptor, or with null one without parts. The source may lie in the object's own parts, so
// all is copied before anything is freed. False, with the object as it was, when that fails.
bool CKivSecurityDescriptor::CopyFrom(void* source, bool withGroup) noexcept {
    if (!IsNtFamily())
        return false;
    CKivSid owner;
    CKivSid group;
    DaclCopy dacl;
    if (source != nullptr) {
        const DWORD error = kiv::IsDescriptor(source) ? CopyDacl(source, dacl) : ERROR_INVALID_SECURITY_DESCR;
        if (error != ERROR_SUCCESS) {
            ::SetLastError(error);
            return false;
        }
        if (!CopySidInto(owner, kiv::DescriptorOwner(source)) ||
            (withGroup && !CopySidInto(group, kiv::DescriptorGroup(source))))
            return false;
    }
    kiv::ScopedHeapBlock block = NewDescriptor(source, dacl);
    if (!block)
        return false;
    Clear();
    m_sd = block.Release();
    std::swap(m_owner.m_sid, owner.m_sid);
    std::swap(m_group.m_sid, group.m_sid);
    ::SetSecurityDescriptorOwner(m_sd, m_owner.GetSid(), FALSE);
    ::SetSecurityDescriptorGroup(m_sd, m_group.GetSid(), FALSE);
    if (dacl.present && dacl.foreignTypes == nullptr)
        AdoptDacl(dacl.list.Release());
    return true;
}

// Takes a list over, a block of the process heap or null, as the present DACL.
int CKivSecurityDescriptor::AdoptDacl(void* list) noexcept {
    m_dacl.Adopt(list);
    return ::SetSecurityDescriptorDacl(m_sd, TRUE, m_dacl.GetAcl(), FALSE);
}
