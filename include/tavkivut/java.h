#ifndef TAVKIVUT_JAVA_H
#define TAVKIVUT_JAVA_H

// Java in the caller's process: the host of one virtual machine, which is that of the newest runtime registered on this
// computer, used through the Java Native Interface (JNI).
//
// A runtime is registered below HKEY_LOCAL_MACHINE\SOFTWARE\JavaSoft\Java Runtime Environment by a subkey, whose name
// is its version, with the texts "RuntimeLib" (the full path of its library) and "JavaHome" (its folder). The newest is
// the one whose name compares greatest character by character, so "1.9" comes behind "1.10". A 32-bit process sees
// the 32-bit registrations and loads 32-bit runtimes, a 64-bit process those of 64 bits.
//
// Texts are 8-bit, in the system code page. Everything that happens and everything that fails is a line in the log
// that begins with "JVM : ".
//
// The types of the JNI are only named here. Whoever calls the JNI itself includes the "jni.h" of a JDK, in any
// order with this header.

#include <windows.h>  // CRITICAL_SECTION

#include "tavkivut/export.h"

struct JNIEnv_;
struct JavaVM_;
class _jobject;  // NOLINT(bugprone-reserved-identifier)
class _jclass;   // NOLINT(bugprone-reserved-identifier)
class _jstring;  // NOLINT(bugprone-reserved-identifier)
typedef JNIEnv_ JNIEnv;
typedef JavaVM_ JavaVM;
typedef _jobject* jobject;
typedef _jclass* jclass;
typedef _jstring* jstring;

class CKivJavaObject;
class CKivJavaString;

// The host of the machine. There is one instance, which the first GetInstance makes: it finds the runtime, loads it and
// creates the machine, all on that thread, and that is tried once in the process. When it fails the instance stands
// without a machine, and every operation says so.
//
// Threads: every operation may be called from any thread, GetInstance too (not from a DllMain). A thread is attached to
// the machine the first time that it needs it; whoever started the thread calls DetachCurrentThread before it ends,
// else the thread is named in the log at the end.
//
// The instance ends with the process or with the unload of this library. On an unload the runtime's library is unloaded
// too; in a process that is going down everything stays as it is, and only the log is written. The machine itself is
// never destroyed by a call.
//
// A copy uses the same machine and keeps its runtime loaded. It knows of no attached thread, since those belong to the
// object that attached them.
class KIV_API CKivJavaVM {
public:
    CKivJavaVM(const CKivJavaVM& other) noexcept;
    CKivJavaVM& operator=(const CKivJavaVM& other) noexcept;  // lets go of its own machine first
    ~CKivJavaVM();

    static CKivJavaVM& GetInstance() noexcept;
    static int IsInstanceRunning() noexcept;  // 1 while there is an object of this class, else 0

    int IsAvailable() const noexcept;  // 1 when there is a machine, else 0

    // The registered version ("1.4") and the folder of the chosen runtime, without a backslash at its end. They are
    // known as soon as a runtime was chosen, also when it could not be loaded; "" before.
    const char* GetVersion() const noexcept;
    const char* GetHomePath() const noexcept;

    int IsCurrentThreadAttached() noexcept;  // 1 when this object attached the calling thread, else 0

    // Detaches the calling thread; local references that it still has become invalid. Does nothing on a thread that
    // this object did not attach.
    void DetachCurrentThread() noexcept;

protected:
    friend class CKivJavaObject;
    friend class CKivJavaString;
    friend struct CKivJavaVMLayout;

    CKivJavaVM() noexcept;

    // The calling thread's environment, for JNI 1.2; attaches the thread when it is not yet. Null without a machine
    // and when the thread cannot be attached.
    JNIEnv* GetEnv() noexcept;

    // Finds, loads and starts the newest runtime. 1 when there is a machine afterwards, else 0.
    int LoadJVM() noexcept;

    // A class name as the JNI takes it: "java.lang.String" gives "java/lang/String", "int[]" gives "[I". Nested classes
    // are written with "$". Null gives null. The text is released with FreeJNIName.
    static char* AllocJNIName(const char* name) noexcept;
    static void FreeJNIName(char* name) noexcept;

    // The signature of a method. The parameters are type names separated by ",": int, long, boolean or bool, byte,
    // char, short, float, double, or a class, each with "[]" for an array of it. A name may be cut short ("i" is int,
    // "b" is boolean). Blanks around names do not count, empty names are skipped. A null result is void, null
    // parameters are none:
    //
    //     ("int", "java.lang.String,byte[]")   (Ljava/lang/String;[B)I
    //     (null, null)                         ()V
    //
    // The text is released with FreeJNIName.
    static char* AllocJNISignature(const char* result, const char* parameters) noexcept;

    // The code of one type: "java.util.Map[]" gives "[Ljava/util/Map;", null gives "V".
    static char* AllocJNISignature(const char* type) noexcept;

private:
    void Take(const CKivJavaVM& other) noexcept;
    void Leave() noexcept;
    void Unload() noexcept;
    bool LoadRuntime(const char* library) noexcept;
    bool CreateMachine(const char* library) noexcept;
    JNIEnv* AttachThread() noexcept;
    unsigned long FindThread(unsigned long id) const noexcept;
    void AddThread(unsigned long id) noexcept;
    bool RemoveThread(unsigned long id) noexcept;

    JavaVM* m_vm;             // null: no machine
    HMODULE m_runtimeModule;  // null: no runtime loaded
    long(__stdcall* m_getDefaultInitArgs)(void* record);
    long(__stdcall* m_createJavaVM)(JavaVM** vm, void** environment, void* record);
    char m_version[260];
    char m_homePath[260];
    unsigned long m_jniVersion;  // that the machine was made with
    unsigned long* m_attachedThreads;
    unsigned long m_attachedCount;
    unsigned long m_attachedCapacity;
    CRITICAL_SECTION m_lock;  // guards the attached threads
};

#endif
