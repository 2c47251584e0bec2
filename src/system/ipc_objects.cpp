#include "support/windows_api.h"

#include <cstddef>

#include "support/heap_text.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"
#include "system/ipc_block.h"
#include "tavkivut/ipc.h"

namespace {

constexpr BOOL kAutoReset = FALSE;

// Whoever makes its event anew tells so through its "alive" event, since the other side may wait for it already.
void* MakeOwnEvent(SECURITY_ATTRIBUTES* attributes, const char* name, void* alive) noexcept {
    void* const event = ::CreateEventA(attributes, kAutoReset, FALSE, name);
    if (event != nullptr && ::GetLastError() != ERROR_ALREADY_EXISTS)
        ::SetEvent(alive);
    return event;
}

void* OpenForeignEvent(const char* name) noexcept {
    return ::OpenEventA(SYNCHRONIZE | EVENT_MODIFY_STATE, FALSE, name);
}

}  // namespace

CKivLocalIpc::CKivLocalIpc(int listener, const char* name) noexcept
    : m_name(), m_listener(listener), m_descriptor(nullptr), m_security(), m_lock(nullptr), m_notification(nullptr),
      m_sourceAlive(nullptr), m_response(nullptr), m_listenerAlive(nullptr), m_mapping(nullptr), m_block(nullptr) {
    if (name != nullptr)
        kiv::CopyText(m_name, sizeof m_name, name);
}

CKivLocalIpc& CKivLocalIpc::operator=(const CKivLocalIpc& other) noexcept = default;

CKivLocalIpc::~CKivLocalIpc() {
    const kiv::LastErrorKeeper keeper;
    if (m_descriptor != nullptr)
        ::LocalFree(m_descriptor);
    if (m_block != nullptr)
        ::UnmapViewOfFile(m_block);
    void* const objects[] = {m_mapping, m_sourceAlive, m_listenerAlive, m_notification, m_response, m_lock};
    for (void* const object : objects) {
        if (object != nullptr)
            ::CloseHandle(object);
    }
}

int CKivLocalIpc::IsNT() noexcept {
    return kiv::IsNtFamily() ? 1 : 0;
}

// A descriptor with a null DACL lets processes of every account open the objects: a service and the programs of a user
// meet here. Null on the 9x family, which has no security.
CKivLocalIpc::SecurityAttributes* CKivLocalIpc::EveryonesAccess() noexcept {
    if (IsNT() == 0)
        return nullptr;
    if (m_descriptor == nullptr) {
        m_descriptor = ::LocalAlloc(LPTR, sizeof(SECURITY_DESCRIPTOR));
        if (m_descriptor == nullptr)
            return nullptr;
        ::InitializeSecurityDescriptor(m_descriptor, SECURITY_DESCRIPTOR_REVISION);
        ::SetSecurityDescriptorDacl(m_descriptor, TRUE, nullptr, FALSE);
        m_security = {sizeof m_security, m_descriptor, TRUE};
    }
    return &m_security;
}

int CKivLocalIpc::CommonConstruct() noexcept {
    static_assert(sizeof(SecurityAttributes) == sizeof(SECURITY_ATTRIBUTES) &&
                  offsetof(SecurityAttributes, inherit) == offsetof(SECURITY_ATTRIBUTES, bInheritHandle));
    auto* const attributes = reinterpret_cast<SECURITY_ATTRIBUTES*>(EveryonesAccess());
    if (attributes == nullptr && IsNT() != 0)
        return 0;  // objects that others cannot open would keep them out for as long as they live
    if (m_lock == nullptr)
        m_lock = ::CreateMutexA(attributes, FALSE, kiv::kIpcLockName);
    if (m_mapping == nullptr)
        m_mapping = ::CreateFileMappingA(INVALID_HANDLE_VALUE, attributes, PAGE_READWRITE, 0, sizeof *m_block,
                                         kiv::kIpcBlockName);
    // A smaller block that someone else made cannot be mapped in this size.
    if (m_mapping != nullptr && m_block == nullptr)
        m_block = static_cast<kiv::IpcBlock*>(
            ::MapViewOfFile(m_mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, sizeof *m_block));
    if (m_sourceAlive == nullptr)
        m_sourceAlive = ::CreateEventA(attributes, kAutoReset, FALSE, kiv::kIpcSourceAliveName);
    if (m_listenerAlive == nullptr)
        m_listenerAlive = ::CreateEventA(attributes, kAutoReset, FALSE, kiv::kIpcListenerAliveName);
    if (m_notification == nullptr)
        m_notification = m_listener != 0 ? OpenForeignEvent(kiv::kIpcNotificationName)
                                         : MakeOwnEvent(attributes, kiv::kIpcNotificationName, m_sourceAlive);
    if (m_response == nullptr)
        m_response = m_listener != 0 ? MakeOwnEvent(attributes, kiv::kIpcResponseName, m_listenerAlive)
                                     : OpenForeignEvent(kiv::kIpcResponseName);
    return m_lock != nullptr && m_mapping != nullptr && m_block != nullptr ? 1 : 0;
}

CKivNotificationSource::CKivNotificationSource() noexcept : CKivLocalIpc(0, nullptr) {}

CKivNotificationSink::CKivNotificationSink(const char* name) noexcept : CKivLocalIpc(1, name) {}
