#include "install/server_choice.h"

#include <limits>
#include <vector>

#include "support/check.h"

namespace {

using kiv::kNoAverage;
using kiv::kNoServer;

struct Row {
    std::vector<std::uint32_t> averages;
    std::vector<bool> available;
    int index;
    unsigned changes;
};

}  // namespace

TEST_CASE("the fastest available server wins") {
    const Row rows[] = {
        {{50, 30}, {true, true}, 1, 2},
        {{10, 20}, {true, true}, 0, 1},
        {{20, 20, 20}, {true, true, true}, 0, 1},
        {{50, 30, 10}, {true, true, false}, 1, 2},
        {{50, 30, 10}, {false, false, true}, 2, 1},
        {{50, 60, 40, 45, 30}, {true, true, true, true, true}, 4, 3},
        {{kNoAverage, 7}, {true, true}, 1, 1},
        {{kNoAverage, kNoAverage}, {true, true}, kNoServer, 0},
        {{10, 20}, {false, false}, kNoServer, 0},
        {{0, 0}, {true, true}, 0, 1},
        {{}, {}, kNoServer, 0},
    };
    for (const Row& row : rows) {
        const kiv::FastestServer best = kiv::FindFastest(
            row.averages.size(), [&](std::size_t i) { return row.averages[i]; },
            [&](std::size_t i) { return row.available[i]; });
        CAPTURE(row.averages.size());
        CHECK(best.index == row.index);
        CHECK(best.changes == row.changes);
        CHECK(best.MayDraw() == (row.changes <= 1));
    }
}

TEST_CASE("a server is only looked at when its time is better") {
    const std::vector<std::uint32_t> averages = {30, 40, kNoAverage, 30, 20};
    std::vector<std::size_t> asked;
    kiv::FindFastest(
        averages.size(), [&](std::size_t i) { return averages[i]; },
        [&](std::size_t i) {
            asked.push_back(i);
            return true;
        });
    CHECK(asked == std::vector<std::size_t>{0, 4});
}

TEST_CASE("a random number reaches both ends and is truncated toward zero") {
    CHECK(kiv::ScaleRandom(5, 10, 0.0) == 5);
    CHECK(kiv::ScaleRandom(5, 10, 1.0) == 15);
    CHECK(kiv::ScaleRandom(5, 10, 254 / 255.0) == 14);
    CHECK(kiv::ScaleRandom(5, -10, 254 / 255.0) == -4);
    CHECK(kiv::ScaleRandom(-3, 0, 1.0) == -3);
    constexpr int kMost = std::numeric_limits<int>::max();
    CHECK(kiv::ScaleRandom(0, kMost, 1.0) == kMost);
    CHECK(kiv::ScaleRandom(kMost, 1, 1.0) == std::numeric_limits<int>::min());
}
