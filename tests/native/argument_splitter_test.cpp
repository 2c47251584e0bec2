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

TEST_CASE("arguments end at each space outside quotes; each space may take an entry") {
    const std::pair<const char*, Arguments> rows[] = {
        {"a  b", {"a", "", "b"}}, {"\"x y\" z", {"\"x y\"", "z"}}, {"a\"b c\"d e", {"a\"b c\"d", "e"}},
        {"a\tb", {"a\tb"}},       {" x ", {"", "x", ""}},          {"a \"b c", {"a", "\"b c"}}};
    kiv::test::CheckRows(rows, Split);
    CHECK(Split(std::string(100, ' ')) == Arguments(101, ""));
}
