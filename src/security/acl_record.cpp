#include "security/acl_record.h"

#include <cstring>
#include <new>
#include <string>

#include "security/acl_text.h"
#include "security/sid_text.h"
#include "tavkivut/security.h"

namespace kiv {
namespace {

constexpr char kEveryone[] = "S-1-1-0";

ScopedHeapBlock WriteToHeap(const AclBuilder& builder) noexcept {
    ScopedHeapBlock list;
    if (builder.HasList())
        list.Reset(AllocateHeapBlock(builder.Size()));
    if (list)
        builder.Write(static_cast<std::uint8_t*>(list.Get()));
    return list;
}

// The SID that a text entry means, of that length; 0 for an account that is not known.
std::size_t WriteSidOf(const AclTextEntry& entry, std::uint8_t* sid) noexcept {
    SidParts parts;
    if (ReadSidText(entry.sid != nullptr ? entry.sid : kEveryone, parts))
        return WriteSid(parts, sid);
    const CKivSid account(entry.sid);
    const std::uint8_t* const bytes = BytesOf(account.GetSid());
    if (bytes == nullptr)
        return 0;
    const std::size_t length = SidLength(bytes, kSidSizeLimit);
    std::memcpy(sid, bytes, length);
    return length;
}

void AddTextEntry(AclBuilder& builder, const AclTextEntry& entry) {
    std::uint8_t sid[kSidSizeLimit];
    if (const std::size_t length = WriteSidOf(entry, sid)) {
        std::uint8_t ace[kAceSidOffset + kSidSizeLimit];
        WriteAce(ace, entry.type, entry.flags, entry.mask, sid, length);
        if (const std::uint32_t error = builder.Add({ace}))
            ::SetLastError(error);
    }
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
