#ifndef KIVCTL_LONG_WORK_H
#define KIVCTL_LONG_WORK_H

#include <cstdint>

namespace kivctl {

// Work of some seconds or more: says on the error output how far it is, every two seconds, and hears when the user
// wants it to end (Ctrl+C, Ctrl+Break; a second time ends the program at once). One at a time.
class LongWork {
public:
    LongWork(const char* verb, std::uint64_t totalBytes);  // "stored": "stored 120 of 600 MB"
    ~LongWork();
    LongWork(const LongWork&) = delete;
    LongWork& operator=(const LongWork&) = delete;

    // False when the work shall end.
    bool Advance(unsigned long bytes);

    static bool IsInterrupted();

private:
    const char* m_verb;
    std::uint64_t m_total;
    std::uint64_t m_done = 0;
    unsigned long m_lastTold;  // ticks
};

}  // namespace kivctl

#endif
