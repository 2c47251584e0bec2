#ifndef KIV_FILES_VERSION_RESOURCE_H
#define KIV_FILES_VERSION_RESOURCE_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "tavkivut/file.h"

namespace kiv {

// A version resource as the system reads it from a file: a tree of nodes, each with a key, a value and children. Its
// lengths come from the file and are believed only as far as the node around them reaches; nothing outside the block is
// ever read. `Char` is the unit of its texts: char16_t in a 32-bit module, char (system code page) in a 16-bit one,
// whose nodes have one field less.
//
// A node is named by the keys that lead to it from the root, compared without regard to ASCII case; no key is the root.
template <class Char>
class VersionResource {
public:
    using Text = std::basic_string<Char>;
    using TextView = std::basic_string_view<Char>;
    using Keys = std::initializer_list<TextView>;

    explicit VersionResource(std::string_view block) noexcept : m_block(block) {}

    // The value of a node, cut where the node ends; nothing when there is no such node.
    std::optional<std::string_view> FindValue(Keys keys) const noexcept;

    // The text of a node, up to its NUL or the end of the node: the length of a text counts characters in some files
    // and bytes in others, so it only tells whether there is one at all.
    std::optional<Text> FindText(Keys keys) const;

private:
    struct Node {
        std::size_t key;
        std::size_t keyLength;  // in units
        std::size_t value;
        std::size_t valueSize;  // in bytes, inside the node
        std::size_t end;        // of the node and all below it
        std::size_t next;       // where the next sibling begins
    };

    std::optional<Node> NodeAt(std::size_t offset, std::size_t limit) const noexcept;
    std::optional<Node> FindChild(const Node& parent, TextView key) const noexcept;
    std::optional<Node> FindNode(Keys keys) const noexcept;
    bool HasKey(const Node& node, TextView key) const noexcept;
    Char UnitAt(std::size_t offset) const noexcept;

    std::string_view m_block;
};

extern template class VersionResource<char>;
extern template class VersionResource<char16_t>;

// Whether the block is that of a 16-bit module: where a 32-bit one has a small number, its root's key begins.
bool IsNarrowVersionBlock(std::string_view block) noexcept;

// The file version in the value of a root node; nothing when it is too short or does not carry the signature.
std::optional<FILE_VERSION> FixedFileVersion(std::string_view rootValue) noexcept;

struct VersionTranslation {
    std::uint16_t language;
    std::uint16_t codePage;
};

// The entry of that index in the value of "\VarFileInfo\Translation"; an incomplete last entry is none.
std::optional<VersionTranslation> TranslationAt(std::string_view value, std::size_t index) noexcept;

}  // namespace kiv

#endif
