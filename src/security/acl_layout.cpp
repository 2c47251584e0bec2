#include "security/acl_layout.h"

#include <algorithm>
#include <cstring>

#include "support/little_endian.h"

namespace kiv {
namespace {

// Offsets in a list, an entry and a SID.
constexpr std::size_t kListSize = 2;
constexpr std::size_t kListCount = 4;
constexpr std::size_t kEntrySize = 2;
constexpr std::size_t kEntryMask = 4;
constexpr std::size_t kSidAuthority = 2;

constexpr std::uint8_t kLastTypeWithSid = 3;  // system alarm
constexpr std::uint8_t kCompoundType = 4;
constexpr std::uint8_t kHighestRevision = 4;
constexpr std::uint8_t kSidRevision = 1;

struct Word {
    std::uint8_t bytes[4];
};

bool HasKnownRevision(const std::uint8_t* list) noexcept {
    return list[0] >= kAclRevision && list[0] <= kHighestRevision;
}

bool HasType(std::uint8_t revision, std::uint8_t type) noexcept {
    return type <= kLastTypeWithSid || (type == kCompoundType && revision > kAclRevision) ||
           revision == kHighestRevision;
}

void ReverseWords(std::uint8_t* begin, std::uint8_t* end) noexcept {
    std::reverse(reinterpret_cast<Word*>(begin), reinterpret_cast<Word*>(end));
}

// Turns the order of the entries in a range around. Once all words are turned, each entry ends with the word that
// holds its size.
void ReverseEntries(std::uint8_t* begin, std::uint8_t* end) noexcept {
    ReverseWords(begin, end);
    while (end != begin) {
        std::uint8_t* entry = end - Read16(end - sizeof(Word) + kEntrySize);
        ReverseWords(entry, end);
        end = entry;
    }
}

// Moves all denied entries to the front, in their order, and gives their end.
std::size_t GatherDenied(std::uint8_t* list) noexcept {
    std::size_t deniedEnd = kAclHeaderSize;
    AceWalk walk(list);
    while (walk.Next()) {
        if (!walk.Entry().IsDenied())
            continue;
        const std::size_t size = walk.Entry().Size();
        std::rotate(list + deniedEnd, list + walk.Offset(), list + walk.Used());
        deniedEnd += size;
    }
    return deniedEnd;
}

void Append(std::vector<std::uint8_t>& bytes, AceView ace) {
    bytes.insert(bytes.end(), ace.bytes, ace.bytes + ace.Size());
}

}  // namespace

std::size_t SidLength(const std::uint8_t* sid, std::size_t available) noexcept {
    if (available < kSidHeaderSize || sid[0] != kSidRevision || sid[1] > kSidSubAuthorityLimit)
        return 0;
    const std::size_t length = kSidHeaderSize + 4 * std::size_t{sid[1]};
    return length <= available ? length : 0;
}

std::size_t WriteSid(const SidParts& parts, std::uint8_t* sid) noexcept {
    const std::uint8_t header[kSidHeaderSize] = {kSidRevision, parts.count, 0, 0, 0, 0, 0, parts.authority};
    std::memcpy(sid, header, kSidHeaderSize);
    for (std::size_t i = 0; i < parts.count; ++i)
        Write32(sid + kSidHeaderSize + 4 * i, parts.subAuthorities[i]);
    return kSidHeaderSize + 4 * std::size_t{parts.count};
}

std::size_t WriteSidText(const std::uint8_t* sid, char* buffer) noexcept {
    SidAuthority authority;
    std::memcpy(authority.data(), sid + kSidAuthority, authority.size());
    std::uint32_t subAuthorities[kSidSubAuthorityLimit];
    const std::size_t count = std::min<std::size_t>(sid[1], kSidSubAuthorityLimit);
    for (std::size_t i = 0; i < count; ++i)
        subAuthorities[i] = Read32(sid + kSidHeaderSize + 4 * i);
    return WriteSidText(authority, subAuthorities, count, buffer);
}

std::size_t AceView::Size() const noexcept {
    return Read16(bytes + kEntrySize);
}

std::uint32_t AceView::Mask() const noexcept {
    return Read32(bytes + kEntryMask);
}

const std::uint8_t* AceView::Sid() const noexcept {
    return Type() <= kLastTypeWithSid ? bytes + kAceSidOffset : nullptr;
}

bool IsSoundAce(const std::uint8_t* ace, std::size_t available) noexcept {
    if (available < kAceSidOffset)
        return false;
    const AceView view{ace};
    const std::size_t size = view.Size();
    if (size < kAceSidOffset || size > available || size % sizeof(Word) != 0)
        return false;
    return view.Sid() == nullptr || SidLength(view.Sid(), size - kAceSidOffset) != 0;
}

bool AreEqualAces(AceView a, AceView b) noexcept {
    if (a.Type() != b.Type() || a.Flags() != b.Flags() || a.Mask() != b.Mask())
        return false;
    std::size_t aRest = a.Size() - kAceSidOffset;
    std::size_t bRest = b.Size() - kAceSidOffset;
    if (a.Sid() != nullptr) {
        aRest = SidLength(a.Sid(), aRest);
        bRest = SidLength(b.Sid(), bRest);
    }
    return aRest == bRest && std::memcmp(a.bytes + kAceSidOffset, b.bytes + kAceSidOffset, aRest) == 0;
}

void WriteAce(std::uint8_t* ace, std::uint8_t type, std::uint8_t flags, std::uint32_t mask, const std::uint8_t* sid,
              std::size_t sidLength) noexcept {
    ace[0] = type;
    ace[1] = flags;
    Write16(ace + kEntrySize, kAceSidOffset + sidLength);
    Write32(ace + kEntryMask, mask);
    std::memcpy(ace + kAceSidOffset, sid, sidLength);
}

std::size_t AclSize(const std::uint8_t* list) noexcept {
    return Read16(list + kListSize);
}

std::size_t AclCount(const std::uint8_t* list) noexcept {
    return Read16(list + kListCount);
}

std::size_t AclUsedSize(const std::uint8_t* list) noexcept {
    AceWalk walk(list);
    while (walk.Next()) {
    }
    return walk.Used();
}

void WriteEmptyAcl(std::uint8_t* list, std::size_t size, std::uint8_t revision) noexcept {
    std::memset(list, 0, kAclHeaderSize);
    list[0] = revision;
    Write16(list + kListSize, size);
}

AceWalk::AceWalk(const std::uint8_t* list) noexcept : m_list(list), m_left(AclCount(list)) {}

bool AceWalk::Next() noexcept {
    const std::size_t size = AclSize(m_list);
    if (m_left == 0 || m_end > size || !IsSoundAce(m_list + m_end, size - m_end))
        return false;
    m_entry = m_end;
    m_end += Entry().Size();
    --m_left;
    return true;
}

bool IsSoundAcl(const std::uint8_t* list) noexcept {
    if (!HasKnownRevision(list) || AclSize(list) < kAclHeaderSize)
        return false;
    AceWalk walk(list);
    while (walk.Next()) {
    }
    return walk.IsComplete();
}

const std::uint8_t* FindAce(const std::uint8_t* list, std::size_t index) noexcept {
    AceWalk walk(list);
    while (walk.Next()) {
        if (index-- == 0)
            return walk.Entry().bytes;
    }
    return nullptr;
}

AclAddition PlanAddition(const std::uint8_t* list, AceView ace) noexcept {
    AclAddition plan = {kAclDone, AclSize(list), kAclHeaderSize, kAclHeaderSize, false};
    AceWalk walk(list);
    while (walk.Next()) {
        if (!walk.Entry().IsDenied())
            continue;
        if (walk.Offset() == plan.denied)
            plan.denied = walk.Used();
        else
            plan.mixed = true;
    }
    plan.used = walk.Used();
    if (plan.used + ace.Size() > plan.size)
        plan.size += ace.Size();
    if (!walk.IsComplete() || !HasKnownRevision(list))
        plan.error = kAclBadArgument;
    else if (!HasType(list[0], ace.Type()))
        plan.error = kAclWrongType;
    else if (plan.size > kAclSizeLimit)
        plan.error = kAclFull;
    return plan;
}

AclAddition PlanNewAcl(AceView ace) noexcept {
    std::uint8_t header[kAclHeaderSize];
    WriteEmptyAcl(header, kAclHeaderSize, kAclRevision);
    return PlanAddition(header, ace);
}

void AddAce(std::uint8_t* list, AceView ace, const AclAddition& plan) noexcept {
    if (plan.size > AclSize(list)) {
        const std::size_t deniedEnd = plan.mixed ? GatherDenied(list) : plan.denied;
        ReverseEntries(list + kAclHeaderSize, list + deniedEnd);
        Write16(list + kListSize, plan.size);
    }
    const std::size_t at = ace.IsDenied() ? kAclHeaderSize : plan.used;
    std::memmove(list + at + ace.Size(), list + at, plan.used - at);
    std::memcpy(list + at, ace.bytes, ace.Size());
    Write16(list + kListCount, AclCount(list) + 1);
}

std::uint32_t DeleteAce(std::uint8_t* list, std::size_t index) noexcept {
    AceWalk walk(list);
    std::size_t at = 0;
    std::size_t end = 0;
    while (walk.Next()) {
        if (index-- == 0) {
            at = walk.Offset();
            end = walk.Used();
        }
    }
    if (at == 0 || !walk.IsComplete())
        return kAclBadArgument;
    std::memmove(list + at, list + end, walk.Used() - end);
    Write16(list + kListCount, AclCount(list) - 1);
    return kAclDone;
}

bool CopyInPreferredOrder(const std::uint8_t* list, std::uint8_t* block) noexcept {
    constexpr struct {
        bool inherited;
        bool denied;
    } kPasses[] = {{false, true}, {false, false}, {true, true}, {true, false}};

    if (!IsSoundAcl(list))
        return false;
    WriteEmptyAcl(block, AclSize(list), list[0]);
    Write16(block + kListCount, AclCount(list));
    std::uint8_t* out = block + kAclHeaderSize;
    for (const auto& pass : kPasses) {
        AceWalk walk(list);
        while (walk.Next()) {
            const AceView ace = walk.Entry();
            if (ace.IsInherited() == pass.inherited && ace.IsDenied() == pass.denied) {
                std::memcpy(out, ace.bytes, ace.Size());
                out += ace.Size();
            }
        }
    }
    return true;
}

std::uint32_t AclBuilder::Add(AceView ace) {
    if (!HasType(kAclRevision, ace.Type()))
        return kAclWrongType;
    const bool grows = HasList() && m_used + ace.Size() > m_size;
    const std::size_t size = !HasList() ? kAclHeaderSize + ace.Size() : grows ? m_size + ace.Size() : m_size;
    if (size > kAclSizeLimit)
        return kAclFull;
    const unsigned direction = grows ? 1 - m_direction : m_direction;
    Append(ace.IsDenied() ? m_denied[direction] : m_others, ace);
    m_direction = direction;
    m_size = size;
    m_used += ace.Size();
    ++m_count;
    return kAclDone;
}

void AclBuilder::Write(std::uint8_t* block) const noexcept {
    WriteEmptyAcl(block, m_size, kAclRevision);
    Write16(block + kListCount, m_count);
    std::uint8_t* out = block + kAclHeaderSize;
    for (const Bytes* bytes : {&m_denied[m_direction], &m_denied[1 - m_direction], &m_others}) {
        std::copy(bytes->begin(), bytes->end(), out);
        out += bytes->size();
    }
    // What came in the present direction stands in front of all before it.
    ReverseEntries(block + kAclHeaderSize, block + kAclHeaderSize + m_denied[m_direction].size());
}

std::uint32_t CopyEntries(const std::uint8_t* list, AclBuilder& builder) {
    AceWalk walk(list);
    while (walk.Next()) {
        if (const std::uint32_t error = builder.Add(walk.Entry()))
            return error;
    }
    return kAclDone;
}

}  // namespace kiv
