// The check of a cabinet's tables: whatever the bytes, nothing outside them is read, and what counts as sound points
// nowhere else. The names in it are judged too: a safe one has no way up.

#include "files/cab_name.h"
#include "require.h"
#include "support/cabinet_in_memory.h"

namespace {

bool IsLead(unsigned char byte) {
    return byte >= 0x81 && byte <= 0x9F;
}

void JudgeName(std::string_view name) {
    if (!kiv::IsSafeStoredName(name, IsLead))
        return;
    Require(!name.empty() && name.front() != '\\' && name.front() != '/');
    Require(name.find(':') == std::string_view::npos && name.find("../") == std::string_view::npos);
    Require(name.find("/..") == std::string_view::npos || name.size() > name.find("/..") + 3);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536)
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    kiv::test::CabinetInMemory bytes(text);
    kiv::CabinetHeader header;
    if (kiv::CheckCabinet(bytes) == kiv::ReadingError::kNone) {
        Require(kiv::ReadCabinetHeader(bytes, header) == kiv::ReadingError::kNone);
        Require(header.size <= size && header.filesAt <= header.size && header.folders > 0);
    }
    JudgeName(text.substr(0, 300));
    return 0;
}
