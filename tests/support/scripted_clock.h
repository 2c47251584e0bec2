#ifndef KIV_TESTS_SUPPORT_SCRIPTED_CLOCK_H
#define KIV_TESTS_SUPPORT_SCRIPTED_CLOCK_H

#include <vector>

#include "support/clock.h"
#include "support/swapped_api.h"

namespace kiv::test {

// A clock that stands still but for sleeps, which end at once and move it on. For tests with the objects linked in
// (SEAM); one at a time, on one thread.
class ScriptedClock {
public:
    explicit ScriptedClock(DWORD now = 1000) {
        s_now = now;
        s_sleeps.clear();
        m_clock->tickCount = TickCount;
        m_clock->sleep = Sleep;
    }

    // What was slept so far, in order.
    const std::vector<DWORD>& Sleeps() const { return s_sleeps; }

    // Time that passes without a sleep.
    static void Pass(DWORD milliseconds) { s_now += milliseconds; }

private:
    static DWORD WINAPI TickCount() { return s_now; }
    static void WINAPI Sleep(DWORD milliseconds) {
        s_now += milliseconds;
        s_sleeps.push_back(milliseconds);
    }

    static inline DWORD s_now = 0;
    static inline std::vector<DWORD> s_sleeps;
    SwappedApi<ClockApi> m_clock;
};

}  // namespace kiv::test

#endif
