#ifndef KIV_BENCHMARKS_BENCH_H
#define KIV_BENCHMARKS_BENCH_H

// What every benchmark program shares: the clock, and the one form of a row.

#include <algorithm>
#include <cstdio>
#include <limits>

#if defined(_WIN32)
#include "support/windows_api.h"
#else
#include <chrono>
#endif

namespace kiv::bench {

// Milliseconds since some fixed moment.
inline double Now() {
#if defined(_WIN32)
    LARGE_INTEGER ticks;
    LARGE_INTEGER perSecond;
    ::QueryPerformanceCounter(&ticks);
    ::QueryPerformanceFrequency(&perSecond);
    return 1000.0 * static_cast<double>(ticks.QuadPart) / static_cast<double>(perSecond.QuadPart);
#else
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
#endif
}

// How long one call of `work` takes, in milliseconds.
template <class Work>
double Time(const Work& work) {
    const double start = Now();
    work();
    return Now() - start;
}

// One row: what we need, what the peer needs for the same work in the same run, the ratio, and the goal for the ratio.
struct Row {
    const char* work;
    double ours;
    double peer;
    double goal;  // the highest ratio that is good enough; 0: the row has no goal of its own
};

inline void Print(const Row& row) {
    const double ratio = row.ours / row.peer;
    std::printf("%-60s %10.2f ms %10.2f ms %8.2f", row.work, row.ours, row.peer, ratio);
    if (row.goal > 0)
        std::printf("  goal %.2f %s", row.goal, ratio <= row.goal ? "met" : "MISSED");
    std::printf("\n");
    std::fflush(stdout);
}

// Measures both sides alternately, `rounds` times, and prints the best time of each: what the machine does beside
// slows both down alike and never makes one faster.
template <class Ours, class Peer>
void Compare(const char* work, double goal, int rounds, const Ours& ours, const Peer& peer) {
    Row row{work, std::numeric_limits<double>::max(), std::numeric_limits<double>::max(), goal};
    for (int i = 0; i < rounds; ++i) {
        row.ours = std::min(row.ours, Time(ours));
        row.peer = std::min(row.peer, Time(peer));
    }
    Print(row);
}

}  // namespace kiv::bench

#endif
