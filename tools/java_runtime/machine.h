#ifndef KIV_JAVA_RUNTIME_MACHINE_H
#define KIV_JAVA_RUNTIME_MACHINE_H

#include <string>

#include "java_runtime/object_model.h"

// The one machine of the stand-in runtime: its attached threads and what they hold.

// Exit code of a process that broke a rule of the JNI.
constexpr unsigned kBrokenRule = 97;

// Ends the process with kBrokenRule and says why on the error output.
[[noreturn]] void BreakRule(const std::string& what);

// A thread that is attached. JNIEnv is its first member, so the environment's address is the thread's.
struct JavaThread {
    JNIEnv_ environment;
    DWORD id;
    ObjectPointer pending;  // the exception that was not cleared yet
};

JavaThread* CurrentThread();  // null: not attached
JavaThread& AttachThread(const kiv::JniEnvironmentTable& table);
void DetachThread(JavaThread& thread);  // which must have given everything back

std::size_t CountThreads();
std::size_t CountReferences();

// For the end of the runtime: whatever is still held breaks a rule, and so does every later call.
void EndMachine();

// A call of the environment: alone in the machine, on its own thread, without a pending exception unless that is
// allowed.
class Session {
public:
    explicit Session(JNIEnv* environment, bool mayBePending = false);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    JavaThread& Thread() { return *m_thread; }
    void Throw(const char* cls) { m_thread->pending = MakeObject(cls); }

    // What a reference stands for; null for null. The reference must be one of this thread that was not deleted.
    ObjectPointer Resolve(jobject reference);
    ObjectPointer ResolveObject(jobject reference);  // not null
    const Class& ResolveClass(jobject reference);

    jobject Refer(const ObjectPointer& object);  // a new local reference; null for null
    void Forget(jobject reference);

    const jchar* Pin(const std::u16string& text);  // a copy that is not terminated
    void Unpin(const jchar* characters);

private:
    JavaThread* m_thread;
};

#endif
