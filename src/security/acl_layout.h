#ifndef KIV_SECURITY_ACL_LAYOUT_H
#define KIV_SECURITY_ACL_LAYOUT_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "security/sid_text.h"

namespace kiv {

// Access-control lists and their entries as bytes in the published layout, all numbers little-endian:
//
//     list    revision 1 | 0 | size 2 | count 2 | 0 0 | entries, which may end before the list does
//     entry   type 1 | flags 1 | size 2 | access mask 4 | what the type asks for; a SID for the types 0 to 3
//     SID     revision 1 | count 1 | authority 6 | count sub-authorities of 4 bytes
//
// The library edits lists itself: systems differ in what their own calls accept, where they insert and which error
// they give. Nothing here reads beyond the size that a list or entry states, whatever its other fields say. Memory is
// 4-byte aligned, as everything that a system hands out.
//
// Results are Win32 error codes; kAclDone is success.

constexpr std::uint32_t kAclDone = 0;
constexpr std::uint32_t kAclBadArgument = 87;  // an index outside the list; a malformed list or entry
constexpr std::uint32_t kAclWrongType = 1306;  // an entry type that the list's revision does not have
constexpr std::uint32_t kAclFull = 1344;       // the list would be larger than its size field can say

constexpr std::size_t kAclHeaderSize = 8;
constexpr std::size_t kAclSizeLimit = 0xFFFF;
constexpr std::uint8_t kAclRevision = 2;

constexpr std::size_t kAceSidOffset = 8;  // also the size of an entry without its SID
constexpr std::uint8_t kAceAllowed = 0;
constexpr std::uint8_t kAceDenied = 1;
constexpr std::uint8_t kAceInherited = 0x10;  // a flag

constexpr std::size_t kSidHeaderSize = 8;
constexpr std::size_t kSidSubAuthorityLimit = 15;
constexpr std::size_t kSidSizeLimit = kSidHeaderSize + 4 * kSidSubAuthorityLimit;

// The length of the SID at the beginning of so many bytes; 0 when there is none.
std::size_t SidLength(const std::uint8_t* sid, std::size_t available) noexcept;

// Writes the SID that a text form says and gives its length, at most kSidSizeLimit.
std::size_t WriteSid(const SidParts& parts, std::uint8_t* sid) noexcept;

// Writes the text form of a sound SID, as the other WriteSidText does.
std::size_t WriteSidText(const std::uint8_t* sid, char* buffer) noexcept;

// One entry. The view is only made of sound ones (AceWalk, IsSoundAce).
struct AceView {
    const std::uint8_t* bytes;

    std::uint8_t Type() const noexcept { return bytes[0]; }
    std::uint8_t Flags() const noexcept { return bytes[1]; }
    bool IsDenied() const noexcept { return Type() == kAceDenied; }
    bool IsInherited() const noexcept { return (Flags() & kAceInherited) != 0; }
    std::size_t Size() const noexcept;
    std::uint32_t Mask() const noexcept;
    const std::uint8_t* Sid() const noexcept;  // null for the types above 3, whose layout is another
};

// Whether an entry fits into so many bytes, has a size that is a multiple of 4 and, where its type has one, a whole
// SID.
bool IsSoundAce(const std::uint8_t* ace, std::size_t available) noexcept;

// Same type, mask and flags, and the same SID; what follows the mask, where the type has no SID at its place.
bool AreEqualAces(AceView a, AceView b) noexcept;

// Writes an entry with a SID, of kAceSidOffset + sidLength bytes.
void WriteAce(std::uint8_t* ace, std::uint8_t type, std::uint8_t flags, std::uint32_t mask, const std::uint8_t* sid,
              std::size_t sidLength) noexcept;

std::size_t AclSize(const std::uint8_t* list) noexcept;
std::size_t AclCount(const std::uint8_t* list) noexcept;  // as the header says

// What the entries of a list take, header included.
std::size_t AclUsedSize(const std::uint8_t* list) noexcept;

// Writes the header of a list without entries.
void WriteEmptyAcl(std::uint8_t* list, std::size_t size, std::uint8_t revision) noexcept;

// The entries of a list one after the other. It ends early where the list stops making sense.
class AceWalk {
public:
    explicit AceWalk(const std::uint8_t* list) noexcept;

    bool Next() noexcept;  // steps to the next entry, at first to the first one; false when there is none
    AceView Entry() const noexcept { return {m_list + m_entry}; }
    std::size_t Offset() const noexcept { return m_entry; }   // of the entry in the list
    std::size_t Used() const noexcept { return m_end; }       // bytes up to the entry's end
    bool IsComplete() const noexcept { return m_left == 0; }  // after the walk: it saw all that the header counts

private:
    const std::uint8_t* m_list;
    std::size_t m_entry = 0;
    std::size_t m_end = kAclHeaderSize;
    std::size_t m_left;
};

// Whether a list has a known revision, room for its header and as many sound entries as it counts.
bool IsSoundAcl(const std::uint8_t* list) noexcept;

// The entry at that index; null when there is none.
const std::uint8_t* FindAce(const std::uint8_t* list, std::size_t index) noexcept;

// What adding an entry to a list comes to. A denied entry goes to the front of the list, every other one to its end.
//
// A list without room for it grows by exactly the entry's size. It is as if a new list were made of the old entries by
// the same rule, and so growth puts the denied entries first and reverses them: A, B denied give C, B, A when there is
// room for C and C, A, B when there is none.
struct AclAddition {
    std::uint32_t error;  // nothing but this counts when it is not kAclDone
    std::size_t size;     // the list's size afterwards; larger than now when it grows
    std::size_t used;     // what the present entries take, header included
    std::size_t denied;   // the same of the denied ones that stand in front
    bool mixed;           // there are more of them behind others
};
AclAddition PlanAddition(const std::uint8_t* list, AceView ace) noexcept;
AclAddition PlanNewAcl(AceView ace) noexcept;  // of a new list, which has room for just this entry

// Carries a plan out. The list's block has room for the planned size; the entry does not lie in it.
void AddAce(std::uint8_t* list, AceView ace, const AclAddition& plan) noexcept;

// Takes the entry at that index out; the list keeps its size.
std::uint32_t DeleteAce(std::uint8_t* list, std::size_t index) noexcept;

// Copies a list into a block of the same size, in the preferred order: own entries before inherited ones, within both
// denied ones before the others, else as they stand. False, with the block in no useful state, for an unsound list.
bool CopyInPreferredOrder(const std::uint8_t* list, std::uint8_t* block) noexcept;

// Builds a list of entries that come one after the other, with the result of AddAce for each in the time of one pass.
class AclBuilder {
public:
    AclBuilder() noexcept : AclBuilder(0) {}                          // the first entry makes the list
    explicit AclBuilder(std::size_t size) noexcept : m_size(size) {}  // starts with an empty list of that size

    // Adds an entry. One that is refused leaves the list as it was. May throw std::bad_alloc.
    std::uint32_t Add(AceView ace);

    bool HasList() const noexcept { return m_size != 0; }
    std::size_t Size() const noexcept { return m_size; }  // of the list
    void Write(std::uint8_t* block) const noexcept;       // the list, into a block of that size

private:
    using Bytes = std::vector<std::uint8_t>;

    std::size_t m_size;
    std::size_t m_used = kAclHeaderSize;
    std::size_t m_count = 0;
    // Denied entries go to the front, and growth turns them around. So they are kept by the direction that was in
    // force when they came, each kind in its order of coming.
    Bytes m_denied[2];
    unsigned m_direction = 0;
    Bytes m_others;
};

// Adds all entries of a sound list to a builder of its size, as a copy of a list does.
std::uint32_t CopyEntries(const std::uint8_t* list, AclBuilder& builder);

}  // namespace kiv

#endif
