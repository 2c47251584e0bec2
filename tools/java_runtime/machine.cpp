#include "java_runtime/machine.h"

#include <algorithm>
#include <cstdint>
#include <map>

#include "support/lazy_lock.h"

namespace {

struct Reference {
    JavaThread* thread;
    ObjectPointer object;
};

kiv::LazyLock g_lock;
DWORD g_slot = TLS_OUT_OF_INDEXES;
bool g_ended = false;
std::vector<std::unique_ptr<JavaThread>> g_threads;
std::map<jobject, Reference> g_references;
std::uintptr_t g_lastReference = 0;  // no value is given out twice
std::map<const jchar*, std::unique_ptr<jchar[]>> g_pinned;

class Locked {
public:
    Locked() { ::EnterCriticalSection(&g_lock.Get()); }
    ~Locked() { ::LeaveCriticalSection(&g_lock.Get()); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
};

}  // namespace

void BreakRule(const std::string& what) {
    const std::string line = "java runtime: " + what + "\r\n";
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    ::TerminateProcess(::GetCurrentProcess(), kBrokenRule);
    for (;;)
        ::Sleep(INFINITE);
}

JavaThread* CurrentThread() {
    if (g_ended)
        BreakRule("a call after the end of the runtime");
    return g_slot == TLS_OUT_OF_INDEXES ? nullptr : static_cast<JavaThread*>(::TlsGetValue(g_slot));
}

JavaThread& AttachThread(const kiv::JniEnvironmentTable& table) {
    const Locked lock;
    if (g_slot == TLS_OUT_OF_INDEXES)
        g_slot = ::TlsAlloc();
    g_threads.push_back(std::make_unique<JavaThread>(JavaThread{{&table}, ::GetCurrentThreadId(), nullptr}));
    ::TlsSetValue(g_slot, g_threads.back().get());
    return *g_threads.back();
}

void DetachThread(JavaThread& thread) {
    const Locked lock;
    for (const auto& entry : g_references) {
        if (entry.second.thread == &thread)
            BreakRule("a local reference is left when its thread is detached");
    }
    if (thread.pending != nullptr)
        BreakRule("an exception is pending when its thread is detached");
    ::TlsSetValue(g_slot, nullptr);
    g_threads.erase(std::find_if(g_threads.begin(), g_threads.end(),
                                 [&](const auto& attached) { return attached.get() == &thread; }));
}

std::size_t CountThreads() {
    const Locked lock;
    return g_threads.size();
}

std::size_t CountReferences() {
    const Locked lock;
    return g_references.size();
}

void EndMachine() {
    if (!g_references.empty())
        BreakRule(std::to_string(g_references.size()) + " local references are left at the end");
    if (!g_pinned.empty())
        BreakRule(std::to_string(g_pinned.size()) + " strings are left pinned at the end");
    g_ended = true;
    if (g_slot != TLS_OUT_OF_INDEXES)
        ::TlsFree(g_slot);
}

Session::Session(JNIEnv* environment, bool mayBePending) : m_thread(CurrentThread()) {
    if (m_thread == nullptr || environment != &m_thread->environment)
        BreakRule("an environment is used on another thread");
    if (m_thread->pending != nullptr && !mayBePending)
        BreakRule("a call with a pending exception");
    ::EnterCriticalSection(&g_lock.Get());
}

Session::~Session() {
    ::LeaveCriticalSection(&g_lock.Get());
}

ObjectPointer Session::Resolve(jobject reference) {
    if (reference == nullptr)
        return nullptr;
    const auto found = g_references.find(reference);
    if (found == g_references.end())
        BreakRule("a reference that was deleted, or never was one, is used");
    if (found->second.thread != m_thread)
        BreakRule("a local reference of another thread is used");
    return found->second.object;
}

ObjectPointer Session::ResolveObject(jobject reference) {
    ObjectPointer object = Resolve(reference);
    if (object == nullptr)
        BreakRule("a null reference is used");
    return object;
}

const Class& Session::ResolveClass(jobject reference) {
    const Class* const cls = ResolveObject(reference)->represents;
    if (cls == nullptr)
        BreakRule("a reference to something else is used as a class");
    return *cls;
}

jobject Session::Refer(const ObjectPointer& object) {
    if (object == nullptr)
        return nullptr;
    g_lastReference += sizeof(void*);
    const auto reference = reinterpret_cast<jobject>(g_lastReference);
    g_references[reference] = {m_thread, object};
    return reference;
}

void Session::Forget(jobject reference) {
    if (Resolve(reference) != nullptr)
        g_references.erase(reference);
}

const jchar* Session::Pin(const std::u16string& text) {
    constexpr jchar kNoTerminator = 0xDEAD;
    auto copy = std::make_unique<jchar[]>(text.size() + 1);
    std::copy(text.begin(), text.end(), copy.get());
    copy[text.size()] = kNoTerminator;
    const jchar* const characters = copy.get();
    g_pinned[characters] = std::move(copy);
    return characters;
}

void Session::Unpin(const jchar* characters) {
    if (g_pinned.erase(characters) == 0)
        BreakRule("characters are released that are not pinned");
}
