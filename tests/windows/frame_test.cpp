#include "tavkivut/frame.h"

#include <cstddef>
#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/scoped_resource.h"
#include "support/windows_api.h"

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
    const auto attempt = [](LPVOID wanted) WINAPI -> DWORD {
        const BOOL taken = ::TryEnterCriticalSection(static_cast<CRITICAL_SECTION*>(wanted));
        if (taken)
            ::LeaveCriticalSection(static_cast<CRITICAL_SECTION*>(wanted));
        return static_cast<DWORD>(taken);
    };
    const kiv::ScopedKernelObject thread(::CreateThread(nullptr, 0, attempt, &section, 0, nullptr));
    DWORD taken = 0;
    REQUIRE(::WaitForSingleObject(thread.Get(), INFINITE) == WAIT_OBJECT_0);
    ::GetExitCodeThread(thread.Get(), &taken);
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
TEST_CASE("loading and unloading the library writes one line of detail each") {
    using Lines = std::vector<std::string>;
    const std::string loaded = "3  Utilities Library initialized (ANSI Release build)";
    CHECK(kiv::test::RecordedLines() == Lines{loaded});
    // A second copy under another name is loaded and unloaded; the first stays for the other tests.
    REQUIRE(::CopyFileA("tavkivut.dll", "tavkivut_unload.dll", FALSE));
    const kiv::test::RecordingLog log;
    const HMODULE copy = ::LoadLibraryA("tavkivut_unload.dll");
    REQUIRE(copy != nullptr);
    ::FreeLibrary(copy);
    ::DeleteFileA("tavkivut_unload.dll");
    CHECK(log.Lines() == Lines{loaded, "3  Utilities Library shutdown"});
}

TEST_CASE("a command line is split into one block; an empty one gives null and leaves the count alone") {
    int argc = -1;
    char** argv = CommandLineToArgv("setup \"/product:a b\"", &argc);
    REQUIRE((argv != nullptr && argc == 2));
    CHECK((argv[0] == std::string("setup") && argv[1] == std::string("\"/product:a b\"")));
    ReleaseArgs(argv);
    CHECK((CommandLineToArgv(nullptr, &argc) == nullptr && CommandLineToArgv("", &argc) == nullptr));
    CHECK((CommandLineToArgv("x", nullptr) == nullptr && argc == 2));
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
    ::EnterCriticalSection(&section.Get());
    { CCriticalSection_MethodHelper guard(&section.Get(), true); }  // leaves what its owner entered
    CHECK(IsFree(section.Get()));
    {
        CCriticalSection_MethodHelper guard(section.Get(), false);
        guard.Enter();
        guard.Leave();
        guard.Enter();  // the flag is still set: nothing
        CHECK(IsFree(section.Get()));
        ::EnterCriticalSection(&section.Get());  // which the guard leaves at its end
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
    single.Unlock();
    CKivSingleThreadModel other;
    other = single;
}
