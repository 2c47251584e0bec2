#include "files/file_type.h"

#include "support/ascii.h"

namespace kiv {
namespace {

struct TypeOfExtension {
    std::string_view extension;
    std::uint32_t type;
};

// "tlb" has no dot, so it never matches and a type library is of the last kind: callers rely on it.
constexpr TypeOfExtension kTypes[] = {
    {".exe", 0}, {".dll", 1}, {".ocx", 1}, {".cpl", 1}, {"tlb", 2}, {".ttf", 3}, {".ttc", 3}, {".fon", 4}, {".reg", 5},
};
constexpr std::uint32_t kOtherType = 6;

}  // namespace

std::string_view ExtensionOf(std::string_view path) noexcept {
    const std::size_t at = path.find_last_of("./\\");
    return at == std::string_view::npos || path[at] != '.' ? std::string_view() : path.substr(at);
}

std::uint32_t FileTypeOf(std::string_view path) noexcept {
    const std::string_view extension = ExtensionOf(path);
    for (const TypeOfExtension& known : kTypes) {
        if (EqualsIgnoreCase(extension, known.extension))
            return known.type;
    }
    return kOtherType;
}

}  // namespace kiv
