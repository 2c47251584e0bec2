#ifndef KIV_SECURITY_SID_RECORD_H
#define KIV_SECURITY_SID_RECORD_H

#include "support/windows_api.h"

#include <cstddef>

#include "security/process_heap.h"

namespace kiv {

// SIDs in the system's own form.

// A copy in a block of the process heap; null for null, for an invalid SID, and when memory is exhausted.
ScopedHeapBlock CopySidToHeap(PSID sid) noexcept;

// The text form of a valid SID, and the room that it needs.
std::size_t SidRecordTextSize(PSID sid) noexcept;
void WriteSidRecordText(PSID sid, char* buffer) noexcept;

}  // namespace kiv

#endif
