#ifndef KIV_FILES_CAB_NAME_H
#define KIV_FILES_CAB_NAME_H

#include <string_view>

#include "support/characters.h"

namespace kiv {

// Rules of the names in cabinets, in the system code page.

// Under which name a file is stored: the part of its path behind the base, if that is not empty and the path begins
// with it, without one backslash in front; else the part behind the last backslash.
//
//     C:\src\bin\a.dll   C:\src     bin\a.dll        C:\src\bin\a.dll   (empty)    a.dll
//     C:\SRC\bin\a.dll   C:\src\    bin\a.dll        C:\src\bin\a.dll   D:\        a.dll
//     C:\src\bin\a.dll   C:\sr      c\bin\a.dll      a.dll              (empty)    a.dll
std::string_view NameInArchive(std::string_view file, std::string_view basePath, LeadByteTest isLead) noexcept;

// Whether a stored name may become the path of a file below a folder. Both slashes separate. Refused are names that
// are empty, begin with a separator, hold a colon or another character that no file name has, or a part that is empty,
// ends in a dot or a blank ("..", "a. "), or names a device whatever its extension ("NUL", "com1.txt", "CON .a").
bool IsSafeStoredName(std::string_view name, LeadByteTest isLead) noexcept;

// Whether a file's name is that of a continuation cabinet: "tavcab", two characters, ".tmp", without regard to case.
bool IsContinuationName(std::string_view name) noexcept;

}  // namespace kiv

#endif
