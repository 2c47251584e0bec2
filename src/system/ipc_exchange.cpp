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

// The words of the log's lines about one side of the line, and about the other.
struct Side {
    const char* tag;
    const char* other;
};
constexpr Side kSource = {"IPC(Source)   : ", "listener"};
constexpr Side kListener = {"IPC(Listener) : ", "source"};

// Waits until the other side tells that it is there.
Waited AwaitAlive(const Side& side, void* alive, unsigned timeout) noexcept {
    if (timeout == INFINITE)
        KIV_LOG_IPC("%swaiting for %s to become alive...", side.tag, side.other);
    else
        KIV_LOG_IPC("%swaiting %i ms for %s to become alive...", side.tag, static_cast<int>(timeout), side.other);
    const Waited waited = WaitFor(alive, timeout);
    if (waited == Waited::kSignalled)
        KIV_LOG_IPC("%s%s alive", side.tag, side.other);
    else if (waited == Waited::kTimeout)
        KIV_LOG_IPC("%stimeout", side.tag);
    return waited;
}

// The block as this process saw it: whoever writes it without the lock cannot change this any more, and its texts are
// terminated.
kiv::IpcBlock Seen(const kiv::IpcBlock& block) noexcept {
    kiv::IpcBlock seen = block;
    seen.name[sizeof seen.name - 1] = '\0';
    seen.payload[sizeof seen.payload - 1] = '\0';
    return seen;
}

}  // namespace

// 0 when none came.
int CKivLocalIpc::AwaitListener(unsigned int timeout) noexcept {
    if (m_response == nullptr && AwaitAlive(kSource, m_listenerAlive, timeout) == Waited::kSignalled)
        CommonConstruct();
    return m_response != nullptr ? 1 : 0;
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
    const Waited waited = AwaitAlive(kListener, m_sourceAlive, timeout);
    if (waited == Waited::kTimeout)
        return kiv::kStatusFalse;
    if (waited == Waited::kSignalled)
        CommonConstruct();
    return m_notification != nullptr ? kiv::kStatusOk : kiv::kStatusFail;
}

// Calls the handler for a notification, under the lock; then tells the source. Whether to go on listening.
bool CKivLocalIpc::Answer(const kiv::IpcBlock& seen, kiv::IpcLock& lock,
                          int (*handler)(const char*, const char*, long*)) noexcept {
    KIV_LOG_IPC("IPC(Listener) : received notification '%s' from source (PID %i)", seen.name,
                static_cast<int>(seen.processId));
    m_block->processId = ::GetCurrentProcessId();
    long response = seen.response;
    const bool goOn = handler != nullptr && handler(seen.name, seen.payload, &response) != 0;
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
        const kiv::IpcBlock seen = Seen(*m_block);
        if (m_name[0] != '\0' && std::strcmp(seen.name, m_name) != 0)
            Refuse(lock);
        else if (!Answer(seen, lock, handler))
            return kiv::kStatusOk;
    }
}
