#include <string>

#include "registry/key_path.h"
#include "registry/value_text.h"
#include "require.h"

namespace {

bool JapaneseLeadByte(unsigned char byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    // The canonical form of a path is canonical, and means the same key.
    const std::string canonical = kiv::CanonicalKeyPath(text);
    Require(kiv::CanonicalKeyPath(canonical) == canonical);
    Require(kiv::ParseKeyPath(canonical).root == kiv::ParseKeyPath(text).root);
    Require(kiv::ParseKeyPath(canonical).subkey == kiv::ParseKeyPath(text).subkey);
    Require(canonical.size() <= size + 23);

    // Parent and name make the path again.
    const std::string_view parent = kiv::ParentKeyPath(text, JapaneseLeadByte);
    const std::string_view name = kiv::KeyName(text, JapaneseLeadByte);
    Require(name.size() == size || (parent.size() + 1 + name.size() == size && text[parent.size()] == '\\'));

    // Cutting a path into pieces comes to an end and loses nothing but the backslashes between them.
    std::string_view rest = text;
    for (std::size_t end; (end = kiv::PieceEnd(rest, 16, JapaneseLeadByte)) != std::string_view::npos;) {
        Require(rest[end] == '\\');
        rest.remove_prefix(end + 1);
    }
    Require(text.substr(size - rest.size()) == rest);

    for (const std::string_view item : kiv::SplitMultiSz(text))
        Require(LiesIn(item, text));
    kiv::NumberFromText(text);
    return 0;
}
