#include "files/cab_error.h"

#include <cstddef>

namespace kiv {
namespace {

// By error number.
constexpr const char* kWritingTexts[] = {
    "No error",
    "Failure opening file to be stored in cabinet",
    "Failure reading file to be stored in cabinet",
    "Insufficient memory in FCI",
    "Could not create a temporary file",
    "Unknown compression type",
    "Could not create cabinet file",
    "Client requested abort",
    "Failure compressing data",
};
constexpr const char* kReadingTexts[] = {
    "No error",
    "Cabinet not found",
    "Not a cabinet",
    "Unknown cabinet version",
    "Corrupt cabinet",
    "Memory allocation failed",
    "Unknown compression type",
    "Failure decompressing data",
    "Failure writing to target file",
    "Cabinets in set have different RESERVE sizes",
    "Cabinet returned on fdintNEXT_CABINET is incorrect",
    "User aborted",
};

template <std::size_t Count>
const char* TextOf(const char* const (&texts)[Count], int code) noexcept {
    return code >= 0 && static_cast<std::size_t>(code) < Count ? texts[code] : "Unknown error";
}

}  // namespace

const char* CabErrorText(int code, bool writing) noexcept {
    return writing ? TextOf(kWritingTexts, code) : TextOf(kReadingTexts, code);
}

}  // namespace kiv
