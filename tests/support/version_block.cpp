#include "support/version_block.h"

#include <cstdio>

namespace kiv::test {
namespace {

void Put16(std::string& bytes, unsigned value) {
    bytes += static_cast<char>(value & 0xFF);
    bytes += static_cast<char>(value >> 8 & 0xFF);
}

void Put32(std::string& bytes, std::uint32_t value) {
    Put16(bytes, value & 0xFFFF);
    Put16(bytes, value >> 16);
}

void Set16(std::string& bytes, std::size_t at, unsigned value) {
    bytes[at] = static_cast<char>(value & 0xFF);
    bytes[at + 1] = static_cast<char>(value >> 8 & 0xFF);
}

void Align(std::string& bytes) {
    bytes.resize((bytes.size() + 3) & ~std::size_t{3});
}

void PutText(std::string& bytes, std::string_view text, VersionShape shape) {
    for (const char c : std::string(text) + '\0') {
        bytes += c;
        if (shape == VersionShape::kWide)
            bytes += '\0';
    }
}

void PutNode(std::string& bytes, const VersionNode& node, VersionShape shape) {
    Align(bytes);
    const std::size_t start = bytes.size();
    Put32(bytes, 0);
    if (shape == VersionShape::kWide)
        Put16(bytes, node.isText ? 1 : 0);
    PutText(bytes, node.key, shape);
    Align(bytes);
    const std::size_t value = bytes.size();
    if (node.isText)
        PutText(bytes, node.value, shape);
    else
        bytes += node.value;
    const std::size_t unit = node.isText && shape == VersionShape::kWide ? 2 : 1;
    const std::size_t valueLength = (bytes.size() - value) / unit;
    for (const VersionNode& child : node.children)
        PutNode(bytes, child, shape);
    Set16(bytes, start, node.claimedLength.value_or(static_cast<std::uint16_t>(bytes.size() - start)));
    Set16(bytes, start + 2, node.claimedValueLength.value_or(static_cast<std::uint16_t>(valueLength)));
}

}  // namespace

std::string VersionBlock(const VersionNode& root, VersionShape shape) {
    std::string bytes;
    PutNode(bytes, root, shape);
    return bytes;
}

std::string FixedInformation(FILE_VERSION version) {
    std::string bytes;
    Put32(bytes, 0xFEEF04BD);
    Put32(bytes, 0x10000);
    for (const unsigned part : {version.Minor, version.Major, version.Revision, version.Build})
        Put16(bytes, part);
    for (const unsigned part : {77, 88, 99, 66})  // product version
        Put16(bytes, part);
    bytes.resize(52);
    return bytes;
}

VersionNode StandardVersion(FILE_VERSION version, const std::vector<StringTable>& tables) {
    VersionNode strings{"StringFileInfo", ""};
    VersionNode translation{"Translation", ""};
    for (const StringTable& table : tables) {
        char key[9];
        std::snprintf(key, sizeof key, "%04X%04X", table.language, table.codePage);
        VersionNode node{key, ""};
        for (const auto& [name, text] : table.strings)
            node.children.push_back({name, text, true});
        strings.children.push_back(node);
        Put16(translation.value, table.language);
        Put16(translation.value, table.codePage);
    }
    return {"VS_VERSION_INFO", FixedInformation(version), false, {strings, {"VarFileInfo", "", false, {translation}}}};
}

std::string ModuleWithVersion(std::string_view block, std::optional<std::uint32_t> treeOffset) {
    constexpr std::uint32_t kHeaders = 0x200;
    constexpr std::uint32_t kSectionAddress = 0x1000;
    constexpr std::uint32_t kTree = 3 * 24 + 16;  // three levels with one entry each, then the data entry
    constexpr std::uint32_t kSubfolder = 0x80000000;

    std::string tree;
    for (const std::uint32_t level : {0U, 1U, 2U}) {
        Put32(tree, 0);
        Put32(tree, 0);
        Put32(tree, 0);
        Put32(tree, 0x10000);                  // no entry by name, one by number
        Put32(tree, level == 0 ? 16 : level);  // the type of version resources, resource 1, a language
        const std::uint32_t next = level == 2 ? 3 * 24 : kSubfolder | (level + 1) * 24;
        Put32(tree, level == 0 && treeOffset ? *treeOffset : next);
    }
    Put32(tree, kSectionAddress + kTree);
    Put32(tree, static_cast<std::uint32_t>(block.size()));
    Put32(tree, 0);
    Put32(tree, 0);
    tree += block;
    const auto size = static_cast<std::uint32_t>((tree.size() + 0x1FF) & ~std::size_t{0x1FF});
    tree.resize(size);

    std::string file = "MZ";
    file.resize(0x3C);
    Put32(file, 0x40);
    file += std::string("PE\0\0", 4);
    Put16(file, 0x14C);
    Put16(file, 1);  // sections
    Put32(file, 0);
    Put32(file, 0);
    Put32(file, 0);
    Put16(file, 224);
    Put16(file, 0x210E);  // a 32-bit DLL
    const std::size_t optional = file.size();
    Put16(file, 0x10B);
    file.resize(optional + 28);
    for (const std::uint32_t field :
         {0x10000000U, 0x1000U, 0x200U, 4U, 0U, 4U, 0U, kSectionAddress + 0x20000U, kHeaders})
        Put32(file, field);
    file.resize(optional + 68);
    Put16(file, 2);  // subsystem
    file.resize(optional + 92);
    Put32(file, 16);
    Put32(file, 0);  // exports
    Put32(file, 0);
    Put32(file, 0);  // imports
    Put32(file, 0);
    Put32(file, kSectionAddress);
    Put32(file, size);
    file.resize(optional + 224);
    file += std::string(".rsrc\0\0\0", 8);
    for (const std::uint32_t field : {size, kSectionAddress, size, kHeaders, 0U, 0U, 0U, 0x40000040U})
        Put32(file, field);
    file.resize(kHeaders);
    return file + tree;
}

}  // namespace kiv::test
