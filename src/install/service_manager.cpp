// The service control manager.

#include <algorithm>

#include "install/service_call.h"
#include "support/clock.h"
#include "support/log.h"
#include "tavkivut/network.h"
#include "tavkivut/service_control.h"

namespace {

using kiv::CallService;
using kiv::ServiceError;
using kiv::Services;

constexpr int kOpenAttempts = 5;
constexpr DWORD kOpenPause = 100;  // milliseconds

// The older releases do not fill more than this at once, and refuse a larger buffer.
constexpr DWORD kLargestList = 256 * 1024;

// Lists services and calls back for each, in as many pieces as the system makes of the list: behind each piece it tells
// where the next one begins. enumerate(records, size, needed, count, resume) gives the Win32 error.
template <class Record, class Enumerate>
DWORD EnumerateServices(unsigned long data, bool (*callback)(unsigned long, Record&),
                        const Enumerate& enumerate) noexcept {
    kiv::AnswerBuffer buffer;
    DWORD resume = 0;
    for (;;) {
        const DWORD piece = resume;
        DWORD needed = 0;
        DWORD count = 0;
        const DWORD error = enumerate(buffer.Data(), buffer.Size(), needed, count, resume);
        if (error != ERROR_SUCCESS && !kiv::IsTooSmall(error))
            return error;
        auto* const records = static_cast<Record*>(buffer.Data());
        count = std::min<DWORD>(count, buffer.Size() / sizeof(Record));
        for (DWORD i = 0; i < count; ++i)
            if (!callback(data, records[i]))
                return ERROR_SUCCESS;
        if (error == ERROR_SUCCESS)
            return ERROR_SUCCESS;
        if (count != 0) {
            if (resume == piece)
                return error;  // the same piece again, for ever
            continue;
        }
        resume = piece;
        const DWORD size = buffer.Size() == 0 ? std::min(needed, kLargestList) : needed;
        if (const DWORD failure = buffer.Grow(size); failure != ERROR_SUCCESS)
            return failure;
    }
}

// Looked up at run time, since a load of user32 would double the time that the library takes to load.
struct MessageApi {
    decltype(&::PeekMessageA) peek;
    decltype(&::TranslateMessage) translate;
    decltype(&::DispatchMessageA) dispatch;
    decltype(&::PostQuitMessage) postQuit;

    void Load() noexcept {
        const HMODULE user = kiv::LoadSystemModule("user32.dll");
        kiv::FindFunction(user, "PeekMessageA", peek);
        kiv::FindFunction(user, "TranslateMessage", translate);
        kiv::FindFunction(user, "DispatchMessageA", dispatch);
        kiv::FindFunction(user, "PostQuitMessage", postQuit);
    }
    bool Complete() const noexcept {
        return peek != nullptr && translate != nullptr && dispatch != nullptr && postQuit != nullptr;
    }
};

// Handles what waits in the calling thread's message queue. A call between computers can fail because messages stand
// in its way. The count is bounded, since a window may always have one more; a request to quit is put back at the end.
void DrainMessages() noexcept {
    constexpr int kMostMessages = 10000;
    const kiv::LastErrorKeeper keeper;
    const MessageApi& messages = kiv::DynamicApi<MessageApi>::Get();
    if (!messages.Complete())
        return;
    MSG message;
    for (int i = 0; i < kMostMessages && messages.peek(&message, nullptr, 0, 0, PM_REMOVE); ++i) {
        if (message.message == WM_QUIT) {
            messages.postQuit(static_cast<int>(message.wParam));
            return;
        }
        messages.translate(&message);
        messages.dispatch(&message);
    }
}

}  // namespace

CNTServiceControlManager::CNTServiceControlManager() noexcept : m_manager(nullptr), m_lock(nullptr), m_lastError(0) {}

CNTServiceControlManager::CNTServiceControlManager(const CNTServiceControlManager& other) noexcept
    : m_manager(other.m_manager), m_lock(nullptr), m_lastError(other.m_lastError) {}

CNTServiceControlManager& CNTServiceControlManager::operator=(const CNTServiceControlManager& other) noexcept {
    Attach(other.m_manager);
    m_lastError = other.m_lastError;
    return *this;
}

CNTServiceControlManager::~CNTServiceControlManager() {
    Close();
}

CNTServiceControlManager::operator SC_HANDLE() const noexcept {
    return m_manager;
}

void CNTServiceControlManager::Attach(SC_HANDLE manager) noexcept {
    if (manager == m_manager)
        return;
    Close();
    m_manager = manager;
}

SC_HANDLE CNTServiceControlManager::Detach() noexcept {
    const SC_HANDLE manager = m_manager;
    m_manager = nullptr;
    return manager;
}

void CNTServiceControlManager::Close() noexcept {
    ServiceError(Services().unlockDatabase, static_cast<SC_HANDLE>(m_lock));
    m_lock = nullptr;
    ServiceError(Services().closeHandle, Detach());
}

bool CNTServiceControlManager::Finish(unsigned long error, const char* failure) const noexcept {
    if (error != ERROR_SUCCESS)
        m_lastError = error;
    return kiv::FinishServiceCall(error, failure);
}

bool CNTServiceControlManager::Open(const char* machine, unsigned long access) noexcept {
    Close();
    DWORD error = ERROR_SUCCESS;
    for (int attempt = 1; attempt <= kOpenAttempts; ++attempt) {
        error = kiv::CallManager(m_manager, Services().openManager, machine, "ServicesActive", access);
        if (error == ERROR_SUCCESS)
            return true;
        KIV_LOG_WIN32(error, kiv::kLogError, "Attempt to connect to remote registry %s failed",
                      machine != nullptr ? machine : "");
        if (machine != nullptr)
            TryToCloseIdleNetworkSessions(machine);
        if (error == RPC_S_CALL_FAILED && attempt < kOpenAttempts) {
            DrainMessages();
            kiv::Clock().sleep(kOpenPause);
        }
    }
    return Finish(error, "Failed in call to OpenSCManager in Open");
}

bool CNTServiceControlManager::OpenServiceA(const char* name, unsigned long access, CNTScmService& out) const noexcept {
    SC_HANDLE service = nullptr;
    DWORD error = ERROR_INVALID_PARAMETER;
    if (name != nullptr)
        error = CallService(service, Services().openService, m_manager, name, access);
    if (error == ERROR_SUCCESS) {
        out.Attach(service);
        return true;
    }
    KIV_LOG_WIN32(error, kiv::kLogError, "Failed in call to OpenService in OpenService %d", static_cast<int>(error));
    m_lastError = error;
    ::SetLastError(error);
    return false;
}

bool CNTServiceControlManager::Lock() noexcept {
    DWORD error = ERROR_SERVICE_DATABASE_LOCKED;
    if (m_lock == nullptr)
        error = CallService(m_lock, Services().lockDatabase, m_manager);
    return Finish(error, "Failed in call to LockServiceDatabase in Lock");
}

bool CNTServiceControlManager::Unlock() noexcept {
    DWORD error = ERROR_INVALID_SERVICE_LOCK;
    if (m_lock != nullptr)
        error = ServiceError(Services().unlockDatabase, static_cast<SC_HANDLE>(m_lock));
    if (error == ERROR_SUCCESS)
        m_lock = nullptr;
    return Finish(error, "Failed in call to UnlockServiceDatabase in Unlock");
}

bool CNTServiceControlManager::QueryLockStatus(QUERY_SERVICE_LOCK_STATUSA*& out) const noexcept {
    const DWORD error = kiv::QueryRecord(out, [this](void* data, DWORD size, DWORD& needed) {
        return ServiceError(Services().queryLockStatus, m_manager, static_cast<QUERY_SERVICE_LOCK_STATUSA*>(data), size,
                            &needed);
    });
    return Finish(error, "Failed in call to QueryServiceLockStatus in QueryLockStatus");
}

bool CNTServiceControlManager::EnumServices(unsigned long type, unsigned long state, unsigned long data,
                                            bool (*callback)(unsigned long data,
                                                             ENUM_SERVICE_STATUSA& service)) noexcept {
    DWORD error = ERROR_INVALID_PARAMETER;
    if (callback != nullptr)
        error = EnumerateServices(
            data, callback, [&](void* records, DWORD size, DWORD& needed, DWORD& count, DWORD& resume) {
                return ServiceError(Services().enumServices, m_manager, type, state,
                                    static_cast<ENUM_SERVICE_STATUSA*>(records), size, &needed, &count, &resume);
            });
    return Finish(error, "Failed in call to EnumServicesStatus in EnumServices");
}

bool CNTServiceControlManager::EnumServices(unsigned long type, unsigned long state, const char* group,
                                            unsigned long data,
                                            bool (*callback)(unsigned long data,
                                                             ENUM_SERVICE_STATUS_PROCESSA& service)) noexcept {
    const auto enumerate = kiv::AdvancedServices().enumServicesEx;
    if (enumerate == nullptr)
        return Finish(ERROR_CALL_NOT_IMPLEMENTED,
                      "EnumServicesStatusEx function is not supported on this OS. "
                      "You need to be running at least Windows 2000 to use this function\n");
    DWORD error = ERROR_INVALID_PARAMETER;
    if (callback != nullptr)
        error = EnumerateServices(
            data, callback, [&](void* records, DWORD size, DWORD& needed, DWORD& count, DWORD& resume) {
                return ServiceError(enumerate, m_manager, SC_ENUM_PROCESS_INFO, type, state,
                                    static_cast<BYTE*>(records), size, &needed, &count, &resume, group);
            });
    return Finish(error, "Failed in call to EnumServicesStatusEx in EnumServices");
}

unsigned long CNTServiceControlManager::GetLastError() const noexcept {
    return m_lastError;
}

void CNTServiceControlManager::SetLastError(unsigned long error) noexcept {
    m_lastError = error;
}
