#ifndef KIV_SECURITY_ACL_RECORD_H
#define KIV_SECURITY_ACL_RECORD_H

#include "support/windows_api.h"

#include <cstdint>

#include "security/acl_layout.h"
#include "security/process_heap.h"

namespace kiv {

// Lists and entries in the system's own form.

inline const std::uint8_t* BytesOf(const void* record) noexcept {
    return static_cast<const std::uint8_t*>(record);
}

// The entry behind a pointer; its own size says how much there is. Null for null and for a malformed one.
inline const std::uint8_t* SoundAce(const void* ace) noexcept {
    const std::uint8_t* const bytes = BytesOf(ace);
    return bytes != nullptr && IsSoundAce(bytes, AceView{bytes}.Size()) ? bytes : nullptr;
}

// A copy of a list as a whole new one, entry by entry, in a block of the process heap. A Win32 error: 1336 for a
// malformed list, 1306 for one with an entry that such a list does not take, 8 when memory is exhausted.
std::uint32_t CopyAclToHeap(const ACL* list, ScopedHeapBlock& copy) noexcept;

// A list of what a text form says, in a block of the process heap; null when it says nothing usable.
ScopedHeapBlock ReadAclToHeap(const char* text) noexcept;

}  // namespace kiv

#endif
