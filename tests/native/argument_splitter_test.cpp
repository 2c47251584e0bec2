#include "frame/argument_splitter.h"

#include <string>
#include <vector>

#include "support/check.h"

namespace {

std::vector<std::string> Split(std::string line) {
    std::vector<char*> entries(line.size() + 1);
    const std::size_t count = kiv::SplitArguments(line.data(), entries.data());
    return {entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(count)};
}

using Arguments = std::vector<std::string>;

}  // namespace

TEST_CASE("arguments end at each space outside quotes") {
    CHECK(Split("a b") == Arguments{"a", "b"});
    CHECK(Split("a  b") == Arguments{"a", "", "b"});
    CHECK(Split("\"x y\" z") == Arguments{"\"x y\"", "z"});
    CHECK(Split("a\"b c\"d e") == Arguments{"a\"b c\"d", "e"});
    CHECK(Split("a\tb") == Arguments{"a\tb"});
    CHECK(Split("x ") == Arguments{"x", ""});
    CHECK(Split(" x") == Arguments{"", "x"});
    CHECK(Split("a \"b c") == Arguments{"a", "\"b c"});
}

TEST_CASE("a line of spaces uses every entry that there is room for") {
    CHECK(Split(std::string(100, ' ')) == Arguments(101, ""));
}
