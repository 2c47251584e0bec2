#include "install/server_list.h"

namespace kiv {
namespace {

constexpr char kSeparator = ';';

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

}  // namespace kiv
