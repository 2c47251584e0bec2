#ifndef KIV_TESTS_SUPPORT_CABINET_IN_MEMORY_H
#define KIV_TESTS_SUPPORT_CABINET_IN_MEMORY_H

#include <cstring>
#include <string_view>

#include "files/cab_layout.h"

namespace kiv::test {

class CabinetInMemory final : public CabinetBytes {
public:
    explicit CabinetInMemory(std::string_view bytes) : m_bytes(bytes) {}
    std::uint64_t Size() const noexcept override { return m_bytes.size(); }
    bool Read(std::uint64_t offset, void* buffer, std::size_t size) noexcept override {
        if (offset > m_bytes.size() || size > m_bytes.size() - offset)
            return false;
        std::memcpy(buffer, m_bytes.data() + offset, size);
        return true;
    }

private:
    std::string_view m_bytes;
};

}  // namespace kiv::test

#endif
