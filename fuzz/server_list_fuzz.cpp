#include <string>
#include <string_view>

#include "files/path_text.h"
#include "install/server_list.h"
#include "require.h"

namespace {

bool IsHighByte(unsigned char byte) {
    return byte >= 0x80;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string list(reinterpret_cast<const char*>(data), size);
    const auto entries = kiv::SplitServerList(list);
    Require(!entries.empty());
    std::string joined;
    for (const std::string_view entry : entries) {
        Require(entry.find(';') == std::string_view::npos);
        Require(LiesIn(kiv::HostOfUncPath(entry, IsHighByte), entry));
        Require(LiesIn(kiv::ShareOfUncPath(entry, IsHighByte), entry));
        Require(entry.size() - kiv::WithoutTrailingBackslash(entry, IsHighByte).size() <= 1);
        joined.append(joined.empty() && entry.data() == entries.front().data() ? "" : ";").append(entry);
    }
    Require(joined == list || joined + ";" == list);

    // Writing drops empty entries and nothing else.
    const std::string clean = kiv::ServerListWithout(list, entries.size());
    Require(kiv::ServerListWithout(clean, entries.size()) == clean);
    return 0;
}
