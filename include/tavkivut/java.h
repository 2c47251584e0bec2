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
// clang-format off
#include <oaidl.h>    // IDispatch; behind windows.h
// clang-format on

#include <stdarg.h>

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

    // The same for a thread that is attached already; null for any other, without a line in the log.
    JNIEnv* GetAttachedEnv() noexcept;

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

// A Java string, made from a text or taken over from Java.
//
// It holds a local reference to the string, so it belongs to the thread, and within a native method to the call, where
// it was made. Without a machine, and where Java fails, it is empty: of length 0, "" as a text, null as a reference.
class KIV_API CKivJavaString {
public:
    CKivJavaString() noexcept;
    CKivJavaString(jstring string) noexcept;  // takes a reference of its own
    CKivJavaString(const char* text) noexcept;
    CKivJavaString(const unsigned short* text) noexcept;  // UTF-16
    CKivJavaString(const CKivJavaString& other) noexcept;
    virtual ~CKivJavaString();

    // The source may be this string's own reference or text.
    CKivJavaString& operator=(jstring string) noexcept;
    CKivJavaString& operator=(const char* text) noexcept;
    CKivJavaString& operator=(const unsigned short* text) noexcept;
    CKivJavaString& operator=(const CKivJavaString& other) noexcept;

    long length() const noexcept;  // in units of UTF-16, as Java counts

    // The texts belong to the string and stay as they are until it changes or ends. They are terminated, and can hold
    // zeros besides; what the code page lacks is '?'.
    operator const char*() const noexcept;
    operator const unsigned short*() const noexcept;

    operator jstring() const noexcept;  // still owned by this string

protected:
    void ClearBuffers() noexcept;  // lets go of the texts
    void Clear() noexcept;         // of the reference too

private:
    friend class CKivJavaObject;
    void Take(jstring reference) noexcept;
    void Assign(const wchar_t* text, unsigned long length) noexcept;
    void ReadCharacters() const noexcept;

    jstring m_string;
    mutable char* m_ansi;             // null until it is asked for
    mutable unsigned short* m_utf16;  // null until a text is asked for
    mutable long m_length;            // of m_utf16
};

// A Java class, or an object of one, for native callers and, as far as names go, for automation clients.
//
//     CKivJavaObject counter("demo.Counter");     // the class
//     counter.Create("int", 40);                  // an object of it
//     int sum = counter.CallIntMethod("add", "int", 2);
//
// A parameter list names the types of the parameters exactly as the method declares them (CKivJavaVM tells how types
// are written); there is no choice among overloads. The arguments follow in the same order: boolean, byte, char, short
// and int as int, long as long long, float and double as double, objects and strings as references
// (`static_cast<jobject>(object)`, `static_cast<jstring>(string)`), never as objects of these classes.
//
// An object holds local references, so it belongs to the thread, and within a native method to the call, where it was
// made; references that are still held when a thread detaches are gone. A Java exception ends the operation that met it
// with an empty result, and is cleared.
//
// Without a machine every operation has an empty result: null, 0, false.
//
// Automation: names can be resolved, methods cannot be run. The reference count starts at 1; Release deletes an object
// at 0, so only one made with CreateInstance or new is ever released.
class KIV_API CKivJavaObject : public IDispatch {
public:
    CKivJavaObject() noexcept;
    CKivJavaObject(jobject object) noexcept;         // takes a reference of its own
    CKivJavaObject(jclass cls) noexcept;             // the same
    CKivJavaObject(const char* className) noexcept;  // "java.lang.String"; holds nothing when there is no such class
    CKivJavaObject(const CKivJavaObject& other) noexcept;  // its object, else its class

    CKivJavaObject& operator=(jobject object) noexcept;
    CKivJavaObject& operator=(const CKivJavaObject& other) noexcept;

    // Whether both stand for the same Java object; two without an object are equal.
    bool operator==(const CKivJavaObject& other) const noexcept;
    bool operator!=(const CKivJavaObject& other) const noexcept;

    operator bool() const noexcept;     // there is an object; a class alone is none
    operator jobject() const noexcept;  // still owned by this object; null where there is none

    // Makes an object of the class with the constructor that has these parameters. Returns 1 when there is an object
    // afterwards, also when there was one before (then nothing is done), else 0.
    int Create(const char* parameterList, ...) noexcept;

    // Calls a method of the object, or one that its class inherits. Static methods cannot be called.
    CKivJavaObject CallObjectMethod(const char* resultClass, const char* name, const char* parameterList, ...) noexcept;

    // For a method whose result is an array of objects; `resultClass` names the class of its elements. Returns how many
    // there are; *out receives that many objects, which the caller releases with delete[], empty ones for null
    // elements. 0 and null for an empty array and after a failure.
    unsigned int CallObjectMethod(const char* resultClass, const char* name, CKivJavaObject** out,
                                  const char* parameterList, ...) noexcept;

    CKivJavaString CallStringMethod(const char* name, const char* parameterList, ...) noexcept;
    void CallVoidMethod(const char* name, const char* parameterList, ...) noexcept;
    int CallIntMethod(const char* name, const char* parameterList, ...) noexcept;
    bool CallBooleanMethod(const char* name, const char* parameterList, ...) noexcept;
    signed char CallByteMethod(const char* name, const char* parameterList, ...) noexcept;
    unsigned short CallCharMethod(const char* name, const char* parameterList, ...) noexcept;
    short CallShortMethod(const char* name, const char* parameterList, ...) noexcept;
    long long CallLongMethod(const char* name, const char* parameterList, ...) noexcept;
    float CallFloatMethod(const char* name, const char* parameterList, ...) noexcept;
    double CallDoubleMethod(const char* name, const char* parameterList, ...) noexcept;

    // Serves IUnknown and IDispatch.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) noexcept override;
    ULONG STDMETHODCALLTYPE AddRef() noexcept override;
    ULONG STDMETHODCALLTYPE Release() noexcept override;

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override;                          // 0
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** out) noexcept override;  // E_NOTIMPL

    // A name's number is the place of the first method of that name in what Java's getMethods gives, in the same case;
    // -1, and the result DISP_E_UNKNOWNNAME, when there is none, or no object.
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) noexcept override;

    // S_OK, and nothing is done: no method is called, nothing is written.
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                                     VARIANT* result, EXCEPINFO* exception, UINT* argument) noexcept override;

    virtual ~CKivJavaObject();

    // A new object on the heap, with one reference that the caller releases. S_OK, also when there is no such class or
    // no machine; E_POINTER for a null out, E_OUTOFMEMORY.
    static long CreateInstance(const char* className, IUnknown** out) noexcept;
    static long CreateInstance(jobject object, IUnknown** out) noexcept;

protected:
    // Which of the JNI's calls a method needs, told by the type of its result.
    enum MethodType : int {
        METHOD_VOID = 0,
        METHOD_OBJECT = 1,
        METHOD_BOOLEAN = 2,
        METHOD_BYTE = 3,
        METHOD_CHAR = 4,
        METHOD_SHORT = 5,
        METHOD_INT = 6,
        METHOD_LONG = 7,
        METHOD_FLOAT = 8,
        METHOD_DOUBLE = 9
    };

    union MethodResult {
        jobject l;  // a local reference, which whoever made the call deletes
        unsigned char z;
        signed char b;
        unsigned short c;
        short s;
        int i;
        long long j;
        float f;
        double d;
    };

    // As Create, and the wrappers above; `resultType` (null is void) and `type` must belong together. All of the result
    // is 0 when nothing was called.
    int CreateV(const char* parameterList, va_list arguments) noexcept;
    MethodResult CallMethod(MethodType type, const char* resultType, const char* name, const char* parameterList,
                            va_list arguments) noexcept;

    // Each takes a reference of its own and lets go of the one held before. Nothing happens for null.
    void Attach(jobject object) noexcept;
    void Attach(jclass cls) noexcept;
    void Destroy() noexcept;

private:
    jobject m_object;
    jclass m_class;
    int m_hasObject;
    int m_hasClass;
    long m_references;
};

#endif
