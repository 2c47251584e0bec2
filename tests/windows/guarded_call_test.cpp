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

// Deep frames, saved registers and a call into the system lie between the guard and the fault.
void FaultBelow(void* argument) {
    volatile char room[0x4000];
    room[0] = 1;
    Count(argument);
    ::RaiseException(EXCEPTION_IN_PAGE_ERROR, 0, 0, nullptr);
    Count(argument);
    room[1] = room[0];
}

void GuardInside(void* argument) {
    if (KivGuardedCall(WriteNowhere, argument) == 0)
        Count(argument);
    FaultBelow(argument);
}

}  // namespace

TEST_CASE("code that runs to its end gives 1") {
    int count = 0;
    CHECK(KivGuardedCall(Count, &count) == 1);
    CHECK(count == 1);
}

TEST_CASE("a fault ends the code and gives 0, however often") {
    int count = 0;
    for (int i = 1; i <= 1000; ++i) {
        REQUIRE(KivGuardedCall(i % 2 == 0 ? WriteNowhere : FaultBelow, &count) == 0);
        REQUIRE(count == i);
    }
}

TEST_CASE("guards nest") {
    int count = 0;
    CHECK(KivGuardedCall(GuardInside, &count) == 0);
    CHECK(count == 3);
    CHECK(KivGuardedCall(Count, &count) == 1);
}
