#ifndef KIV_FRAME_ARGUMENT_SPLITTER_H
#define KIV_FRAME_ARGUMENT_SPLITTER_H

#include <cstddef>

namespace kiv {

// Splits `line` in place at each space outside double quotes, which becomes a NUL, and stores the arguments' starts.
// `arguments` has room for one more entry than the line has characters: a line of spaces only needs them all.
// Returns the number of arguments, at least 1.
//
//     a b        "a", "b"
//     a  b       "a", "", "b"
//     "x y" z    "\"x y\"", "z"
//     x<blank>   "x", ""
std::size_t SplitArguments(char* line, char** arguments) noexcept;

}  // namespace kiv

#endif
