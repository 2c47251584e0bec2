#include "support/windows_api.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include "java/java_session.h"
#include "java/jni_names.h"
#include "support/heap_text.h"
#include "support/log.h"
#include "support/once.h"
#include "support/process_end.h"
#include "tavkivut/frame.h"
#include "tavkivut/java.h"

using kiv::kLogError;
using kiv::kLogMain;
using kiv::kLogWarning;

namespace {

LONG g_instances = 0;

// The place of the one instance: made by the first call, also where several threads make it, and destroyed when the
// library is unloaded or the process ends.
struct InstancePlace {
    ~InstancePlace() {
        if (instance != nullptr)
            instance->~CKivJavaVM();
    }
    kiv::Once once;
    CKivJavaVM* instance = nullptr;
    alignas(CKivJavaVM) unsigned char memory[sizeof(CKivJavaVM)]{};
};

InstancePlace g_place;

// The list of threads under its lock. In a process that is going down the lock may be taken for ever by a thread that
// is gone, and nobody else can touch the list.
class ThreadListLock {
public:
    explicit ThreadListLock(CRITICAL_SECTION& section) noexcept : m_guard(section, false) {
        if (!kiv::IsProcessEnding())
            m_guard.Enter();
    }

private:
    CCriticalSection_MethodHelper m_guard;
};

}  // namespace

CKivJavaVM::CKivJavaVM() noexcept
    : m_vm(nullptr), m_runtimeModule(nullptr), m_getDefaultInitArgs(nullptr), m_createJavaVM(nullptr), m_version(),
      m_homePath(), m_jniVersion(0), m_attachedThreads(nullptr), m_attachedCount(0), m_attachedCapacity(0), m_lock() {
    ::InterlockedIncrement(&g_instances);
    ::InitializeCriticalSection(&m_lock);
    if (LoadJVM() != 0)
        return;
    m_attachedCount = 0;
    Unload();
    KIV_LOG(kLogMain, kLogError, "JVM : failed to load virtual machine");
}

CKivJavaVM::CKivJavaVM(const CKivJavaVM& other) noexcept
    : m_vm(nullptr), m_runtimeModule(nullptr), m_getDefaultInitArgs(nullptr), m_createJavaVM(nullptr), m_version(),
      m_homePath(), m_jniVersion(0), m_attachedThreads(nullptr), m_attachedCount(0), m_attachedCapacity(0), m_lock() {
    ::InterlockedIncrement(&g_instances);
    ::InitializeCriticalSection(&m_lock);
    Take(other);
}

CKivJavaVM& CKivJavaVM::operator=(const CKivJavaVM& other) noexcept {
    if (this != &other) {
        Leave();
        Take(other);
    }
    return *this;
}

CKivJavaVM::~CKivJavaVM() {
    Leave();
    ::InterlockedDecrement(&g_instances);
    if (kiv::IsProcessEnding())
        return;
    ::DeleteCriticalSection(&m_lock);
    delete[] m_attachedThreads;
}

// Uses the other's machine, with a reference of its own to the runtime's library, which keeps that loaded.
void CKivJavaVM::Take(const CKivJavaVM& other) noexcept {
    std::memcpy(m_version, other.m_version, sizeof m_version);
    std::memcpy(m_homePath, other.m_homePath, sizeof m_homePath);
    char path[MAX_PATH];
    const DWORD length = other.IsAvailable() ? ::GetModuleFileNameA(other.m_runtimeModule, path, sizeof path) : 0;
    if (length == 0 || length >= sizeof path)
        return;
    m_runtimeModule = ::LoadLibraryA(path);
    if (m_runtimeModule == nullptr)
        return;
    m_vm = other.m_vm;
    m_getDefaultInitArgs = other.m_getDefaultInitArgs;
    m_createJavaVM = other.m_createJavaVM;
    m_jniVersion = other.m_jniVersion;
}

// Lets go of the machine. Threads that are still attached stay so; they are named, since nobody can detach them now.
void CKivJavaVM::Leave() noexcept {
    DetachCurrentThread();
    for (unsigned long i = 0; i < m_attachedCount; ++i) {
        const unsigned long id = m_attachedThreads[i];
        KIV_LOG(kLogMain, kLogWarning, "JVM : the thread 0x%x (%i) has not been detached from the virtual machine",
                static_cast<unsigned>(id), static_cast<int>(id));
    }
    m_attachedCount = 0;
    Unload();
}

void CKivJavaVM::Unload() noexcept {
    const HMODULE module = m_runtimeModule;
    m_vm = nullptr;
    m_runtimeModule = nullptr;
    m_getDefaultInitArgs = nullptr;
    m_createJavaVM = nullptr;
    m_jniVersion = 0;
    if (module != nullptr && !kiv::IsProcessEnding())
        ::FreeLibrary(module);
}

CKivJavaVM& CKivJavaVM::GetInstance() noexcept {
    g_place.once.Run([] { g_place.instance = new (g_place.memory) CKivJavaVM; });
    return *g_place.instance;
}

int CKivJavaVM::IsInstanceRunning() noexcept {
    return __atomic_load_n(&g_instances, __ATOMIC_ACQUIRE) != 0 ? 1 : 0;
}

int CKivJavaVM::IsAvailable() const noexcept {
    return m_vm != nullptr ? 1 : 0;
}

const char* CKivJavaVM::GetVersion() const noexcept {
    return m_version;
}

const char* CKivJavaVM::GetHomePath() const noexcept {
    return m_homePath;
}

int CKivJavaVM::IsCurrentThreadAttached() noexcept {
    const ThreadListLock lock(m_lock);
    return FindThread(::GetCurrentThreadId()) < m_attachedCount ? 1 : 0;
}

void CKivJavaVM::DetachCurrentThread() noexcept {
    if (IsAvailable() && RemoveThread(::GetCurrentThreadId()) && !kiv::IsProcessEnding())
        m_vm->functions->detachCurrentThread(m_vm);
}

JNIEnv* CKivJavaVM::GetEnv() noexcept {
    if (!IsAvailable() || kiv::IsProcessEnding())
        return nullptr;
    void* environment = nullptr;
    const jint result = m_vm->functions->getEnv(m_vm, &environment, kiv::kJniVersion12);
    switch (result) {
    case kiv::kJniOk:
        return static_cast<JNIEnv*>(environment);
    case kiv::kJniDetached:
        return AttachThread();
    case kiv::kJniVersionWrong:
        KIV_LOG(kLogMain, kLogError, "JVM : the installed runtime library does not support JNI");
        return nullptr;
    default:
        KIV_LOG(kLogMain, kLogError, "JVM : failed to retrieve thread environment, Error code 0x%x (%i)",
                static_cast<unsigned>(result), static_cast<int>(result));
        return nullptr;
    }
}

JNIEnv* CKivJavaVM::GetAttachedEnv() noexcept {
    void* environment = nullptr;
    if (!IsAvailable() || kiv::IsProcessEnding() ||
        m_vm->functions->getEnv(m_vm, &environment, kiv::kJniVersion12) != kiv::kJniOk)
        return nullptr;
    return static_cast<JNIEnv*>(environment);
}

JNIEnv* CKivJavaVM::AttachThread() noexcept {
    kiv::JniAttachArguments arguments = {kiv::kJniVersion12, nullptr, nullptr};
    void* environment = nullptr;
    const jint result = m_vm->functions->attachCurrentThread(m_vm, &environment, &arguments);
    if (result < kiv::kJniOk) {
        KIV_LOG(kLogMain, kLogError, "JVM : failed to attach thread to virtual machine, Error code 0x%x (%i)",
                static_cast<unsigned>(result), static_cast<int>(result));
        return nullptr;
    }
    AddThread(::GetCurrentThreadId());
    return static_cast<JNIEnv*>(environment);
}

// The place of a thread in the list; the list's length when it is not there. Under the lock.
unsigned long CKivJavaVM::FindThread(unsigned long id) const noexcept {
    unsigned long at = 0;
    while (at < m_attachedCount && m_attachedThreads[at] != id)
        ++at;
    return at;
}

// Puts a thread into the list, once. An id that is there already belongs to a thread that ended without being detached.
// Without memory the thread is not listed, and stays attached as long as the machine lives.
void CKivJavaVM::AddThread(unsigned long id) noexcept {
    constexpr unsigned long kGrowth = 16;
    const ThreadListLock lock(m_lock);
    if (FindThread(id) < m_attachedCount)
        return;
    if (m_attachedCount == m_attachedCapacity) {
        auto* const grown = new (std::nothrow) unsigned long[m_attachedCapacity + kGrowth];
        if (grown == nullptr)
            return;
        std::copy_n(m_attachedThreads, m_attachedCount, grown);
        const unsigned long* const outgrown = m_attachedThreads;
        m_attachedThreads = grown;  // the list is whole at every moment: the process may end here
        m_attachedCapacity += kGrowth;
        delete[] outgrown;
    }
    m_attachedThreads[m_attachedCount] = id;
    ++m_attachedCount;
}

// Whether the thread was in the list.
bool CKivJavaVM::RemoveThread(unsigned long id) noexcept {
    const ThreadListLock lock(m_lock);
    const unsigned long at = FindThread(id);
    if (at == m_attachedCount)
        return false;
    std::copy(m_attachedThreads + at + 1, m_attachedThreads + m_attachedCount, m_attachedThreads + at);
    --m_attachedCount;
    return true;
}

char* CKivJavaVM::AllocJNIName(const char* name) noexcept {
    return name == nullptr ? nullptr : kiv::DuplicateText(kiv::JniClassName(kiv::JniText(name)).c_str());
}

void CKivJavaVM::FreeJNIName(char* name) noexcept {
    kiv::FreeText(name);
}

char* CKivJavaVM::AllocJNISignature(const char* result, const char* parameters) noexcept {
    return kiv::DuplicateText(kiv::JniSignature(kiv::JniText(result), kiv::JniText(parameters)).c_str());
}

char* CKivJavaVM::AllocJNISignature(const char* type) noexcept {
    const std::string code = kiv::JniTypeCode(kiv::JniText(type));
    return kiv::DuplicateText(code.empty() ? "V" : code.c_str());
}
