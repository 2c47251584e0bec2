#ifndef KIV_JAVA_JNI_TABLES_H
#define KIV_JAVA_JNI_TABLES_H

// The Java Native Interface as it is published, as far as the library calls it: its types, the table of the machine,
// the table of a thread's environment up to JNI 1.2, and the start record of JDK 1.1. Slots that nobody calls are gaps.
// Everything that is called is __stdcall; for the calls with a va_list this matters on 32 bits too.

#include <cstdarg>
#include <cstddef>

#include "support/windows_api.h"
#include "tavkivut/java.h"

using jboolean = unsigned char;
using jbyte = signed char;
using jchar = unsigned short;
using jshort = short;
using jint = long;
using jlong = long long;
using jfloat = float;
using jdouble = double;
using jsize = jint;
struct _jmethodID;  // NOLINT(bugprone-reserved-identifier)
using jmethodID = _jmethodID*;

union jvalue {
    jboolean z;
    jbyte b;
    jchar c;
    jshort s;
    jint i;
    jlong j;
    jfloat f;
    jdouble d;
    jobject l;
};

namespace kiv {

constexpr jint kJniVersion12 = 0x00010002;

constexpr jint kJniOk = 0;
constexpr jint kJniDetached = -2;      // the thread is not attached
constexpr jint kJniVersionWrong = -3;  // the version is not supported

struct JniMachineTable {
    void* reserved[3];
    jint(__stdcall* destroyJavaVM)(JavaVM* vm);
    jint(__stdcall* attachCurrentThread)(JavaVM* vm, void** environment, void* arguments);
    jint(__stdcall* detachCurrentThread)(JavaVM* vm);
    jint(__stdcall* getEnv)(JavaVM* vm, void** environment, jint version);
};

// The calls that return a value of one type: with "...", a va_list and an array of values; only the second is used.
template <class Result>
struct JniCallFamily {
    void* callMethod;
    Result(__stdcall* callMethodV)(JNIEnv* env, jobject object, jmethodID method, va_list arguments);
    void* callMethodA;
};

struct JniEnvironmentTable {
    void* reserved[4];
    jint(__stdcall* getVersion)(JNIEnv* env);
    void* gap5[1];
    jclass(__stdcall* findClass)(JNIEnv* env, const char* name);
    void* gap7[8];
    jobject(__stdcall* exceptionOccurred)(JNIEnv* env);
    void(__stdcall* exceptionDescribe)(JNIEnv* env);
    void(__stdcall* exceptionClear)(JNIEnv* env);
    void* gap18[5];
    void(__stdcall* deleteLocalRef)(JNIEnv* env, jobject reference);
    jboolean(__stdcall* isSameObject)(JNIEnv* env, jobject one, jobject other);
    jobject(__stdcall* newLocalRef)(JNIEnv* env, jobject reference);
    void* gap26[3];
    jobject(__stdcall* newObjectV)(JNIEnv* env, jclass cls, jmethodID constructor, va_list arguments);
    void* gap30[1];
    jclass(__stdcall* getObjectClass)(JNIEnv* env, jobject object);
    void* gap32[1];
    jmethodID(__stdcall* getMethodID)(JNIEnv* env, jclass cls, const char* name, const char* signature);
    JniCallFamily<jobject> callObject;
    JniCallFamily<jboolean> callBoolean;
    JniCallFamily<jbyte> callByte;
    JniCallFamily<jchar> callChar;
    JniCallFamily<jshort> callShort;
    JniCallFamily<jint> callInt;
    JniCallFamily<jlong> callLong;
    JniCallFamily<jfloat> callFloat;
    JniCallFamily<jdouble> callDouble;
    JniCallFamily<void> callVoid;
    void* gap64[99];
    jstring(__stdcall* newString)(JNIEnv* env, const jchar* characters, jsize length);
    jsize(__stdcall* getStringLength)(JNIEnv* env, jstring string);
    const jchar*(__stdcall* getStringChars)(JNIEnv* env, jstring string, jboolean* isCopy);  // not terminated
    void(__stdcall* releaseStringChars)(JNIEnv* env, jstring string, const jchar* characters);
    void* gap167[4];
    jsize(__stdcall* getArrayLength)(JNIEnv* env, jobject array);
    void* gap172[1];
    jobject(__stdcall* getObjectArrayElement)(JNIEnv* env, jobject array, jsize index);
    void* gap174[54];
    jboolean(__stdcall* exceptionCheck)(JNIEnv* env);
};

// The published slot numbers.
constexpr std::size_t kJniSlot = sizeof(void*);
static_assert(offsetof(JniMachineTable, getEnv) == 6 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, getVersion) == 4 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, findClass) == 6 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, exceptionOccurred) == 15 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, deleteLocalRef) == 23 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, newObjectV) == 29 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, getObjectClass) == 31 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, getMethodID) == 33 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, callObject.callMethodV) == 35 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, callVoid.callMethodV) == 62 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, newString) == 163 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, getArrayLength) == 171 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, getObjectArrayElement) == 173 * kJniSlot);
static_assert(offsetof(JniEnvironmentTable, exceptionCheck) == 228 * kJniSlot);

struct JniAttachArguments {
    jint version;
    char* name;
    jobject group;
};

// The record of JDK 1.1 that a machine is made from.
struct Jdk11InitArgs {
    jint version;
    char** properties;
    jint checkSource;
    jint nativeStackSize;
    jint javaStackSize;
    jint minHeapSize;
    jint maxHeapSize;
    jint verifyMode;
    char* classpath;
    void* vfprintf;
    void* exit;
    void* abort;
    jint enableClassGC;
    jint enableVerboseGC;
    jint disableAsyncGC;
    jint verbose;
    jboolean debugging;
    jint debugPort;
};
static_assert(sizeof(void*) == 8 || (sizeof(Jdk11InitArgs) == 72 && offsetof(Jdk11InitArgs, classpath) == 32));

}  // namespace kiv

struct JavaVM_ {
    const kiv::JniMachineTable* functions;
};

struct JNIEnv_ {
    const kiv::JniEnvironmentTable* functions;
};

#endif
