#include "security/token_information.h"

#include <cstdint>

namespace kiv {
namespace {

bool MeansCurrent(HANDLE handle) noexcept {
    return handle == INVALID_HANDLE_VALUE || reinterpret_cast<std::uintptr_t>(handle) == 0xFFFFFFFFU;
}

}  // namespace

ScopedHeapBlock ReadTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS which) noexcept {
    DWORD size = 0;
    if (::GetTokenInformation(token, which, nullptr, 0, &size) || ::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return ScopedHeapBlock();
    ScopedHeapBlock record(AllocateHeapBlock(size));
    if (record && !::GetTokenInformation(token, which, record.Get(), size, &size))
        record.Reset();
    return record;
}

HANDLE ProcessOrCurrent(HANDLE process) noexcept {
    return MeansCurrent(process) ? ::GetCurrentProcess() : process;
}

HANDLE ThreadOrCurrent(HANDLE thread) noexcept {
    return MeansCurrent(thread) ? ::GetCurrentThread() : thread;
}

}  // namespace kiv
