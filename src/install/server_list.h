#ifndef KIV_INSTALL_SERVER_LIST_H
#define KIV_INSTALL_SERVER_LIST_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "files/path_text.h"

namespace kiv {

// Rules of the server list and of the paths in it. A "\" can be the second byte of a two-byte character, a ";" never
// is.

// The entries of a list, always at least one. A ";" as the last character begins no further entry.
//
//     \\a\s;\\b\s     \\a\s, \\b\s            \\a\s;;\\b\s   \\a\s, (empty), \\b\s
//     \\a\s;\\b\s;    \\a\s, \\b\s            (empty)        (empty)
std::vector<std::string_view> SplitServerList(std::string_view list);

// The list without the entry at `index`, and without empty entries.
std::string ServerListWithout(std::string_view list, std::size_t index);

// The list with one entry more; no ";" is put behind an empty list.
std::string ServerListWith(std::string_view list, std::string_view path);

bool IsUncPath(std::string_view path) noexcept;

// The host and the share of a path \\host\share\...; empty for any other path and where the part is missing.
std::string_view HostOfUncPath(std::string_view path, LeadByteTest isLead) noexcept;
std::string_view ShareOfUncPath(std::string_view path, LeadByteTest isLead) noexcept;

}  // namespace kiv

#endif
