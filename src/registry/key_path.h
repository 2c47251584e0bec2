#ifndef KIV_REGISTRY_KEY_PATH_H
#define KIV_REGISTRY_KEY_PATH_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/characters.h"

namespace kiv {

// Rules of registry key paths and machine names.

struct ParsedKeyPath {
    std::uint32_t root = 0;       // the predefined key's number (0x80000000 and up), 0 when no root was recognised
    std::string_view shortName;   // "HKLM"
    std::string_view behindRoot;  // with the character that separates
    std::string_view subkey;      // without it
};

// Recognises the root name that the path begins with, in any case. The one character behind it is skipped unseen.
//
//     HKLM\Software           HKLM  \Software  Software
//     hkey_users\.DEFAULT     HKU   \.DEFAULT  .DEFAULT
//     HKLM                    HKLM  (empty)    (empty)
//     HKLMX\y                 HKLM  X\y        \y
//     Software                no root
ParsedKeyPath ParseKeyPath(std::string_view path) noexcept;

// The path with its root's short name; empty without a root.
std::string CanonicalKeyPath(std::string_view path);

// Parent and subkey with one "\" between them. One "\" that the subkey begins with is not doubled, neither is one that
// the parent ends with; an empty subkey gives the parent.
std::string JoinKeyPath(std::string_view parent, std::string_view subkey, LeadByteTest isLead);

// The path behind its last "\", all of it when there is none.
std::string_view KeyName(std::string_view path, LeadByteTest isLead) noexcept;

// The path before its last "\", empty when there is none.
std::string_view ParentKeyPath(std::string_view path, LeadByteTest isLead) noexcept;

std::string_view WithoutTrailingBackslashes(std::string_view path, LeadByteTest isLead) noexcept;

// Where the "\" stands behind the longest run of whole subkey names that has at most `limit` characters. Without one
// it is the first "\" behind a first name that is too long by itself, and npos when there is none at all.
std::size_t PieceEnd(std::string_view subkeys, std::size_t limit, LeadByteTest isLead) noexcept;

// The name with two backslashes in front, which are added where it does not begin with them.
std::string MachineName(std::string_view name);

}  // namespace kiv

#endif
