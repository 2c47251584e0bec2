#include "support/windows_api.h"

#include <cstddef>

#include "security/descriptor_parts.h"
#include "security/process_heap.h"
#include "support/nt_family.h"
#include "tavkivut/security.h"

namespace {

bool IsSelfRelative(void* sd) noexcept {
    return (kiv::DescriptorControl(sd) & SE_SELF_RELATIVE) != 0;
}

using LocalBlock = kiv::ScopedLocalBlock;

LocalBlock AllocateLocalBlock(std::size_t size) noexcept {
    LocalBlock block(::LocalAlloc(LPTR, size));
    if (!block)
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return block;
}

// The five parts of an absolute descriptor, in the order in which they stand in one block.
enum Part { kDescriptor, kDacl, kSacl, kOwner, kGroup, kPartCount };

constexpr DWORD kSlack = 8;  // behind each part; some of it may align the next one
constexpr DWORD kPartAlignment = 4;

}  // namespace

void* CKivSecurityDescriptor::MakeSelfRelativeCopy(void* const sd) noexcept {
    if (sd == nullptr || !kiv::IsNtFamily())
        return nullptr;
    if (!kiv::IsDescriptor(sd)) {
        ::SetLastError(ERROR_INVALID_SECURITY_DESCR);
        return nullptr;
    }
    // The system converts nothing that is self-relative already, and its length does not tell how far it reaches when
    // parts share their bytes or leave gaps. So the parts are put together anew.
    if (IsSelfRelative(sd)) {
        const kiv::ScopedHeapBlock absolute(MakeAbsoluteCopy(sd));
        return absolute ? MakeSelfRelativeCopy(absolute.Get()) : nullptr;
    }
    DWORD size = 0;
    if (::MakeSelfRelativeSD(sd, nullptr, &size) || ::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return nullptr;
    LocalBlock copy = AllocateLocalBlock(size);
    if (!copy || !::MakeSelfRelativeSD(sd, copy.Get(), &size))
        return nullptr;
    return copy.Release();
}

void* CKivSecurityDescriptor::MakeAbsoluteCopy(void* const sd) noexcept {
    if (sd == nullptr || !kiv::IsNtFamily() || !IsSelfRelative(sd))
        return nullptr;
    DWORD sizes[kPartCount] = {};
    if (::MakeAbsoluteSD(sd, nullptr, &sizes[kDescriptor], nullptr, &sizes[kDacl], nullptr, &sizes[kSacl], nullptr,
                         &sizes[kOwner], nullptr, &sizes[kGroup]) ||
        ::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return nullptr;
    std::size_t total = 0;
    for (const DWORD size : sizes)
        total += size + kSlack;
    kiv::ScopedHeapBlock block(kiv::AllocateHeapBlock(total));
    if (!block)
        return nullptr;
    std::byte* parts[kPartCount];
    std::byte* next = static_cast<std::byte*>(block.Get());
    for (int part = 0; part < kPartCount; ++part) {
        parts[part] = next;
        next += (sizes[part] + kSlack) / kPartAlignment * kPartAlignment;
    }
    if (!::MakeAbsoluteSD(sd, parts[kDescriptor], &sizes[kDescriptor], reinterpret_cast<ACL*>(parts[kDacl]),
                          &sizes[kDacl], reinterpret_cast<ACL*>(parts[kSacl]), &sizes[kSacl], parts[kOwner],
                          &sizes[kOwner], parts[kGroup], &sizes[kGroup]))
        return nullptr;
    return block.Release();
}
