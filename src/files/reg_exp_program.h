#ifndef KIV_FILES_REG_EXP_PROGRAM_H
#define KIV_FILES_REG_EXP_PROGRAM_H

#include <cstddef>
#include <cstdint>

#include "tavkivut/reg_exp.h"

namespace kiv {

// The nodes of a compiled regular expression, as tavkivut/reg_exp.h describes them.

constexpr std::ptrdiff_t kNodeSize = 3;
constexpr int kGroupSlots = 10;  // the whole match and nine groups

inline int NodeOp(const char* node) noexcept {
    return static_cast<unsigned char>(node[0]);
}

inline const char* NodeOperand(const char* node) noexcept {
    return node + kNodeSize;
}

inline std::int16_t NodeDistance(const char* node) noexcept {
    return static_cast<std::int16_t>(static_cast<unsigned char>(node[1]) | static_cast<unsigned char>(node[2]) << 8);
}

inline void SetNodeDistance(char* node, std::ptrdiff_t distance) noexcept {
    node[1] = static_cast<char>(distance & 0xFF);
    node[2] = static_cast<char>(distance >> 8 & 0xFF);
}

// Null when the node has no next one.
inline const char* NextNode(const char* node) noexcept {
    const std::int16_t distance = NodeDistance(node);
    if (distance == 0)
        return nullptr;
    return NodeOp(node) == CRegExp::OP_BACK ? node - distance : node + distance;
}

}  // namespace kiv

#endif
