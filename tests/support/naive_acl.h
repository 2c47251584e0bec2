#ifndef KIV_TESTS_SUPPORT_NAIVE_ACL_H
#define KIV_TESTS_SUPPORT_NAIVE_ACL_H

#include <cstddef>
#include <cstdint>
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
// compared with.
class NaiveAcl {
public:
    explicit NaiveAcl(std::size_t size = 0) : m_size(size) {}

    std::uint32_t Add(const AceBytes& ace) {
        if (ace[0] > 3)
            return kAclWrongType;
        const std::size_t grown = m_size == 0 ? kAclHeaderSize + ace.size() : m_size + ace.size();
        const bool grows = m_size == 0 || Used() + ace.size() > m_size;
        if (grows && grown > kAclSizeLimit)
            return kAclFull;
        if (grows) {
            std::vector<AceBytes> copy;
            for (const AceBytes& old : m_entries)
                Insert(copy, old);
            m_entries = copy;
            m_size = grown;
        }
        Insert(m_entries, ace);
        return kAclDone;
    }

    bool Delete(std::size_t index) {
        if (index >= m_entries.size())
            return false;
        m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(index));
        return true;
    }

    const std::vector<AceBytes>& Entries() const { return m_entries; }

    // The list's bytes; nothing before the first entry made it.
    std::vector<std::uint8_t> Bytes() const {
        std::vector<std::uint8_t> bytes(m_size);
        if (m_size == 0)
            return bytes;
        WriteEmptyAcl(bytes.data(), m_size, kAclRevision);
        bytes[4] = static_cast<std::uint8_t>(m_entries.size());
        bytes[5] = static_cast<std::uint8_t>(m_entries.size() >> 8);
        std::size_t at = kAclHeaderSize;
        for (const AceBytes& ace : m_entries) {
            for (const std::uint8_t byte : ace)
                bytes[at++] = byte;
        }
        return bytes;
    }

private:
    static void Insert(std::vector<AceBytes>& entries, const AceBytes& ace) {
        entries.insert(ace[0] == kAceDenied ? entries.begin() : entries.end(), ace);
    }

    std::size_t Used() const {
        std::size_t used = kAclHeaderSize;
        for (const AceBytes& ace : m_entries)
            used += ace.size();
        return used;
    }

    std::size_t m_size;
    std::vector<AceBytes> m_entries;
};

}  // namespace kiv::test

#endif
