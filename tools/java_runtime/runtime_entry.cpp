// A stand-in for a Java runtime's library, for tests and the demo: the two entry points, one machine with a small world
// of classes (classes.cpp), and a strict eye on its caller. A call on a wrong thread, with a pending exception or with
// a deleted reference, a reference left behind, a changed start record: each ends the process with code 97 and a line
// on the error output.
//
// Environment variables:
//     KIV_JAVA_FAULT       "args=-1", "create=-4", "getenv=-3", "attach=-1": what that step answers
//     KIV_JAVA_CLASSPATH   the class path of the defaults, which can be empty; they have none where it is not set

#include <cstdlib>
#include <cstring>
#include <string>

#include "java_runtime/environment.h"
#include "java_runtime/machine.h"

namespace {

kiv::Jdk11InitArgs g_defaults;
std::string g_classPath;  // of the defaults, then of the machine
bool g_created = false;

std::string Variable(const char* name) {
    char text[1024];
    const DWORD length = ::GetEnvironmentVariableA(name, text, sizeof text);
    return std::string(text, length < sizeof text ? length : 0);
}

// What a step answers; 0 unless a fault was asked for.
jint Answer(const char* step) {
    const std::string fault = Variable("KIV_JAVA_FAULT");
    const std::size_t equals = fault.find('=');
    return equals != std::string::npos && fault.substr(0, equals) == step ? std::atol(fault.c_str() + equals + 1) : 0;
}

jint __stdcall DestroyMachine(JavaVM*) {
    BreakRule("the machine is destroyed");
}

jint __stdcall AttachCurrentThread(JavaVM*, void** environment, void* arguments) {
    const jint answer = Answer("attach");
    if (answer < 0)
        return answer;
    const auto* const attach = static_cast<const kiv::JniAttachArguments*>(arguments);
    if (attach == nullptr || attach->version != kiv::kJniVersion12)
        BreakRule("a thread is attached for another version");
    JavaThread* const thread = CurrentThread();
    *environment = thread != nullptr ? &thread->environment : &AttachThread(EnvironmentTable()).environment;
    return answer;
}

jint __stdcall DetachCurrentThread(JavaVM*) {
    JavaThread* const thread = CurrentThread();
    if (thread == nullptr)
        return kiv::kJniDetached;
    DetachThread(*thread);
    return kiv::kJniOk;
}

jint __stdcall GetEnvironment(JavaVM*, void** environment, jint version) {
    const jint answer = version == kiv::kJniVersion12 ? Answer("getenv") : kiv::kJniVersionWrong;
    JavaThread* const thread = CurrentThread();
    *environment = answer == 0 && thread != nullptr ? &thread->environment : nullptr;
    return answer == 0 && thread == nullptr ? kiv::kJniDetached : answer;
}

const kiv::JniMachineTable g_table = {
    {reinterpret_cast<void*>(NotServed), reinterpret_cast<void*>(NotServed), reinterpret_cast<void*>(NotServed)},
    DestroyMachine,
    AttachCurrentThread,
    DetachCurrentThread,
    GetEnvironment};

JavaVM_ g_machine = {&g_table};

}  // namespace

extern "C" __declspec(dllexport) jint __stdcall JNI_GetDefaultJavaVMInitArgs(void* record) {
    kiv::Jdk11InitArgs expected;
    std::memset(&expected, 0, sizeof expected);
    expected.version = kiv::kJniVersion12;
    if (std::memcmp(record, &expected, sizeof expected) != 0)
        BreakRule("the start record holds more than its version");
    ::SetLastError(ERROR_SUCCESS);
    g_classPath = Variable("KIV_JAVA_CLASSPATH");
    const bool isSet = ::GetLastError() != ERROR_ENVVAR_NOT_FOUND;
    g_defaults = expected;
    g_defaults.nativeStackSize = 0x20000;
    g_defaults.maxHeapSize = 0x1000000;
    g_defaults.classpath = isSet ? g_classPath.data() : nullptr;
    std::memcpy(record, &g_defaults, sizeof g_defaults);
    return Answer("args");
}

extern "C" __declspec(dllexport) jint __stdcall JNI_CreateJavaVM(JavaVM** vm, void** environment, void* record) {
    constexpr jint kExists = -5;
    kiv::Jdk11InitArgs given;
    std::memcpy(&given, record, sizeof given);
    const std::string classPath = given.classpath;
    given.classpath = g_defaults.classpath;
    if (std::memcmp(&given, &g_defaults, sizeof given) != 0)
        BreakRule("the start record differs from the defaults in more than its class path");
    const jint answer = g_created ? kExists : Answer("create");
    if (answer < 0)
        return answer;
    g_created = true;
    g_classPath = classPath;
    *vm = &g_machine;
    *environment = &AttachThread(EnvironmentTable()).environment;
    return answer;
}

// What tests ask for.
extern "C" __declspec(dllexport) const char* StandInClassPath() {
    return g_classPath.c_str();
}

extern "C" __declspec(dllexport) unsigned StandInReferences() {
    return static_cast<unsigned>(CountReferences());
}

extern "C" __declspec(dllexport) unsigned StandInThreads() {
    return static_cast<unsigned>(CountThreads());
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_DETACH)
        EndMachine();
    return TRUE;
}
