// A process that hosts a Java machine, as a child of the host's tests: `java_child MODE`. HKLM is another key
// (child_program.h).

#include <cstring>

#include "java/jni_tables.h"
#include "support/dynamic_function.h"
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

DWORD WINAPI Attach(LPVOID) {
    return Environment() == nullptr ? 1 : 0;
}

int Exit() {
    Environment();
    DWORD id = 0;
    const HANDLE thread = ::CreateThread(nullptr, 0, Attach, nullptr, 0, &id);
    ::WaitForSingleObject(thread, 60000);
    std::printf("0x%x (%i)\n", static_cast<unsigned>(id), static_cast<int>(id));
    return 0;
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

DWORD WINAPI UseEnvironment(LPVOID env) {
    Find(static_cast<JNIEnv*>(env), "java/lang/String");
    return 0;
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
int BreakRule(const char* rule) {
    JNIEnv* const env = Environment();
    const jobject cls = Find(env, std::strcmp(rule, "pending") == 0 ? "no/Such" : "java/lang/String");
    if (std::strcmp(rule, "deleted") == 0)
        env->functions->deleteLocalRef(env, cls);
    if (std::strcmp(rule, "deleted") == 0 || std::strcmp(rule, "pending") == 0)
        env->functions->newLocalRef(env, cls);
    if (std::strcmp(rule, "otherthread") == 0)
        ::WaitForSingleObject(::CreateThread(nullptr, 0, UseEnvironment, env, 0, nullptr), 60000);
    if (std::strcmp(rule, "detach") == 0)
        CKivJavaVM::GetInstance().DetachCurrentThread();
    if (std::strcmp(rule, "unserved") == 0)
        reinterpret_cast<void (*)()>(env->functions->reserved[0])();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || !RedirectLocalMachine())
        return 3;
    if (std::strcmp(argv[1], "exit") == 0)
        return Exit();
    if (std::strcmp(argv[1], "objects") == 0)
        return Objects();
    return std::strcmp(argv[1], "unload") == 0 ? Unload() : BreakRule(argv[1]);
}
