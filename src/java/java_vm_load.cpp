// How CKivJavaVM comes to its machine: the choice of a runtime, its library, the start. Each step that fails says so in
// the log and ends the attempt.

#include "support/windows_api.h"

#include <cstring>
#include <string>

#include "java/java_registrations.h"
#include "java/jni_tables.h"
#include "support/characters.h"
#include "support/code_page.h"
#include "support/dynamic_function.h"
#include "support/heap_text.h"
#include "support/log.h"
#include "tavkivut/java.h"

using kiv::kLogError;
using kiv::kLogInfo;
using kiv::kLogMain;
using kiv::kLogWarning;

namespace {

constexpr unsigned kLogStep = 2;

// While it lives a library that cannot be loaded is an error code and no message box. The mode is the process's.
class QuietErrorMode {
public:
    QuietErrorMode() noexcept : m_mode(::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX)) {}
    ~QuietErrorMode() { ::SetErrorMode(m_mode); }
    QuietErrorMode(const QuietErrorMode&) = delete;
    QuietErrorMode& operator=(const QuietErrorMode&) = delete;

private:
    UINT m_mode;
};

void LogDamaged(const std::string& version) {
    KIV_LOG(kLogMain, kLogWarning, "JVM : the registration of the virtual machine (%s) is damaged", version.c_str());
}

// Says why a registration was passed over, unless there was simply a greater one.
void LogPassedOver(const kiv::JavaRegistration& registration) {
    const char* const version = registration.version.c_str();
    switch (registration.verdict) {
    case kiv::JavaVerdict::kUnreadable:
        KIV_LOG(kLogMain, kLogWarning, "JVM : failed to query registration of runtime library version %s", version);
        break;
    case kiv::JavaVerdict::kDamaged:
        LogDamaged(registration.version);
        break;
    case kiv::JavaVerdict::kMissing:
        KIV_LOG(kLogMain, kLogWarning,
                "JVM : the virtual machine (%s) is not properly installed, runtime library '%s' is missing", version,
                registration.library.c_str());
        break;
    case kiv::JavaVerdict::kChosen:
    case kiv::JavaVerdict::kOvertaken:
    case kiv::JavaVerdict::kNotGreater:
        break;
    }
}

// The version of the runtime to use; empty when there is none.
std::string ChooseVersion() {
    const std::optional<std::vector<kiv::JavaRegistration>> all = kiv::ExamineJavaRegistrations();
    if (!all) {
        KIV_LOG(kLogMain, kLogWarning, "JVM : there is no virtual machine registered on this host");
        return {};
    }
    std::string chosen;
    for (const kiv::JavaRegistration& registration : *all) {
        LogPassedOver(registration);
        if (registration.verdict == kiv::JavaVerdict::kChosen)
            chosen = registration.version;
    }
    if (chosen.empty())
        KIV_LOG(kLogMain, kLogWarning, "JVM : the list of registered virtual machines is empty");
    return chosen;
}

// A home of more characters than the limit counts as damaged.
bool Locate(const std::string& version, std::size_t homeLimit, kiv::JavaLocation& location) {
    KIV_LOG(kLogMain, kLogInfo, "JVM : found registration of runtime library version %s", version.c_str());
    const kiv::JavaLocationAnswer answer = kiv::ReadJavaLocation(version, location);
    if (answer == kiv::JavaLocationAnswer::kUnreadable)
        KIV_LOG(kLogMain, kLogWarning, "JVM : failed to query location of version %s", version.c_str());
    else if (answer == kiv::JavaLocationAnswer::kDamaged || location.home.size() > homeLimit)
        LogDamaged(version);
    else
        return true;
    return false;
}

}  // namespace

int CKivJavaVM::LoadJVM() noexcept {
    if (IsAvailable())
        return 1;
    const QuietErrorMode quiet;
    Unload();  // what an earlier attempt left
    const std::string version = ChooseVersion();
    kiv::CopyText(m_version, sizeof m_version, version.c_str());
    kiv::JavaLocation location;
    if (version.empty() || !Locate(version, sizeof m_homePath - 1, location))
        return 0;
    location.home = kiv::WithoutTrailingBackslash(location.home, kiv::IsAnsiLeadByte);
    kiv::CopyText(m_homePath, sizeof m_homePath, location.home.c_str());
    return LoadRuntime(location.library.c_str()) && CreateMachine(location.library.c_str()) ? 1 : 0;
}

// Modules that the library needs are looked for beside it, where a runtime has its own.
bool CKivJavaVM::LoadRuntime(const char* library) noexcept {
    m_runtimeModule = ::LoadLibraryExA(library, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (m_runtimeModule == nullptr) {
        const DWORD error = ::GetLastError();
        KIV_LOG_WIN32(error, kLogError, "JVM : failed to load runtime library '%s'", library);
        return false;
    }
    KIV_LOG(kLogMain, kLogInfo, "JVM : successfully loaded runtime library '%s'", library);
    kiv::FindFunction(m_runtimeModule, "JNI_GetDefaultJavaVMInitArgs", m_getDefaultInitArgs);
    if (m_getDefaultInitArgs != nullptr)
        kiv::FindFunction(m_runtimeModule, "JNI_CreateJavaVM", m_createJavaVM);
    const DWORD error = ::GetLastError();
    if (m_createJavaVM == nullptr)
        KIV_LOG_WIN32(error, kLogError, "JVM : the runtime library '%s' is not valid", library);
    return m_createJavaVM != nullptr;
}

// The start record is all zero but for the version, also between its fields: newer runtimes take it for their own
// record, which begins with the version and a number of options.
bool CKivJavaVM::CreateMachine(const char* library) noexcept {
    kiv::Jdk11InitArgs record;
    std::memset(&record, 0, sizeof record);
    record.version = kiv::kJniVersion12;
    if (m_getDefaultInitArgs(&record) < kiv::kJniOk) {
        KIV_LOG(kLogMain, kLogError, "JVM : the runtime library '%s' does not support JNI", library);
        return false;
    }
    std::string classPath;
    if (record.classpath != nullptr && record.classpath[0] != '\0')
        classPath = std::string(record.classpath) + ';';
    classPath += std::string(m_homePath) + "\\lib";
    record.classpath = classPath.data();
    KIV_LOG(kLogStep, kLogInfo, "JVM : setting classpath to '%s'", classPath.c_str());

    JavaVM* vm = nullptr;
    void* environment = nullptr;
    const jint result = m_createJavaVM(&vm, &environment, &record);
    if (result < kiv::kJniOk || vm == nullptr) {
        KIV_LOG(kLogMain, kLogError, "JVM : failed to create instance of the virtual machine, Error code 0x%x (%i)",
                static_cast<unsigned>(result), static_cast<int>(result));
        return false;
    }
    const DWORD thread = ::GetCurrentThreadId();
    m_vm = vm;
    m_jniVersion = kiv::kJniVersion12;
    AddThread(thread);
    KIV_LOG(kLogMain, kLogInfo, "JVM : successfully created instance of the virtual machine, main thread is 0x%x (%i)",
            static_cast<unsigned>(thread), static_cast<int>(thread));
    return true;
}
