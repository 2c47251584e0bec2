#include "files/version_resource.h"

#include <algorithm>
#include <type_traits>

#include "support/ascii.h"
#include "support/little_endian.h"

namespace kiv {
namespace {

// A node: its length with all below it, the length of its value, in 32-bit modules the type of the value (1 for text,
// counted in units then), the key with its NUL; then, each at a multiple of 4, the value and the children.
constexpr std::size_t kLengthField = 0;
constexpr std::size_t kValueLengthField = 2;
constexpr std::size_t kTypeField = 4;

template <class Char>
constexpr bool kIsWide = std::is_same_v<Char, char16_t>;
template <class Char>
constexpr std::size_t kKeyField = kIsWide<Char> ? 6 : 4;

// Of the fixed information in the root's value.
constexpr std::uint32_t kFixedSignature = 0xFEEF04BD;
constexpr std::size_t kFixedFileVersion = 8;
constexpr std::size_t kFixedNeeded = 16;

constexpr std::size_t AlignUp(std::size_t offset) noexcept {
    return (offset + 3) & ~std::size_t{3};
}

template <class Char>
constexpr Char ToLowerUnit(Char unit) noexcept {
    return unit < 0x80 && unit > 0 ? static_cast<Char>(ToLower(static_cast<char>(unit))) : unit;
}

}  // namespace

template <class Char>
Char VersionResource<Char>::UnitAt(std::size_t offset) const noexcept {
    if constexpr (kIsWide<Char>)
        return static_cast<Char>(Read16(&m_block[offset]));
    else
        return m_block[offset];
}

template <class Char>
std::optional<typename VersionResource<Char>::Node> VersionResource<Char>::NodeAt(std::size_t offset,
                                                                                  std::size_t limit) const noexcept {
    if (offset >= limit || limit - offset < kKeyField<Char>)
        return std::nullopt;
    const std::size_t length = Read16(&m_block[offset + kLengthField]);
    if (length < kKeyField<Char>)  // 0 also ends a list of children
        return std::nullopt;

    Node node{};
    node.end = std::min(offset + length, limit);
    node.next = AlignUp(offset + length);
    node.key = offset + kKeyField<Char>;
    std::size_t at = node.key;
    while (at + sizeof(Char) <= node.end && UnitAt(at) != 0)
        at += sizeof(Char);
    if (at + sizeof(Char) > node.end)  // a key without its NUL
        return std::nullopt;
    node.keyLength = (at - node.key) / sizeof(Char);

    std::size_t valueSize = Read16(&m_block[offset + kValueLengthField]);
    if (kIsWide<Char> && Read16(&m_block[offset + kTypeField]) != 0)
        valueSize *= sizeof(Char);
    node.value = std::min(AlignUp(at + sizeof(Char)), node.end);
    node.valueSize = std::min(valueSize, node.end - node.value);
    return node;
}

template <class Char>
bool VersionResource<Char>::HasKey(const Node& node, TextView key) const noexcept {
    if (node.keyLength != key.size())
        return false;
    for (std::size_t i = 0; i < key.size(); ++i) {
        if (ToLowerUnit(UnitAt(node.key + i * sizeof(Char))) != ToLowerUnit(key[i]))
            return false;
    }
    return true;
}

template <class Char>
std::optional<typename VersionResource<Char>::Node> VersionResource<Char>::FindChild(const Node& parent,
                                                                                     TextView key) const noexcept {
    std::optional<Node> child = NodeAt(AlignUp(parent.value + parent.valueSize), parent.end);
    while (child && !HasKey(*child, key))
        child = NodeAt(child->next, parent.end);
    return child;
}

template <class Char>
std::optional<typename VersionResource<Char>::Node> VersionResource<Char>::FindNode(Keys keys) const noexcept {
    std::optional<Node> node = NodeAt(0, m_block.size());
    for (const TextView key : keys) {
        if (node)
            node = FindChild(*node, key);
    }
    return node;
}

template <class Char>
std::optional<std::string_view> VersionResource<Char>::FindValue(Keys keys) const noexcept {
    const std::optional<Node> node = FindNode(keys);
    if (!node)
        return std::nullopt;
    return m_block.substr(node->value, node->valueSize);
}

template <class Char>
std::optional<typename VersionResource<Char>::Text> VersionResource<Char>::FindText(Keys keys) const {
    const std::optional<Node> node = FindNode(keys);
    if (!node)
        return std::nullopt;
    Text text;
    if (node->valueSize == 0)
        return text;
    for (std::size_t at = node->value; at + sizeof(Char) <= node->end; at += sizeof(Char)) {
        const Char unit = UnitAt(at);
        if (unit == 0)
            break;
        text += unit;
    }
    return text;
}

template class VersionResource<char>;
template class VersionResource<char16_t>;

bool IsNarrowVersionBlock(std::string_view block) noexcept {
    return block.size() > kTypeField && static_cast<unsigned char>(block[kTypeField]) >= ' ';
}

std::optional<FILE_VERSION> FixedFileVersion(std::string_view rootValue) noexcept {
    if (rootValue.size() < kFixedNeeded)
        return std::nullopt;
    if (Read32(&rootValue[0]) != kFixedSignature)
        return std::nullopt;
    // Two double words, the most significant one first; in each the low word comes first.
    return FILE_VERSION{Read16(&rootValue[kFixedFileVersion + 2]), Read16(&rootValue[kFixedFileVersion]),
                        Read16(&rootValue[kFixedFileVersion + 6]), Read16(&rootValue[kFixedFileVersion + 4])};
}

std::optional<VersionTranslation> TranslationAt(std::string_view value, std::size_t index) noexcept {
    if (index >= value.size() / 4)
        return std::nullopt;
    return VersionTranslation{Read16(&value[index * 4]), Read16(&value[index * 4 + 2])};
}

}  // namespace kiv
