// A process that hosts a Java machine, as a child of the host's tests: `java_child MODE`. HKLM is another key
// (child_program.h).

#include <string>

#include "java/jni_tables.h"
#include "support/dynamic_function.h"
#include "support/threads.h"
#include "windows/child_program.h"

namespace {

struct Host : CKivJavaVM {
    using CKivJavaVM::GetEnv;
};

JNIEnv* Environment() {
    return (CKivJavaVM::GetInstance().*&Host::GetEnv)();
}

jobject Find(JNIEnv* env, const char* name) {
    return reinterpret_cast<jobject>(env->functions->findClass(env, name));
}

// Leaves a thread attached and says which.
int Exit() {
    const auto attach = [] {
        const auto id = static_cast<unsigned>(::GetCurrentThreadId());
        std::printf("0x%x (%i)\n", id, static_cast<int>(id));
        return Environment() != nullptr;
    };
    return Environment() != nullptr && kiv::test::RunThreads(1, attach) == 1 ? 0 : 1;
}

// Of a copy of the library, since this program keeps the library itself.
int Unload() {
    char path[MAX_PATH];
    char copy[MAX_PATH + 10];
    ::GetModuleFileNameA(::GetModuleHandleA("tavkivut.dll"), path, sizeof path);
    std::snprintf(copy, sizeof copy, "%s.copy.dll", path);
    ::CopyFileA(path, copy, FALSE);
    const HMODULE library = ::LoadLibraryA(copy);
    CKivJavaVM& (*getInstance)() = nullptr;
    kiv::FindFunction(library, "_ZN10CKivJavaVM11GetInstanceEv", getInstance);
    const bool available = getInstance().IsAvailable() == 1 && ::GetModuleHandleA("java_runtime.dll") != nullptr;
    ::FreeLibrary(library);
    ::DeleteFileA(copy);
    return available && ::GetModuleHandleA("java_runtime.dll") == nullptr ? 0 : 1;
}

// Objects where no runtime is registered: nothing is there, and nothing fails.
int Objects() {
    CKivJavaObject object("java.lang.String");
    CKivJavaObject* array = &object;
    const CKivJavaString string("text");
    const bool isEmpty =
        object.Create("") == 0 && !object && object.CallIntMethod("length", "") == 0 &&
        object.CallStringMethod("toString", "").length() == 0 && !object.CallObjectMethod("a.B", "c", "") &&
        object.CallObjectMethod("a.B", "c", &array, "") == 0 && array == nullptr && object == CKivJavaObject(object) &&
        static_cast<jstring>(string) == nullptr && *static_cast<const char*>(string) == '\0';
    return CKivJavaVM::GetInstance().IsAvailable() == 0 && isEmpty ? 0 : 1;
}

// What nobody may do.
int BreakRule(const std::string& rule) {
    JNIEnv* const env = Environment();
    const jobject cls = Find(env, rule == "pending" ? "no/Such" : "java/lang/String");
    if (rule == "deleted")
        env->functions->deleteLocalRef(env, cls);
    if (rule == "deleted" || rule == "pending")
        env->functions->newLocalRef(env, cls);
    if (rule == "otherthread")
        kiv::test::RunThreads(1, [env] { return Find(env, "java/lang/String") != nullptr; });
    if (rule == "detach")
        CKivJavaVM::GetInstance().DetachCurrentThread();
    if (rule == "unserved")
        reinterpret_cast<void (*)()>(env->functions->reserved[0])();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc == 2 && RedirectLocalMachine() ? argv[1] : "";
    if (mode.empty())
        return 3;
    if (mode == "exit")
        return Exit();
    if (mode == "objects")
        return Objects();
    return mode == "unload" ? Unload() : BreakRule(mode);
}
