#ifndef KIV_SYSTEM_IPC_LOCK_H
#define KIV_SYSTEM_IPC_LOCK_H

#include "support/windows_api.h"

namespace kiv {

enum class Waited { kSignalled, kTimeout, kFailed };

// An abandoned lock counts as signalled: its owner died, and the block is written whole before it is read.
inline Waited WaitedBy(DWORD result) noexcept {
    if (result == WAIT_TIMEOUT)
        return Waited::kTimeout;
    return result == WAIT_FAILED ? Waited::kFailed : Waited::kSignalled;
}

inline Waited WaitFor(void* object, unsigned timeout) noexcept {
    return WaitedBy(::WaitForSingleObject(object, timeout));
}

// Holds the lock of the notification protocol, if it could be taken.
class IpcLock {
public:
    explicit IpcLock(void* lock) noexcept : m_lock(lock), m_waited(WaitFor(lock, INFINITE)) {}

    // Waits for the event, at most so long, and then takes the lock, however long that takes. As a rule the lock is
    // free, and one wait for both is quicker than two.
    IpcLock(void* lock, void* event, unsigned timeout) noexcept : m_lock(lock) {
        void* const both[] = {event, lock};
        m_waited = WaitedBy(::WaitForMultipleObjects(2, both, TRUE, timeout));
        if (m_waited == Waited::kTimeout && WaitFor(event, 0) == Waited::kSignalled)
            m_waited = WaitFor(lock, INFINITE);
    }

    ~IpcLock() { Release(); }
    IpcLock(const IpcLock&) = delete;
    IpcLock& operator=(const IpcLock&) = delete;

    Waited Result() const noexcept { return m_waited; }
    explicit operator bool() const noexcept { return m_waited == Waited::kSignalled; }

    void Release() noexcept {
        if (m_waited == Waited::kSignalled)
            ::ReleaseMutex(m_lock);
        m_waited = Waited::kFailed;
    }

private:
    void* m_lock;
    Waited m_waited;
};

}  // namespace kiv

#endif
