#include "security/acl_record.h"

#include <new>
#include <string>

#include "security/acl_text.h"
#include "tavkivut/security.h"

namespace kiv {
namespace {

ScopedHeapBlock WriteToHeap(const AclBuilder& builder) noexcept {
    ScopedHeapBlock list;
    if (builder.HasList())
        list.Reset(AllocateHeapBlock(builder.Size()));
    if (list)
        builder.Write(static_cast<std::uint8_t*>(list.Get()));
    return list;
}

void AddTextEntry(AclBuilder& builder, const AclTextEntry& entry) {
    CKivSid sid;
    if (entry.sid != nullptr)
        sid = entry.sid;
    else
        sid = CKivSid::WKS_EVERYONE;
    const std::uint8_t* const bytes = BytesOf(sid.GetSid());
    const std::size_t length = bytes != nullptr ? SidLength(bytes, kSidSizeLimit) : 0;
    if (length == 0)
        return;
    std::uint8_t ace[kAceSidOffset + kSidSizeLimit];
    WriteAce(ace, entry.type, entry.flags, entry.mask, bytes, length);
    builder.Add({ace});
}

}  // namespace

std::uint32_t CopyAclToHeap(const ACL* list, ScopedHeapBlock& copy) noexcept {
    const std::uint8_t* const bytes = BytesOf(list);
    if (!IsSoundAcl(bytes))
        return ERROR_INVALID_ACL;
    try {
        AclBuilder builder(AclSize(bytes));
        if (const std::uint32_t error = CopyEntries(bytes, builder))
            return error;
        copy = WriteToHeap(builder);
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    return copy ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

ScopedHeapBlock ReadAclToHeap(const char* text) noexcept {
    try {
        std::string cutUp = text;
        AclTextReader reader(cutUp.data());
        AclTextEntry entry;
        AclBuilder builder;
        while (reader.Next(entry))
            AddTextEntry(builder, entry);
        return WriteToHeap(builder);
    } catch (const std::bad_alloc&) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return ScopedHeapBlock();
    }
}

}  // namespace kiv
