// Java from two threads: each takes the machine's environment for itself, makes a Java string, asks it for its length
// and detaches before it ends.
//
// A program of your own includes the "jni.h" of a JDK; this one needs no JDK and includes the library's declarations.

#include "support/windows_api.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "java/jni_tables.h"
#include "tavkivut/java.h"

namespace {

// What the host offers to those who call the JNI themselves.
class Java : public CKivJavaVM {
public:
    static JNIEnv* Environment() { return (GetInstance().*&Java::GetEnv)(); }

    // int name() of the object's class; -1 when there is none, or when it throws.
    static jint CallInt(JNIEnv* env, jobject object, const char* name) {
        const kiv::JniEnvironmentTable& jni = *env->functions;
        const jclass cls = jni.getObjectClass(env, object);
        char* const signature = AllocJNISignature("int", nullptr);
        const jmethodID method = jni.getMethodID(env, cls, name, signature);
        FreeJNIName(signature);
        jint result = -1;
        if (method != nullptr)
            result = Call(env, object, method);
        const bool failed = jni.exceptionCheck(env) != 0;
        jni.exceptionClear(env);
        jni.deleteLocalRef(env, reinterpret_cast<jobject>(cls));
        return failed ? -1 : result;
    }

private:
    static jint Call(JNIEnv* env, jobject object, jmethodID method, ...) {
        va_list arguments;
        va_start(arguments, method);
        const jint result = env->functions->callInt.callMethodV(env, object, method, arguments);
        va_end(arguments);
        return result;
    }
};

struct Job {
    std::u16string text;
    jint length = -1;  // as Java counts
};

DWORD WINAPI AskForLength(LPVOID argument) {
    Job& job = *static_cast<Job*>(argument);
    JNIEnv* const env = Java::Environment();  // attaches this thread
    if (env == nullptr)
        return 1;
    const auto* const characters = reinterpret_cast<const jchar*>(job.text.data());
    const auto string =
        reinterpret_cast<jobject>(env->functions->newString(env, characters, static_cast<jsize>(job.text.size())));
    if (string != nullptr)
        job.length = Java::CallInt(env, string, "length");
    env->functions->exceptionClear(env);
    env->functions->deleteLocalRef(env, string);
    CKivJavaVM::GetInstance().DetachCurrentThread();
    return 0;
}

}  // namespace

int main() {
    const CKivJavaVM& java = CKivJavaVM::GetInstance();  // finds, loads and starts the newest runtime
    if (java.IsAvailable() == 0) {
        std::puts("java: there is no usable runtime; the log tells why");
        return 1;
    }
    std::printf("java: version %s, home %s\n", java.GetVersion(), java.GetHomePath());

    Job jobs[] = {{u"install"}, {u"installation server"}};
    HANDLE threads[2];
    for (int i = 0; i < 2; ++i)
        threads[i] = ::CreateThread(nullptr, 0, AskForLength, &jobs[i], 0, nullptr);
    ::WaitForMultipleObjects(2, threads, TRUE, INFINITE);
    for (int i = 0; i < 2; ++i) {
        ::CloseHandle(threads[i]);
        const std::string text(jobs[i].text.begin(), jobs[i].text.end());
        std::printf("java: thread %d was told that \"%s\" has length %ld\n", i + 1, text.c_str(), jobs[i].length);
    }
    return 0;
}
