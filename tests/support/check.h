#ifndef KIV_TESTS_SUPPORT_CHECK_H
#define KIV_TESTS_SUPPORT_CHECK_H

// doctest as every test uses it. The win32 thread model has no std::mutex: assert on the main thread only, and collect
// what other threads found first.
#define DOCTEST_CONFIG_NO_MULTITHREADING
#include <doctest/doctest.h>

#include <string>
#include <vector>

// Lists of texts are shown one a line where a comparison fails.
template <>
struct doctest::StringMaker<std::vector<std::string>> {
    static String convert(const std::vector<std::string>& texts) {
        std::string shown;
        for (const std::string& text : texts)
            shown += "\n    " + text;
        return shown.c_str();
    }
};

#endif
