#ifndef KIV_SUPPORT_LAZY_LOCK_H
#define KIV_SUPPORT_LAZY_LOCK_H

#include "support/once.h"

namespace kiv {

// A critical section for the whole process, made at its first use: nothing runs when the library is loaded.
class LazyLock {
public:
    constexpr LazyLock() noexcept = default;
    LazyLock(const LazyLock&) = delete;
    LazyLock& operator=(const LazyLock&) = delete;
    ~LazyLock() {
        if (m_made)
            ::DeleteCriticalSection(&m_section);
    }

    CRITICAL_SECTION& Get() noexcept {
        m_once.Run([this] {
            ::InitializeCriticalSection(&m_section);
            m_made = true;
        });
        return m_section;
    }

private:
    Once m_once;
    CRITICAL_SECTION m_section{};
    bool m_made = false;
};

}  // namespace kiv

#endif
