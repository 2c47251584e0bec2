#include "support/resource_count.h"

#include "support/windows_api.h"

#include <tlhelp32.h>

namespace kiv::test {
namespace {

std::size_t CountHeapBlocks() {
    const HANDLE heap = ::GetProcessHeap();
    std::size_t count = 0;
    ::HeapLock(heap);
    PROCESS_HEAP_ENTRY entry{};
    while (::HeapWalk(heap, &entry))
        count += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? 1 : 0;
    ::HeapUnlock(heap);
    return count;
}

std::uintptr_t NextHandle() {
    const HANDLE handle = ::CreateEventA(nullptr, FALSE, FALSE, nullptr);
    ::CloseHandle(handle);
    return reinterpret_cast<std::uintptr_t>(handle);
}

std::size_t CountThreads() {
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    std::size_t count = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = ::Thread32First(snapshot, &entry); more; more = ::Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    ::CloseHandle(snapshot);
    return count;
}

}  // namespace

ResourceCount CountResources() {
    return {CountHeapBlocks(), NextHandle(), CountThreads()};
}

bool WaitForThreads(std::size_t count) {
    for (int attempt = 0; attempt < 1000; ++attempt) {
        if (CountThreads() <= count)
            return true;
        ::Sleep(5);
    }
    return false;
}

}  // namespace kiv::test
