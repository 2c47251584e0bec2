#include "security/sid_record.h"

#include "security/acl_layout.h"

namespace kiv {

ScopedHeapBlock CopySidToHeap(PSID sid) noexcept {
    if (sid == nullptr || !::IsValidSid(sid))
        return ScopedHeapBlock();
    const DWORD size = ::GetLengthSid(sid);
    ScopedHeapBlock copy(AllocateHeapBlock(size));
    if (copy && !::CopySid(size, copy.Get(), sid))
        copy.Reset();
    return copy;
}

std::size_t SidRecordTextSize(PSID sid) noexcept {
    return SidTextSize(static_cast<const SID*>(sid)->SubAuthorityCount);
}

void WriteSidRecordText(PSID sid, char* buffer) noexcept {
    WriteSidText(static_cast<const std::uint8_t*>(sid), buffer);
}

}  // namespace kiv
