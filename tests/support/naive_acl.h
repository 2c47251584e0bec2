#ifndef KIV_TESTS_SUPPORT_NAIVE_ACL_H
#define KIV_TESTS_SUPPORT_NAIVE_ACL_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "security/acl_layout.h"

namespace kiv::test {

using AceBytes = std::vector<std::uint8_t>;

// An entry for S-1-5-`identity`, with `padding` further sub-authorities.
inline AceBytes MakeAce(std::uint8_t type, std::uint8_t flags, std::uint32_t mask, std::uint8_t identity,
                        std::size_t padding = 0) {
    std::vector<std::uint8_t> sid = {1, static_cast<std::uint8_t>(1 + padding), 0, 0, 0, 0, 0, 5, identity, 0, 0, 0};
    sid.resize(sid.size() + 4 * padding);
    AceBytes ace(kAceSidOffset + sid.size());
    WriteAce(ace.data(), type, flags, mask, sid.data(), sid.size());
    return ace;
}

// A list under the rule for adding entries, done step by step without regard for time: what the library's own code is
// compared with. With size 0 the first entry makes the list.
class NaiveAcl {
public:
    explicit NaiveAcl(std::size_t size = 0) : m_size(size) {}

    std::uint32_t Add(const AceBytes& ace) {
        const std::size_t grown = (m_size == 0 ? kAclHeaderSize : m_size) + ace.size();
        const bool grows = m_size == 0 || m_used + ace.size() > m_size;
        if (ace[0] > 3)
            return kAclWrongType;
        if (grows && grown > kAclSizeLimit)
            return kAclFull;
        if (grows) {
            const std::vector<AceBytes> old = std::move(m_entries);
            m_entries.clear();
            for (const AceBytes& entry : old)
                Insert(entry);
            m_size = grown;
        }
        Insert(ace);
        m_used += ace.size();
        return kAclDone;
    }

    // The list; nothing before the first entry made it.
    std::vector<std::uint8_t> Bytes() const {
        std::vector<std::uint8_t> bytes(m_size);
        if (m_size == 0)
            return bytes;
        WriteEmptyAcl(bytes.data(), m_size, kAclRevision);
        bytes[4] = static_cast<std::uint8_t>(m_entries.size());
        bytes[5] = static_cast<std::uint8_t>(m_entries.size() >> 8);
        auto at = bytes.begin() + kAclHeaderSize;
        for (const AceBytes& ace : m_entries)
            at = std::copy(ace.begin(), ace.end(), at);
        return bytes;
    }

private:
    void Insert(const AceBytes& ace) {
        m_entries.insert(ace[0] == kAceDenied ? m_entries.begin() : m_entries.end(), ace);
    }

    std::size_t m_size;
    std::size_t m_used = kAclHeaderSize;
    std::vector<AceBytes> m_entries;
};

}  // namespace kiv::test

#endif
