#include "install/server_list.h"

#include <algorithm>

namespace kiv {
namespace {

constexpr char kSeparator = ';';

// Where the next "\" at or behind `start` stands, else the path's size.
std::size_t NextBackslash(std::string_view path, std::size_t start, LeadByteTest isLead) noexcept {
    std::size_t at = start;
    while (at < path.size() && path[at] != '\\')
        at += isLead(static_cast<unsigned char>(path[at])) ? 2 : 1;
    return std::min(at, path.size());
}

// The part of a UNC path from `start` to the next "\" or the end.
std::string_view PartAt(std::string_view path, std::size_t start, LeadByteTest isLead) noexcept {
    return path.substr(start, NextBackslash(path, start, isLead) - start);
}

}  // namespace

std::vector<std::string_view> SplitServerList(std::string_view list) {
    std::vector<std::string_view> entries;
    std::size_t start = 0;
    for (std::size_t at = list.find(kSeparator); at != std::string_view::npos; at = list.find(kSeparator, start)) {
        entries.push_back(list.substr(start, at - start));
        start = at + 1;
    }
    if (start < list.size() || entries.empty())
        entries.push_back(list.substr(start));
    return entries;
}

std::string ServerListWithout(std::string_view list, std::size_t index) {
    const std::vector<std::string_view> entries = SplitServerList(list);
    std::string rest;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i != index && !entries[i].empty())
            rest = ServerListWith(rest, entries[i]);
    }
    return rest;
}

std::string ServerListWith(std::string_view list, std::string_view path) {
    std::string longer(list);
    if (!longer.empty())
        longer += kSeparator;
    longer += path;
    return longer;
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

}  // namespace kiv
