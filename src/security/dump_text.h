#ifndef KIV_SECURITY_DUMP_TEXT_H
#define KIV_SECURITY_DUMP_TEXT_H

#include <cstdint>

#include "support/log.h"

namespace kiv {

// What the dumps of tokens and lists have in common.

// The rule above and below a dump: 79 signs.
constexpr const char* kDumpRule = "===============================================================================";

// A name or text that is missing is shown as nothing.
constexpr const char* DumpText(const char* text) noexcept {
    return text != nullptr ? text : "";
}

// A handle or address as the dumps show it, 32 bits wide.
inline unsigned DumpAddress(const void* address) noexcept {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address));
}

}  // namespace kiv

#endif
