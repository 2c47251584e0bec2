#ifndef KIV_FUZZ_REQUIRE_H
#define KIV_FUZZ_REQUIRE_H

// What every driver needs.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

// A finding ends the driver.
inline void Require(bool condition) {
    if (!condition)
        std::abort();
}

inline bool LiesIn(std::string_view part, std::string_view whole) {
    return part.empty() || (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

#endif
