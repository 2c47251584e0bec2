#include "security/sid_record.h"

#include <algorithm>
#include <iterator>

#include "security/sid_text.h"

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
    const auto* record = static_cast<const SID*>(sid);
    SidAuthority authority;
    std::copy(std::begin(record->IdentifierAuthority.Value), std::end(record->IdentifierAuthority.Value),
              authority.begin());
    std::uint32_t parts[SID_MAX_SUB_AUTHORITIES];
    const std::size_t count = std::min<std::size_t>(record->SubAuthorityCount, SID_MAX_SUB_AUTHORITIES);
    std::copy_n(record->SubAuthority, count, parts);
    WriteSidText(authority, parts, count, buffer);
}

}  // namespace kiv
