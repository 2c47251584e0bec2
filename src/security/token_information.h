#ifndef KIV_SECURITY_TOKEN_INFORMATION_H
#define KIV_SECURITY_TOKEN_INFORMATION_H

#include "support/windows_api.h"

#include "security/process_heap.h"

namespace kiv {

// A record of variable size that a token answers, in a block of the process heap; null on failure.
ScopedHeapBlock ReadTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS which) noexcept;

// The handle to ask for: 0xFFFFFFFF is how callers name the current process or thread, on 64-bit systems too.
HANDLE ProcessOrCurrent(HANDLE process) noexcept;
HANDLE ThreadOrCurrent(HANDLE thread) noexcept;

}  // namespace kiv

#endif
