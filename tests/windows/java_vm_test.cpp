#include "support/windows_api.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "java/jni_tables.h"
#include "support/check.h"
#include "support/java_registrations.h"
#include "support/real_log.h"
#include "support/recording_log.h"
#include "support/redirected_key.h"
#include "support/run_program.h"
#include "support/threads.h"
#include "tavkivut/java.h"

using namespace kiv::test;

struct CKivJavaVMLayout {
    static constexpr std::size_t kPointer = sizeof(void*);
    static_assert(offsetof(CKivJavaVM, m_vm) == 0 && offsetof(CKivJavaVM, m_runtimeModule) == kPointer);
    static_assert(offsetof(CKivJavaVM, m_getDefaultInitArgs) == 2 * kPointer &&
                  offsetof(CKivJavaVM, m_createJavaVM) == 3 * kPointer &&
                  offsetof(CKivJavaVM, m_version) == 4 * kPointer &&
                  offsetof(CKivJavaVM, m_homePath) == 4 * kPointer + 260 &&
                  offsetof(CKivJavaVM, m_jniVersion) == 4 * kPointer + 520 &&
                  offsetof(CKivJavaVM, m_attachedThreads) > offsetof(CKivJavaVM, m_jniVersion) &&
                  offsetof(CKivJavaVM, m_lock) > offsetof(CKivJavaVM, m_attachedThreads));

    static void DetachBehindItsBack(const CKivJavaVM& host) { host.m_vm->functions->detachCurrentThread(host.m_vm); }
};

namespace {

using Lines = std::vector<std::string>;

// A host of its own, so that one process can make many one behind the other.
struct Host : CKivJavaVM {
    Host() {}
    using CKivJavaVM::AllocJNIName;
    using CKivJavaVM::AllocJNISignature;
    using CKivJavaVM::FreeJNIName;
    using CKivJavaVM::GetEnv;
    using CKivJavaVM::LoadJVM;
};

bool IsRuntimeLoaded() {
    return ::GetModuleHandleA("java_runtime.dll") != nullptr;
}

std::string ThreadText(DWORD id) {
    char text[40];
    std::snprintf(text, sizeof text, "0x%x (%i)", static_cast<unsigned>(id), static_cast<int>(id));
    return text;
}

// The lines of a successful start.
Lines StartLines(const std::string& version, const std::string& library, const std::string& classPath) {
    return {"1  JVM : found registration of runtime library version " + version,
            "1  JVM : successfully loaded runtime library '" + library + "'",
            "2  JVM : setting classpath to '" + classPath + "'",
            "1  JVM : successfully created instance of the virtual machine, main thread is " +
                ThreadText(::GetCurrentThreadId())};
}

struct Fixture {
    RedirectedKey machine{HKEY_LOCAL_MACHINE};
    JavaRegistrations runtimes{machine.Handle()};
    RecordingLog log;
};

}  // namespace

TEST_CASE_FIXTURE(Fixture,
                  "the runtime whose name compares greatest is chosen, the others are passed over with a reason") {
    const std::string longest = "3." + std::string(253, '0');
    const std::string library = runtimes.Library();
    SetText(runtimes.Key("1.1").Get(), "JavaHome", runtimes.Folder());
    runtimes.Add("1.10", runtimes.Folder() + "\\gone.dll", runtimes.Folder());
    runtimes.Add("1.2", "java_runtime.dll", runtimes.Folder());
    SetData(runtimes.Key("1.3").Get(), "RuntimeLib", REG_BINARY, library);
    runtimes.AddStandIn("1.4");
    runtimes.Add("1.6", runtimes.Folder(), runtimes.Folder());
    runtimes.Key("1.7");
    runtimes.AddStandIn("2.a");
    runtimes.Key("2.B");  // comes behind, but compares less: not looked at
    runtimes.AddStandIn(longest);
    const LockedSubkey locked(runtimes.Key().Get(), "1.7");
    char before[MAX_PATH];
    ::GetCurrentDirectoryA(sizeof before, before);
    ::SetCurrentDirectoryA(runtimes.Folder().c_str());  // holds the file that 1.2 names
    {
        const Host host;
        CHECK(host.IsAvailable() == 1);
        CHECK(host.GetVersion() == longest);
    }
    ::SetCurrentDirectoryA(before);

    const auto missing = [](const std::string& version, const std::string& path) {
        return "1W JVM : the virtual machine (" + version + ") is not properly installed, runtime library '" + path +
               "' is missing";
    };
    Lines expected = {"1W JVM : the registration of the virtual machine (1.1) is damaged",
                      missing("1.10", runtimes.Folder() + "\\gone.dll"),
                      missing("1.2", "java_runtime.dll"),
                      "1W JVM : the registration of the virtual machine (1.3) is damaged",
                      missing("1.6", runtimes.Folder()),
                      "1W JVM : failed to query registration of runtime library version 1.7"};
    for (const std::string& line : StartLines(longest, library, runtimes.Folder() + "\\lib"))
        expected.push_back(line);
    CHECK(log.Lines() == expected);
    CHECK_FALSE(IsRuntimeLoaded());
}

TEST_CASE_FIXTURE(Fixture, "a start that fails says at which step, and leaves a host without a machine") {
    // Registers 1.4 with these texts (null: without) and tries to start it. Gives the lines before the last.
    const auto linesOf = [this](const char* registered, const char* folder, const char* fault = nullptr) {
        DeleteKeyTree(machine.Handle(), "SOFTWARE");
        if (registered != nullptr)
            SetText(runtimes.Key("1.4").Get(), "RuntimeLib", registered);
        if (folder != nullptr)
            SetText(runtimes.Key("1.4").Get(), "JavaHome", folder);
        const ScopedVariable asked("KIV_JAVA_FAULT", fault);
        log.Clear();
        Host host;
        Lines lines = log.Lines();
        REQUIRE(!lines.empty());
        CHECK(lines.back() == "1E JVM : failed to load virtual machine");
        host.DetachCurrentThread();
        CHECK((host.IsAvailable() == 0 && Host(host).IsAvailable() == 0));
        CHECK((host.GetEnv() == nullptr && host.IsCurrentThreadAttached() == 0));
        CHECK(log.Lines() == lines);  // and nothing more
        CHECK_FALSE(IsRuntimeLoaded());
        lines.pop_back();
        return lines;
    };
    const ScopedVariable emptyClassPath("KIV_JAVA_CLASSPATH", "");
    const std::string library = runtimes.Library();
    const std::string empty = runtimes.Write("empty.dll", "no library");
    char without[MAX_PATH];
    ::GetFullPathNameA("version_wide.dll", sizeof without, without, nullptr);
    const char* const good = library.c_str();
    const char* const home = runtimes.Folder().c_str();
    const std::string found = "1  JVM : found registration of runtime library version 1.4";
    const std::string damaged = "1W JVM : the registration of the virtual machine (1.4) is damaged";
    const std::string loaded = "1  JVM : successfully loaded runtime library '" + library + "'";
    CHECK(linesOf(nullptr, nullptr) == Lines{"1W JVM : there is no virtual machine registered on this host"});
    CHECK(linesOf(nullptr, home) == Lines{damaged, "1W JVM : the list of registered virtual machines is empty"});
    CHECK(linesOf(good, nullptr) == Lines{found, damaged});
    CHECK(linesOf(good, std::string(260, 'h').c_str()) == Lines{found, damaged});
    CHECK(linesOf(empty.c_str(), home) ==
          Lines{found, "1E JVM : failed to load runtime library '" + empty + "' (193)"});
    CHECK(linesOf(without, home) ==
          Lines{found, "1  JVM : successfully loaded runtime library '" + std::string(without) + "'",
                "1E JVM : the runtime library '" + std::string(without) + "' is not valid (127)"});
    CHECK(linesOf(good, home, "args=-1") ==
          Lines{found, loaded, "1E JVM : the runtime library '" + library + "' does not support JNI"});
    CHECK(linesOf(good, home, "create=-4") ==
          Lines{found, loaded, "2  JVM : setting classpath to '" + runtimes.Folder() + "\\lib'",
                "1E JVM : failed to create instance of the virtual machine, Error code 0xfffffffc (-4)"});
}

TEST_CASE_FIXTURE(Fixture, "a machine gets the class path, serves copies, and ends with the last of them") {
    runtimes.Add("1.4", runtimes.Library(), runtimes.Folder() + "\\");
    const ScopedVariable classPath("KIV_JAVA_CLASSPATH", "C:\\classes.zip");
    const ScopedVariable positive("KIV_JAVA_FAULT", "create=1");
    CHECK(CKivJavaVM::IsInstanceRunning() == 0);
    {
        auto first = std::make_unique<Host>();
        CHECK(CKivJavaVM::IsInstanceRunning() == 1);
        CHECK(first->GetHomePath() == runtimes.Folder());
        CHECK(first->IsCurrentThreadAttached() == 1);
        const std::string expected = "C:\\classes.zip;" + runtimes.Folder() + "\\lib";
        CHECK(log.Lines() == StartLines("1.4", runtimes.Library(), expected));
        CHECK(AskStandIn<const char*>("StandInClassPath") == expected);
        log.Clear();
        CHECK(first->LoadJVM() == 1);  // there is a machine already

        Host copy(*first);
        Host& self = copy;
        copy = self;
        copy.DetachCurrentThread();  // nothing: the other attached the thread
        CHECK(AskStandIn<unsigned>("StandInThreads") == 1);
        first.reset();
        CHECK(copy.IsAvailable() == 1);
        CHECK(copy.GetVersion() == std::string("1.4"));
        CHECK(copy.IsCurrentThreadAttached() == 0);
        JNIEnv* const env = copy.GetEnv();
        REQUIRE(env != nullptr);
        CHECK(copy.IsCurrentThreadAttached() == 1);
        CHECK(env->functions->getVersion(env) == kiv::kJniVersion12);
        copy.DetachCurrentThread();
        CHECK(AskStandIn<unsigned>("StandInThreads") == 0);
    }
    CHECK(log.Lines() == Lines{});
    CHECK(CKivJavaVM::IsInstanceRunning() == 0);
    CHECK_FALSE(IsRuntimeLoaded());
}

TEST_CASE_FIXTURE(Fixture, "a thread is attached once, and named once at the end unless it was detached") {
    constexpr unsigned kCount = 40;
    runtimes.AddStandIn("1.4");
    Lines expected;
    {
        Host host;
        log.Clear();
        for (unsigned i = 0; i < kCount; ++i) {
            DWORD id = 0;
            const auto attach = [&] {
                id = ::GetCurrentThreadId();
                host.GetEnv();
                CKivJavaVMLayout::DetachBehindItsBack(host);
                return host.GetEnv() == host.GetEnv() && host.GetEnv() != nullptr;
            };
            CHECK(RunThreads(1, attach) == 1);
            // The id of a thread that ended may be given out again.
            const std::string line =
                "1W JVM : the thread " + ThreadText(id) + " has not been detached from the virtual machine";
            if (std::find(expected.begin(), expected.end(), line) == expected.end())
                expected.push_back(line);
        }
        CHECK(AskStandIn<unsigned>("StandInThreads") == kCount + 1);
        CHECK(log.Lines() == Lines{});
    }
    CHECK(log.Lines() == expected);
}

TEST_CASE_FIXTURE(Fixture, "an environment that cannot be had is null, with the runtime's answer in the log") {
    runtimes.AddStandIn("1.4");
    Host host;
    const struct {
        const char* fault;
        const char* line;
    } rows[] = {
        {"getenv=-3", "1E JVM : the installed runtime library does not support JNI"},
        {"getenv=-1", "1E JVM : failed to retrieve thread environment, Error code 0xffffffff (-1)"},
        {"attach=-6", "1E JVM : failed to attach thread to virtual machine, Error code 0xfffffffa (-6)"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.fault);
        const ScopedVariable fault("KIV_JAVA_FAULT", row.fault);
        log.Clear();
        CHECK(RunThreads(1, [&] { return host.GetEnv() == nullptr && host.IsCurrentThreadAttached() == 0; }) == 1);
        CHECK(log.Lines() == Lines{row.line});
    }
}

TEST_CASE("names and signatures come in blocks of the library") {
    char* const blocks[] = {Host::AllocJNIName("java.lang.String"), Host::AllocJNISignature("int", "a.B,byte[]"),
                            Host::AllocJNISignature(nullptr, nullptr), Host::AllocJNISignature(nullptr)};
    CHECK(Lines(std::begin(blocks), std::end(blocks)) == Lines{"java/lang/String", "(La/B;[B)I", "()V", "V"});
    std::for_each(std::begin(blocks), std::end(blocks), Host::FreeJNIName);
    CHECK(Host::AllocJNIName(nullptr) == nullptr);
}

namespace {

// A process that hosts the one machine (java_child.cpp), beside the libraries as they are shipped.
struct HostProcess {
    HostProcess() { runtimes.AddStandIn("1.4"); }

    ProgramResult Run(const std::string& mode) const {
        const ScopedVariable localMachine("KIV_LOCAL_MACHINE", machine.Path().c_str() + sizeof "HKCU");
        const ScopedVariable file("TAVKIVLG_FILE", logFile.c_str());
        const ScopedVariable level("TAVKIVLG_LEVEL", "1");
        return RunProgram("real_log\\java_child.exe " + mode);
    }

    // The log from the word behind the component on.
    Lines LoggedLines() const {
        Lines lines;
        const std::string bytes = ReadFileBytes(logFile);
        const std::string component = " TavKivUt ";
        for (std::size_t at = bytes.find(component); at != std::string::npos; at = bytes.find(component, at)) {
            at += component.size();
            lines.push_back(bytes.substr(at, bytes.find_first_of("\r\n", at) - at));
        }
        return lines;
    }

    ScratchKey machine;
    JavaRegistrations runtimes{machine.Handle()};
    const std::string logFile = runtimes.Folder() + "\\jvm.log";
};

}  // namespace

TEST_CASE("the end of a process names the threads that stayed attached and touches nothing else") {
    const HostProcess process;
    const ProgramResult result = process.Run("exit");
    CHECK(result.exitCode == 0);
    const Lines lines = process.LoggedLines();
    REQUIRE(lines.size() == 4);
    CHECK(lines[1] == "1- JVM : successfully loaded runtime library '" + process.runtimes.Library() + "'");
    CHECK(lines[3] + "\n" == "1W JVM : the thread " + result.output.substr(0, result.output.find('\n')) +
                                 " has not been detached from the virtual machine\n");
}

TEST_CASE("without a runtime objects are empty, and only the failed start is logged") {
    const HostProcess process;
    DeleteKeyTree(process.runtimes.Key().Get(), "1.4");
    CHECK(process.Run("objects").exitCode == 0);
    CHECK(process.LoggedLines() == Lines{"1W JVM : the list of registered virtual machines is empty",
                                         "1E JVM : failed to load virtual machine"});
}

TEST_CASE("an unload of the library unloads the runtime; the stand-in ends a process that breaks a rule") {
    const struct {
        const char* mode;
        unsigned long exitCode;
        const char* output;
    } rows[] = {
        {"unload", 0, ""},
        {"leak", 97, "java runtime: 1 local references are left at the end\n"},
        {"deleted", 97, "java runtime: a reference that was deleted, or never was one, is used\n"},
        {"pending", 97, "java runtime: a call with a pending exception\n"},
        {"otherthread", 97, "java runtime: an environment is used on another thread\n"},
        {"detach", 97, "java runtime: a local reference is left when its thread is detached\n"},
        {"unserved", 97, "java runtime: a function is called that this runtime does not have\n"},
    };
    const HostProcess process;
    for (const auto& row : rows) {
        CAPTURE(row.mode);
        const ProgramResult result = process.Run(row.mode);
        CHECK(result.exitCode == row.exitCode);
        CHECK(result.output == row.output);
    }
}
