#ifndef KIV_SUPPORT_CLOCK_H
#define KIV_SUPPORT_CLOCK_H

#include "support/dynamic_function.h"

namespace kiv {

// The time that waits are made of: polls, retries, limits. Tests put a clock of their own in front
// (DynamicApi<ClockApi>::Swap), so that none of them sleeps through a real period.
struct ClockApi {
    decltype(&::GetTickCount) tickCount;  // milliseconds; wraps after 49.7 days
    decltype(&::Sleep) sleep;             // milliseconds

    void Load() noexcept {
        tickCount = &::GetTickCount;
        sleep = &::Sleep;
    }
};

inline const ClockApi& Clock() noexcept {
    return DynamicApi<ClockApi>::Get();
}

// The time since an earlier tick count, right also where the count has wrapped between the two.
inline DWORD MillisecondsSince(DWORD start) noexcept {
    return Clock().tickCount() - start;
}

}  // namespace kiv

#endif
