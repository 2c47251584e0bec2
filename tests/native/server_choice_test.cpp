#include "install/server_choice.h"

#include <limits>
#include <vector>

#include "support/check.h"

using kiv::kNoAverage;
using kiv::kNoServer;

TEST_CASE("the fastest available server wins; only one with a better time is looked at") {
    const struct {
        std::vector<std::uint32_t> averages;
        std::vector<bool> available;
        int index;
        unsigned changes;
        std::vector<std::size_t> looked;
    } rows[] = {
        {{50, 30}, {true, true}, 1, 2, {0, 1}},
        {{20, 30, kNoAverage, 20}, {true, true, true, true}, 0, 1, {0}},
        {{50, 30, 10}, {true, true, false}, 1, 2, {0, 1, 2}},
        {{50, 60, 40, 45, 30}, {true, true, true, true, true}, 4, 3, {0, 2, 4}},
        {{kNoAverage, 7}, {true, true}, 1, 1, {1}},
        {{kNoAverage, 10}, {true, false}, kNoServer, 0, {1}},
        {{0, 0}, {true, true}, 0, 1, {0}},
        {{}, {}, kNoServer, 0, {}},
    };
    for (const auto& row : rows) {
        std::vector<std::size_t> looked;
        const auto isAvailable = [&](std::size_t i) { return looked.push_back(i), row.available[i]; };
        const kiv::FastestServer best = kiv::FindFastest(
            row.averages.size(), [&](std::size_t i) { return row.averages[i]; }, isAvailable);
        CAPTURE(row.averages.size());
        CHECK((best.index == row.index && best.changes == row.changes));
        CHECK(best.MayDraw() == (row.changes <= 1));
        CHECK(looked == row.looked);
    }
}

TEST_CASE("a random number reaches both ends and is truncated toward zero") {
    constexpr int kMost = std::numeric_limits<int>::max();
    CHECK((kiv::ScaleRandom(5, 10, 0.0) == 5 && kiv::ScaleRandom(5, 10, 1.0) == 15));
    CHECK((kiv::ScaleRandom(5, 10, 254 / 255.0) == 14 && kiv::ScaleRandom(5, -10, 254 / 255.0) == -4));
    CHECK(kiv::ScaleRandom(0, kMost, 1.0) == kMost);
    CHECK(kiv::ScaleRandom(kMost, 1, 1.0) == std::numeric_limits<int>::min());
}
