#include <algorithm>
#include <cstring>
#include <string>

#include "require.h"
#include "security/sid_text.h"

namespace {

std::string Written(const kiv::SidAuthority& authority, const std::uint32_t* numbers, std::size_t count) {
    std::string buffer(kiv::SidTextSize(count), '#');
    const std::size_t length = kiv::WriteSidText(authority, numbers, count, buffer.data());
    Require(length < buffer.size() && std::strlen(buffer.c_str()) == length);
    buffer.resize(length);
    return buffer;
}

// Writing what was read reads the same again.
void TryReading(const std::string& text) {
    kiv::SidParts parts;
    if (!kiv::ReadSidText(text.c_str(), parts))
        return;
    const std::string clean = Written({0, 0, 0, 0, 0, parts.authority}, parts.subAuthorities.data(), parts.count);
    kiv::SidParts again;
    Require(kiv::ReadSidText(clean.c_str(), again) && again.subAuthorities == parts.subAuthorities);
    Require(again.authority == parts.authority && again.count == parts.count);
}

// Any SID fits the room that it is said to need.
void TryWriting(const std::uint8_t* data, std::size_t size) {
    kiv::SidAuthority authority{};
    if (size < authority.size())
        return;
    std::copy_n(data, authority.size(), authority.begin());
    std::uint32_t numbers[15];
    const std::size_t count = std::min<std::size_t>((size - authority.size()) / sizeof *numbers, 15);
    if (count > 0)
        std::memcpy(numbers, data + authority.size(), count * sizeof *numbers);
    Written(authority, numbers, count);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    TryReading(bytes.c_str());
    TryReading("S-1-" + std::string(bytes.c_str()));
    TryWriting(data, size);
    return 0;
}
