#ifndef KIV_INSTALL_SERVER_LIST_H
#define KIV_INSTALL_SERVER_LIST_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kiv {

// Rules of the server list. A ";" is never the second byte of a two-byte character.

// The entries of a list, always at least one. A ";" as the last character begins no further entry.
//
//     \\a\s;\\b\s     \\a\s, \\b\s            \\a\s;;\\b\s   \\a\s, (empty), \\b\s
//     \\a\s;\\b\s;    \\a\s, \\b\s            (empty)        (empty)
std::vector<std::string_view> SplitServerList(std::string_view list);

// The list without the entry at `index`, and without empty entries.
std::string ServerListWithout(std::string_view list, std::size_t index);

// The list with one entry more; no ";" is put behind an empty list.
std::string ServerListWith(std::string_view list, std::string_view path);

}  // namespace kiv

#endif
