#ifndef KIV_FILES_PATH_TEXT_H
#define KIV_FILES_PATH_TEXT_H

#include <cstddef>
#include <string_view>

#include "support/characters.h"

namespace kiv {

// Rules of paths that need no system call.

constexpr bool IsPathSeparator(char c) noexcept {
    return c == '\\' || c == '/';
}

// A letter and a colon, then the end or a separator: "C:", "C:\", "C:\a"; not "C:a", which depends on the
// current folder of that drive.
bool IsDrivePath(std::string_view path) noexcept;

bool IsUncPath(std::string_view path) noexcept;

// The host and the share of a path \\host\share\...; empty for any other path and where the part is missing.
std::string_view HostOfUncPath(std::string_view path, LeadByteTest isLead) noexcept;
std::string_view ShareOfUncPath(std::string_view path, LeadByteTest isLead) noexcept;

// The part that names no folder of its own and has no parent, with its separator.
//
//     C:\a           C:\               \\host\share\a    \\host\share\       .
//     C:a            C:                \\host            \\host
//     \a             \                 a\b               (empty)
std::size_t RootLength(std::string_view path, LeadByteTest isLead) noexcept;

// Where the last separator stands; npos when there is none.
std::size_t LastSeparator(std::string_view path, LeadByteTest isLead) noexcept;

// Where the first separator at or behind `start` stands, else the path's size.
std::size_t NextSeparator(std::string_view path, std::size_t start, LeadByteTest isLead) noexcept;

// The path without separators at its end. A root keeps its separator, except that of a share.
//
//     C:\a\\  C:\a         \\host\share\   \\host\share         C:\    C:\         .
std::string_view WithoutTrailingSeparators(std::string_view path, LeadByteTest isLead) noexcept;

// The folder that holds what the path names; empty when there is none.
//
//     C:\a\b\   C:\a        \\host\share\a   \\host\share        a\b   a          .
//     C:\a      C:\         \\host\share     (empty)             a     (empty)
//     C:\       (empty)     \a               \                   C:a   C:
std::string_view ParentPath(std::string_view path, LeadByteTest isLead) noexcept;

// Whether two paths are the same text but for case (of the ASCII letters), the kind of slash and separators
// at the end, also those of a drive ("C:" and "C:\").
bool EqualPathText(std::string_view a, std::string_view b, LeadByteTest isLead) noexcept;

}  // namespace kiv

#endif
