#ifndef KIV_TESTS_SUPPORT_VERSION_BLOCK_H
#define KIV_TESTS_SUPPORT_VERSION_BLOCK_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tavkivut/file.h"

namespace kiv::test {

// A node of a version resource to be written, truthful unless told what to claim.
struct VersionNode {
    std::string key;
    std::string value;  // bytes, or ASCII text that is widened and terminated
    bool isText = false;
    std::vector<VersionNode> children{};
    std::optional<std::uint16_t> claimedLength{};
    std::optional<std::uint16_t> claimedValueLength{};
};

enum class VersionShape { kWide, kNarrow };  // of a 32-bit and a 16-bit module

std::string VersionBlock(const VersionNode& root, VersionShape shape = VersionShape::kWide);

struct StringTable {
    std::uint16_t language;
    std::uint16_t codePage;
    std::vector<std::pair<std::string, std::string>> strings;
};

// The usual resource: fixed information, a table of strings for each language, the list of languages.
VersionNode StandardVersion(FILE_VERSION version, const std::vector<StringTable>& tables);

// The fixed information alone; the product version is another one.
std::string FixedInformation(FILE_VERSION version);

// The smallest 32-bit module with that version resource, as the bytes of a file. `treeOffset`, when given, is written
// in place of the first offset of the resource tree.
std::string ModuleWithVersion(std::string_view block, std::optional<std::uint32_t> treeOffset = std::nullopt);

}  // namespace kiv::test

#endif
