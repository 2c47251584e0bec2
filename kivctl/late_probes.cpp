#include "kivctl/late_probes.h"

#include <iostream>

#include "support/dynamic_function.h"
#include "support/scoped_resource.h"

#include <tlhelp32.h>

namespace kivctl {
namespace {

constexpr int kAttempts = 300;
constexpr DWORD kPause = 10;

// Windows NT 4 has none of them.
struct ThreadListApi {
    decltype(&::CreateToolhelp32Snapshot) snapshot;
    decltype(&::Thread32First) first;
    decltype(&::Thread32Next) next;

    void Load() noexcept {
        const HMODULE kernel = kiv::LoadSystemModule("kernel32.dll");
        kiv::FindFunction(kernel, "CreateToolhelp32Snapshot", snapshot);
        kiv::FindFunction(kernel, "Thread32First", first);
        kiv::FindFunction(kernel, "Thread32Next", next);
    }
};

bool HasOtherThreads(const ThreadListApi& api) {
    const kiv::ScopedFile list(api.snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = api.first(list.Get(), &entry); more; more = api.next(list.Get(), &entry)) {
        if (entry.th32OwnerProcessID == ::GetCurrentProcessId() && entry.th32ThreadID != ::GetCurrentThreadId())
            return true;
    }
    return false;
}

}  // namespace

LateProbes::~LateProbes() {
    std::cout.flush();
    const ThreadListApi& api = kiv::DynamicApi<ThreadListApi>::Get();
    if (api.snapshot == nullptr || api.first == nullptr || api.next == nullptr)
        return;
    for (int i = 0; i < kAttempts && HasOtherThreads(api); ++i)
        ::Sleep(kPause);
}

}  // namespace kivctl
