// Sending a notification, and answering one.

#include "support/windows_api.h"

#include <cstring>

#include "support/heap_text.h"
#include "support/hresult.h"
#include "support/log.h"
#include "system/ipc_block.h"
#include "system/ipc_lock.h"
#include "tavkivut/ipc.h"

using kiv::IpcLock;
using kiv::Waited;
using kiv::WaitFor;

#define KIV_LOG_IPC(...) KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, __VA_ARGS__)

namespace {

// The texts of a notification as this process saw them: whoever writes the block without the lock cannot change them
// any more, and they are terminated.
struct Notification {
    explicit Notification(const kiv::IpcBlock& block) noexcept {
        std::memcpy(name, block.name, sizeof name);
        std::memcpy(payload, block.payload, sizeof payload);
        name[sizeof name - 1] = '\0';
        payload[sizeof payload - 1] = '\0';
    }

    char name[sizeof(kiv::IpcBlock::name)];
    char payload[sizeof(kiv::IpcBlock::payload)];
};

}  // namespace

// 0 when none came.
int CKivLocalIpc::AwaitListener(unsigned int timeout) noexcept {
    if (m_response != nullptr)
        return 1;
    if (timeout == INFINITE)
        KIV_LOG_IPC("IPC(Source)   : waiting for listener to become alive...");
    else
        KIV_LOG_IPC("IPC(Source)   : waiting %i ms for listener to become alive...", static_cast<int>(timeout));
    switch (WaitFor(m_listenerAlive, timeout)) {
    case Waited::kSignalled:
        KIV_LOG_IPC("IPC(Source)   : listener alive");
        CommonConstruct();
        return m_response != nullptr ? 1 : 0;
    case Waited::kTimeout:
        KIV_LOG_IPC("IPC(Source)   : timeout");
        return 0;
    default:
        return 0;
    }
}

long CKivLocalIpc::Send(const char* name, const char* payload, unsigned int timeout) noexcept {
    if (CommonConstruct() == 0 || m_notification == nullptr || AwaitListener(timeout) == 0)
        return kiv::kStatusFail;
    IpcLock writing(m_lock);
    if (!writing)
        return kiv::kStatusFail;
    kiv::CopyText(m_block->name, sizeof m_block->name, name == nullptr ? "" : name);
    kiv::CopyText(m_block->payload, sizeof m_block->payload, payload == nullptr ? "" : payload);
    m_block->processId = ::GetCurrentProcessId();
    writing.Release();
    KIV_LOG_IPC("IPC(Source)   : sending notification '%s' to listener, waiting for response...",
                name == nullptr ? "<unnamed>" : name);
    if (!::SetEvent(m_notification))
        return kiv::kStatusFail;
    IpcLock reading(m_lock, m_response, INFINITE);
    if (!reading)
        return kiv::kStatusFail;
    const long response = m_block->response;
    const unsigned long listener = m_block->processId;
    reading.Release();
    KIV_LOG_IPC("IPC(Source)   : received response 0x%x (%i) from listener (PID %i)", static_cast<unsigned>(response),
                static_cast<int>(response), static_cast<int>(listener));
    return response;
}

// S_OK when a source is there, S_FALSE when none came, else E_FAIL.
long CKivLocalIpc::AwaitSource(unsigned int timeout) noexcept {
    if (m_notification != nullptr)
        return kiv::kStatusOk;
    if (timeout == INFINITE)
        KIV_LOG_IPC("IPC(Listener) : waiting for source to become alive...");
    else
        KIV_LOG_IPC("IPC(Listener) : waiting %i ms for source to become alive...", static_cast<int>(timeout));
    switch (WaitFor(m_sourceAlive, timeout)) {
    case Waited::kSignalled:
        KIV_LOG_IPC("IPC(Listener) : source alive");
        CommonConstruct();
        return m_notification != nullptr ? kiv::kStatusOk : kiv::kStatusFail;
    case Waited::kTimeout:
        KIV_LOG_IPC("IPC(Listener) : timeout");
        return kiv::kStatusFalse;
    default:
        return kiv::kStatusFail;
    }
}

// Calls the handler for what the block holds, under the lock; then tells the source. Whether to go on listening.
bool CKivLocalIpc::Answer(kiv::IpcLock& lock, int (*handler)(const char*, const char*, long*)) noexcept {
    const Notification notification(*m_block);
    KIV_LOG_IPC("IPC(Listener) : received notification '%s' from source (PID %i)", notification.name,
                static_cast<int>(m_block->processId));
    m_block->processId = ::GetCurrentProcessId();
    long response = m_block->response;
    const bool goOn = handler != nullptr && handler(notification.name, notification.payload, &response) != 0;
    m_block->response = response;
    lock.Release();
    KIV_LOG_IPC("IPC(Listener) : sending response to source, %s listening", goOn ? "continue" : "stop");
    ::SetEvent(m_response);
    return goOn;
}

// A notification of another name is refused, since its source waits without limit. The block keeps the source's
// process id.
void CKivLocalIpc::Refuse(kiv::IpcLock& lock) noexcept {
    m_block->response = kiv::kStatusFail;
    lock.Release();
    ::SetEvent(m_response);
}

long CKivLocalIpc::Receive(int (*handler)(const char* name, const char* payload, long* response),
                           unsigned int timeout) noexcept {
    if (CommonConstruct() == 0 || m_response == nullptr)
        return kiv::kStatusFail;
    if (const long source = AwaitSource(timeout))
        return source;
    for (;;) {
        if (timeout == INFINITE)
            KIV_LOG_IPC("IPC(Listener) : waiting for notification from source...");
        else
            KIV_LOG_IPC("IPC(Listener) : waiting %i ms for notification from source...", static_cast<int>(timeout));
        IpcLock lock(m_lock, m_notification, timeout);
        if (lock.Result() == Waited::kTimeout) {
            KIV_LOG_IPC("IPC(Listener) : timeout");
            return kiv::kStatusFalse;
        }
        if (!lock)
            return kiv::kStatusFail;
        if (m_name[0] != '\0' && std::strncmp(m_block->name, m_name, sizeof m_name - 1) != 0)
            Refuse(lock);
        else if (!Answer(lock, handler))
            return kiv::kStatusOk;
    }
}
