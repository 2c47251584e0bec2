#include "tavkivut/frame.h"

#include <cstddef>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/windows_api.h"

struct CriticalSectionMethodHelperLayout {
    static_assert(offsetof(CCriticalSection_MethodHelper, m_section) == 0);
    static_assert(offsetof(CCriticalSection_MethodHelper, m_entered) == sizeof(void*));
};
struct CKivMultiThreadModelLayout {
    static_assert(sizeof(CKivMultiThreadModel) == sizeof(CRITICAL_SECTION));
};

namespace {

bool IsFree(const CRITICAL_SECTION& section) {
    return section.OwningThread == nullptr;
}

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

TEST_CASE("an empty command line gives null and leaves the count alone") {
    int argc = -1;
    CHECK((CommandLineToArgv(nullptr, &argc) == nullptr && CommandLineToArgv("", &argc) == nullptr && argc == -1));
    CHECK(CommandLineToArgv("x", nullptr) == nullptr);
    ReleaseArgs(nullptr);
}

TEST_CASE(
    "the multi-thread model locks, the single-thread model does not; the guard enters once and leaves at its end") {
    CKivMultiThreadModel model;
    auto& section = reinterpret_cast<CRITICAL_SECTION&>(model);
    model.Lock();
    CHECK_FALSE(IsFree(section));
    model.Unlock();
    CKivSingleThreadModel single;
    single.Lock();
    single.Unlock();
    CKivSingleThreadModel() = single;
    {
        CCriticalSection_MethodHelper guard(section, false);
        CHECK(IsFree(section));
        guard.Enter();
        guard.Enter();
        CHECK_FALSE(IsFree(section));
    }
    CHECK(IsFree(section));
    model.Lock();
    { const CCriticalSection_MethodHelper guard(&section, true); }  // leaves what its owner entered
    CHECK(IsFree(section));
    {
        CCriticalSection_MethodHelper guard(section, false);
        guard.Enter();
        guard.Leave();
        guard.Enter();  // the flag is still set: nothing
        CHECK(IsFree(section));
        model.Lock();  // which the guard leaves at its end
    }
    CHECK(IsFree(section));
}
