#ifndef KIVCTL_ACL_VIEW_H
#define KIVCTL_ACL_VIEW_H

#include <string>

#include "kivctl/principal.h"
#include "tavkivut/security.h"

namespace kivctl {

// How the security subcommands read and show access lists.

// What a list protects, which gives the low 16 rights their names.
enum class ObjectKind { kAny, kFile, kKey, kService };

// By the words "file", "key" and "service"; "" is any kind.
ObjectKind ReadObjectKind(const std::string& word);

// A list given as text. Failure when nothing of it is usable. A text that reads as other entries than it says gets a
// warning on the error output.
CKivAcl ReadAcl(const std::string& text);

// Whether no entry of the text was left out.
bool HasEveryEntryOf(const CKivAcl& acl, const std::string& text);

std::string TextOf(CKivAcl& acl);

std::string ShowMask(unsigned long mask);                            // "0x001f01ff"
std::string ShowRights(unsigned long mask, ObjectKind kind);         // "read data, append data, delete"
std::string ShowEntries(const CKivAcl& acl, ObjectKind kind);        // a line for each
std::string ShowEntriesInFull(const CKivAcl& acl, ObjectKind kind);  // a line for each right of each
Json EntriesAsJson(const CKivAcl& acl, ObjectKind kind);

}  // namespace kivctl

#endif
