#ifndef KIV_TESTS_SUPPORT_CHECK_H
#define KIV_TESTS_SUPPORT_CHECK_H

// doctest as every test uses it. The win32 thread model has no std::mutex: assert on the main thread only, and collect
// what other threads found first.
#define DOCTEST_CONFIG_NO_MULTITHREADING
#include <doctest/doctest.h>

#include <cstddef>
#include <string>
#include <utility>
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

namespace kiv::test {

// Compares what a function gives for the input of each row with the answer beside it.
template <class Input, class Answer, std::size_t Count, class Function>
void CheckRows(const std::pair<Input, Answer> (&rows)[Count], const Function& function) {
    for (const auto& row : rows) {
        CAPTURE(row.first);
        CHECK(function(row.first) == row.second);
    }
}

}  // namespace kiv::test

#endif
