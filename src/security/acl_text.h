#ifndef KIV_SECURITY_ACL_TEXT_H
#define KIV_SECURITY_ACL_TEXT_H

#include <cstdint>
#include <string>

namespace kiv {

// The text form of an access-control list: entries joined by "-", each of them
//
//     {type-flags-0xmask-[sid]}        {0-3-0x10000000-[S-1-5-32-544]}-{1-3-0x40000-[S-1-1-0]}

// The text of a list; what its entries are, in their order. An entry whose type has no SID gets empty brackets.
std::string WriteAclText(const std::uint8_t* list);

struct AclTextEntry {
    std::uint8_t type;
    std::uint8_t flags;
    std::uint32_t mask;
    const char* sid;  // the text in brackets, a SID or an account; null means Everyone
};

// Reads entry after entry. Nothing is an error: what an entry lacks has a default, what comes behind the last entry is
// ignored.
//
//     {1-3-0x40000-[S-1-1-0]}        denied, 3, 0x40000, "S-1-1-0"
//     {0x1-010-0x0x1F-[.\user]}      1, 8, 0x1F, ".\user": type and flags as C constants, with a sign too
//     {1-x-0x40000-[user]}           1, 0, 0x80000000, "user": what follows the first mistake keeps its default
//     {}  {0-3-0x1}  {0-0-0x1-[sid}  Everyone: there are no brackets, or they are not closed
//     {..}{..}  {..}- {..}           only the first entry: "-" and "{" must follow it at once
//
// Numbers wrap: a mask keeps its low 32 bits, type and flags their low byte.
class AclTextReader {
public:
    // The text is cut up while it is read, and must outlive the entries.
    explicit AclTextReader(char* text) noexcept : m_at(text) {}

    bool Next(AclTextEntry& entry) noexcept;  // false at the end

private:
    char* m_at;
};

}  // namespace kiv

#endif
