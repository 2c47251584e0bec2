#ifndef KIV_INSTALL_SERVER_CHOICE_H
#define KIV_INSTALL_SERVER_CHOICE_H

#include <cstddef>
#include <cstdint>

namespace kiv {

constexpr std::uint32_t kNoAverage = 0xFFFFFFFF;  // no complete answer came
constexpr int kNoServer = -1;

// The best of the measured servers, and how it was found.
struct FastestServer {
    int index = kNoServer;
    unsigned changes = 0;  // how often a better candidate took the place; the first one counts

    // Whether a draw among all servers may replace the best. It spreads the load where the first candidate would
    // otherwise always win; a server that had to beat another one is kept.
    bool MayDraw() const noexcept { return changes <= 1; }
};

// The available server with the strictly smallest average, the earlier one among equals. `average(i)` gives the time
// of server i; `isAvailable(i)` looks at the server itself, so it is asked only where the time is better.
//
//     averages 50, 30      index 1, two changes: kept             10, 20      index 0, one change: a draw follows
template <class Average, class IsAvailable>
FastestServer FindFastest(std::size_t count, const Average& average, const IsAvailable& isAvailable) {
    FastestServer best;
    std::uint32_t bound = kNoAverage;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t time = average(i);
        if (time >= bound || !isAvailable(i))
            continue;
        bound = time;
        best.index = static_cast<int>(i);
        ++best.changes;
    }
    return best;
}

// low + fraction * span, truncated toward zero; the fraction lies in 0 to 1, so both ends can occur. The sum wraps.
inline int ScaleRandom(int low, int span, double fraction) noexcept {
    const int part = static_cast<int>(span * fraction);
    return static_cast<int>(static_cast<unsigned>(low) + static_cast<unsigned>(part));
}

}  // namespace kiv

#endif
