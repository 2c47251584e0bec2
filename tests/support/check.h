#ifndef KIV_TESTS_SUPPORT_CHECK_H
#define KIV_TESTS_SUPPORT_CHECK_H

// doctest as every test uses it. The win32 thread model has no std::mutex: assert on the main thread only, and collect
// what other threads found first.
#define DOCTEST_CONFIG_NO_MULTITHREADING
#include <doctest/doctest.h>

#endif
