#include "support/guarded_call.h"

#include "support/check.h"
#include "support/windows_api.h"

namespace {

void Count(void* argument) {
    ++*static_cast<volatile int*>(argument);
}

void WriteNowhere(void* argument) {
    Count(argument);
    volatile ULONG_PTR nowhere = 1;
    *reinterpret_cast<volatile int*>(nowhere) = 0;
    Count(argument);
}

// The fault is raised below the system's own frames, after a guard within the guard.
void GuardInside(void* argument) {
    CHECK(KivGuardedCall(WriteNowhere, argument) == 0);
    ::RaiseException(EXCEPTION_IN_PAGE_ERROR, 0, 0, nullptr);
    Count(argument);
}

}  // namespace

TEST_CASE("a fault ends the guarded code, and only that, however often") {
    int count = 0;
    for (int i = 0; i < 1000; ++i) {
        REQUIRE(KivGuardedCall(WriteNowhere, &count) == 0);
        REQUIRE(KivGuardedCall(GuardInside, &count) == 0);
        REQUIRE(KivGuardedCall(Count, &count) == 1);
        REQUIRE(count == 3 * (i + 1));
    }
}
