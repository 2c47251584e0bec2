#ifndef KIV_SUPPORT_ONCE_H
#define KIV_SUPPORT_ONCE_H

#include "support/windows_api.h"

namespace kiv {

// Runs one piece of code once in the process; threads that come meanwhile wait until it has run.
// The code must not come back to the same object. Constant-initialised, so it needs no start-up code and works in any
// order; the interlocked operations are compiler built-ins, since Windows 95 has no InterlockedCompareExchange.
class Once {
public:
    template <class Code>
    void Run(const Code& code) noexcept {
        if (__atomic_load_n(&m_state, __ATOMIC_ACQUIRE) == kDone)
            return;
        long expected = kFresh;
        if (__atomic_compare_exchange_n(&m_state, &expected, kRunning, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE)) {
            code();
            __atomic_store_n(&m_state, kDone, __ATOMIC_RELEASE);
            return;
        }
        while (__atomic_load_n(&m_state, __ATOMIC_ACQUIRE) != kDone)
            ::Sleep(1);
    }

private:
    static constexpr long kFresh = 0;
    static constexpr long kRunning = 1;
    static constexpr long kDone = 2;
    long m_state = kFresh;
};

}  // namespace kiv

#endif
