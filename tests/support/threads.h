#ifndef KIV_TESTS_SUPPORT_THREADS_H
#define KIV_TESTS_SUPPORT_THREADS_H

#include <functional>
#include <vector>

#include "support/scoped_resource.h"
#include "support/windows_api.h"

namespace kiv::test {

// Runs work on that many threads at once, to their ends. Returns on how many of them it was true.
inline int RunThreads(int count, const std::function<bool()>& work) {
    const auto run = [](void* argument)
                         WINAPI -> DWORD { return (*static_cast<const std::function<bool()>*>(argument))() ? 1 : 0; };
    std::vector<ScopedKernelObject> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(::CreateThread(nullptr, 0, run, const_cast<std::function<bool()>*>(&work), 0, nullptr));
    int succeeded = 0;
    for (const ScopedKernelObject& thread : threads) {
        DWORD answer = 0;
        ::WaitForSingleObject(thread.Get(), 60000);
        ::GetExitCodeThread(thread.Get(), &answer);
        succeeded += answer == 1 ? 1 : 0;
    }
    return succeeded;
}

}  // namespace kiv::test

#endif
