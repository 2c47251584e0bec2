#ifndef KIV_TESTS_SUPPORT_RESOURCE_COUNT_H
#define KIV_TESTS_SUPPORT_RESOURCE_COUNT_H

#include <cstddef>
#include <cstdint>
#include <iostream>

namespace kiv::test {

// What a piece of work can leave behind in this process. Two counts around it are equal when it leaves nothing; do the
// work once before the first, since what stays for the life of the process is made then.
struct ResourceCount {
    std::size_t heapBlocks;     // of the process heap, which is the C run-time's too
    std::uintptr_t nextHandle;  // values are given out from the lowest free one: a leak makes it rise
    std::size_t threads;

    bool operator==(const ResourceCount& other) const {
        return heapBlocks == other.heapBlocks && nextHandle == other.nextHandle && threads == other.threads;
    }
};

inline std::ostream& operator<<(std::ostream& stream, const ResourceCount& count) {
    return stream << count.heapBlocks << " blocks, next handle " << count.nextHandle << ", " << count.threads
                  << " threads";
}

ResourceCount CountResources();

// Whether a piece of work leaves nothing behind the second time that it is done; shows the counts where it does.
template <class Work>
bool LeavesNothing(const Work& work) {
    work();
    const ResourceCount before = CountResources();
    work();
    const ResourceCount after = CountResources();
    if (!(before == after))
        std::cerr << "before: " << before << "\nafter:  " << after << "\n";
    return before == after;
}

// Waits until the process has no more threads than that, for at most five seconds; a thread's end takes a moment
// longer than its last work. Returns whether it came to that.
bool WaitForThreads(std::size_t count);

}  // namespace kiv::test

#endif
