#include "files/path_text.h"

#include "support/ascii.h"

namespace kiv {
namespace {

bool StartsWithDrive(std::string_view path) noexcept {
    return path.size() >= 2 && ToLower(path[0]) >= 'a' && ToLower(path[0]) <= 'z' && path[1] == ':';
}

// Where the run of separators at the end begins.
std::size_t TrailingSeparators(std::string_view path, LeadByteTest isLead) noexcept {
    std::size_t end = 0;
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t size = CharacterSize(path, at, isLead);
        if (size == 2 || !IsPathSeparator(path[at]))
            end = at + size;
        at += size;
    }
    return end;
}

std::size_t SkipSeparators(std::string_view path, std::size_t at) noexcept {
    while (at < path.size() && IsPathSeparator(path[at]))
        ++at;
    return at;
}

std::size_t ShareRootLength(std::string_view path, LeadByteTest isLead) noexcept {
    const std::size_t host = NextSeparator(path, 2, isLead);
    if (host == path.size())
        return host;
    return SkipSeparators(path, NextSeparator(path, SkipSeparators(path, host), isLead));
}

bool SameOneByte(char a, char b) noexcept {
    return ToLower(a) == ToLower(b) || (IsPathSeparator(a) && IsPathSeparator(b));
}

// Where the next "\" at or behind `start` stands, else the path's size.
std::size_t NextBackslash(std::string_view path, std::size_t start, LeadByteTest isLead) noexcept {
    std::size_t at = start;
    while (at < path.size() && path[at] != '\\')
        at += CharacterSize(path, at, isLead);
    return at;
}

// The part of a UNC path from `start` to the next "\" or the end.
std::string_view PartAt(std::string_view path, std::size_t start, LeadByteTest isLead) noexcept {
    return path.substr(start, NextBackslash(path, start, isLead) - start);
}

bool IsSharePath(std::string_view path) noexcept {
    return path.size() >= 2 && IsPathSeparator(path[0]) && IsPathSeparator(path[1]);
}

}  // namespace

bool IsDrivePath(std::string_view path) noexcept {
    return StartsWithDrive(path) && (path.size() == 2 || IsPathSeparator(path[2]));
}

bool IsUncPath(std::string_view path) noexcept {
    return path.size() >= 2 && path[0] == '\\' && path[1] == '\\';
}

std::string_view HostOfUncPath(std::string_view path, LeadByteTest isLead) noexcept {
    return IsUncPath(path) ? PartAt(path, 2, isLead) : std::string_view();
}

std::string_view ShareOfUncPath(std::string_view path, LeadByteTest isLead) noexcept {
    if (!IsUncPath(path))
        return {};
    const std::size_t hostEnd = NextBackslash(path, 2, isLead);
    return hostEnd == path.size() ? std::string_view() : PartAt(path, hostEnd + 1, isLead);
}

std::size_t RootLength(std::string_view path, LeadByteTest isLead) noexcept {
    if (IsSharePath(path))
        return ShareRootLength(path, isLead);
    return SkipSeparators(path, StartsWithDrive(path) ? 2 : 0);
}

std::size_t LastSeparator(std::string_view path, LeadByteTest isLead) noexcept {
    std::size_t last = std::string_view::npos;
    for (std::size_t at = NextSeparator(path, 0, isLead); at < path.size(); at = NextSeparator(path, at + 1, isLead))
        last = at;
    return last;
}

std::size_t NextSeparator(std::string_view path, std::size_t start, LeadByteTest isLead) noexcept {
    std::size_t at = start;
    while (at < path.size() && !IsPathSeparator(path[at]))
        at += CharacterSize(path, at, isLead);
    return at < path.size() ? at : path.size();
}

std::string_view WithoutTrailingSeparators(std::string_view path, LeadByteTest isLead) noexcept {
    const std::size_t end = TrailingSeparators(path, isLead);
    const std::size_t root = RootLength(path, isLead);
    if (end >= root || IsSharePath(path))
        return path.substr(0, end);
    return path.substr(0, end + 1);
}

std::string_view ParentPath(std::string_view path, LeadByteTest isLead) noexcept {
    const std::string_view item = WithoutTrailingSeparators(path, isLead);
    const std::size_t root = RootLength(item, isLead);
    if (item.size() <= root)
        return {};
    const std::size_t separator = LastSeparator(item, isLead);
    const std::size_t parent = separator == std::string_view::npos || separator < root ? root : separator;
    return WithoutTrailingSeparators(item.substr(0, parent), isLead);
}

bool EqualPathText(std::string_view a, std::string_view b, LeadByteTest isLead) noexcept {
    if (a.empty() != b.empty())  // a root of separators alone is not nothing
        return false;
    a = a.substr(0, TrailingSeparators(a, isLead));
    b = b.substr(0, TrailingSeparators(b, isLead));
    if (a.size() != b.size())
        return false;
    for (std::size_t at = 0; at < a.size();) {
        const std::size_t size = CharacterSize(a, at, isLead);
        if (size == 2 ? a.substr(at, 2) != b.substr(at, 2) : !SameOneByte(a[at], b[at]))
            return false;
        at += size;
    }
    return true;
}

}  // namespace kiv
