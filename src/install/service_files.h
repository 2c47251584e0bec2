#ifndef KIV_INSTALL_SERVICE_FILES_H
#define KIV_INSTALL_SERVICE_FILES_H

#include <string>
#include <string_view>
#include <vector>

#include "files/path_text.h"

namespace kiv {

// The values of a section's entries ("name=value", each with a NUL behind it), in their order, without those that are
// empty or have no value.
std::vector<std::string> ListedFiles(std::string_view entries);

// Whether a name stays in the folder that it is put behind: no drive or stream, no separator in front, no part "..".
//
//     a.exe, sub\a.exe   yes        ..\a, sub\..\..\a, \a, \\host\share\a, C:a, a:b   no
bool StaysBelow(std::string_view name, LeadByteTest isLead) noexcept;

}  // namespace kiv

#endif
