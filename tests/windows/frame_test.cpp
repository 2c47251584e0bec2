#include "tavkivut/frame.h"

#include <cstddef>
#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/windows_api.h"
#include "tavkivlg/recording.h"

struct CriticalSectionMethodHelperLayout {
    static_assert(offsetof(CCriticalSection_MethodHelper, m_section) == 0);
    static_assert(offsetof(CCriticalSection_MethodHelper, m_entered) == sizeof(void*));
};
struct CKivMultiThreadModelLayout {
    static_assert(sizeof(CKivMultiThreadModel) == sizeof(CRITICAL_SECTION));
};

namespace {

// Whether another thread can take the section right now.
bool IsFree(CRITICAL_SECTION& section) {
    struct Attempt {
        static DWORD WINAPI Run(LPVOID argument) {
            auto* wanted = static_cast<CRITICAL_SECTION*>(argument);
            if (!::TryEnterCriticalSection(wanted))
                return 0;
            ::LeaveCriticalSection(wanted);
            return 1;
        }
    };
    const HANDLE thread = ::CreateThread(nullptr, 0, Attempt::Run, &section, 0, nullptr);
    REQUIRE(thread != nullptr);
    ::WaitForSingleObject(thread, INFINITE);
    DWORD taken = 0;
    ::GetExitCodeThread(thread, &taken);
    ::CloseHandle(thread);
    return taken != 0;
}

class Section {
public:
    Section() { ::InitializeCriticalSection(&m_section); }
    ~Section() { ::DeleteCriticalSection(&m_section); }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;
    CRITICAL_SECTION& Get() { return m_section; }

private:
    CRITICAL_SECTION m_section;
};

}  // namespace

// First, before any other test clears the record.
TEST_CASE("loading the library writes one line of detail") {
    bool found = false;
    for (unsigned i = 0; i < KivRecordingCount(); ++i) {
        KivRecordedLine line;
        REQUIRE(KivRecordingLine(i, &line) == 1);
        if (std::string(line.text) == "Utilities Library initialized (ANSI Release build)") {
            found = true;
            CHECK(line.level == 3);
            CHECK(line.kind == ' ');
            CHECK(std::string(line.component) == "TavKivUt");
        }
    }
    CHECK(found);
}

TEST_CASE("unloading the library writes one line of detail") {
    // A second copy under another name is loaded and unloaded; the first stays for the other tests.
    REQUIRE(::CopyFileA("tavkivut.dll", "tavkivut_unload.dll", FALSE));
    kiv::test::RecordingLog log;
    const HMODULE copy = ::LoadLibraryA("tavkivut_unload.dll");
    REQUIRE(copy != nullptr);
    ::FreeLibrary(copy);
    ::DeleteFileA("tavkivut_unload.dll");
    CHECK(log.Lines() == std::vector<std::string>{"3  Utilities Library initialized (ANSI Release build)",
                                                  "3  Utilities Library shutdown"});
}

TEST_CASE("a command line is split into one block") {
    int argc = -1;
    char** argv = CommandLineToArgv("setup \"/product:a b\"  /x", &argc);
    REQUIRE(argv != nullptr);
    REQUIRE(argc == 4);
    CHECK(std::string(argv[0]) == "setup");
    CHECK(std::string(argv[1]) == "\"/product:a b\"");
    CHECK(std::string(argv[2]).empty());
    CHECK(std::string(argv[3]) == "/x");
    ReleaseArgs(argv);
}

TEST_CASE("an empty command line gives null and leaves the count alone") {
    int argc = 17;
    CHECK(CommandLineToArgv(nullptr, &argc) == nullptr);
    CHECK(CommandLineToArgv("", &argc) == nullptr);
    CHECK(CommandLineToArgv("x", nullptr) == nullptr);
    CHECK(argc == 17);
    ReleaseArgs(nullptr);
}

TEST_CASE("the guard enters once and leaves at its end") {
    Section section;
    {
        CCriticalSection_MethodHelper guard(section.Get(), false);
        CHECK(IsFree(section.Get()));
        guard.Enter();
        guard.Enter();
        CHECK_FALSE(IsFree(section.Get()));
    }
    CHECK(IsFree(section.Get()));
}

TEST_CASE("a guard made as entered leaves what its owner entered") {
    Section section;
    ::EnterCriticalSection(&section.Get());
    { CCriticalSection_MethodHelper guard(&section.Get(), true); }
    CHECK(IsFree(section.Get()));
}

TEST_CASE("leaving keeps the flag, so the guard leaves a second time at its end") {
    Section section;
    {
        CCriticalSection_MethodHelper guard(section.Get(), false);
        guard.Enter();
        guard.Leave();
        CHECK(IsFree(section.Get()));
        guard.Enter();  // the flag is still set: nothing
        CHECK(IsFree(section.Get()));
        ::EnterCriticalSection(&section.Get());
    }
    CHECK(IsFree(section.Get()));
}

TEST_CASE("the multi-thread model locks, the single-thread model does not") {
    CKivMultiThreadModel model;
    model.Lock();
    model.Lock();
    model.Unlock();
    auto& section = reinterpret_cast<CRITICAL_SECTION&>(model);
    CHECK_FALSE(IsFree(section));
    model.Unlock();
    CHECK(IsFree(section));

    CKivSingleThreadModel single;
    single.Lock();
    single.Lock();
    single.Unlock();
    CKivSingleThreadModel other;
    other = single;
}
