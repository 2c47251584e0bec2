#include "files/cab_name.h"

#include "files/path_text.h"
#include "support/ascii.h"

namespace kiv {
namespace {

constexpr std::string_view kDevices[] = {"CON", "PRN", "AUX", "NUL", "CLOCK$", "CONFIG$", "CONIN$", "CONOUT$"};
constexpr std::string_view kNumberedDevices[] = {"COM", "LPT"};

// Newer systems take the superscripts one, two and three of code page 1252 for the digits.
bool IsPortNumber(char c) noexcept {
    return (c >= '1' && c <= '9') || c == '\xB9' || c == '\xB2' || c == '\xB3';
}

bool IsDevice(std::string_view part) noexcept {
    part = part.substr(0, part.find('.'));
    while (!part.empty() && part.back() == ' ')
        part.remove_suffix(1);
    for (const std::string_view device : kDevices) {
        if (EqualsIgnoreCase(part, device))
            return true;
    }
    for (const std::string_view device : kNumberedDevices) {
        if (part.size() == device.size() + 1 && StartsWithIgnoreCase(part, device) && IsPortNumber(part.back()))
            return true;
    }
    return false;
}

// What no name of a file holds, separators aside.
bool IsForbidden(char c) noexcept {
    return static_cast<unsigned char>(c) < ' ' || std::string_view(":*?\"<>|").find(c) != std::string_view::npos;
}

bool IsSafePart(std::string_view part) noexcept {
    return !part.empty() && part.back() != '.' && part.back() != ' ' && !IsDevice(part);
}

constexpr unsigned char kFirstTrailByte = 0x40;  // in every two-byte code page

// The bytes of the character at `at`. A lead byte that no second byte of a character follows stands alone, so that it
// cannot hide what comes behind it.
std::size_t SizeOfCharacter(std::string_view name, std::size_t at, LeadByteTest isLead) noexcept {
    const bool pair = isLead(static_cast<unsigned char>(name[at])) && at + 1 < name.size() &&
                      static_cast<unsigned char>(name[at + 1]) >= kFirstTrailByte;
    return pair ? 2 : 1;
}

}  // namespace

std::string_view NameInArchive(std::string_view file, std::string_view basePath, LeadByteTest isLead) noexcept {
    if (basePath.empty() || !StartsWithIgnoreCase(file, basePath)) {
        const std::size_t backslash = LastBackslash(file, isLead);
        return backslash == std::string_view::npos ? file : file.substr(backslash + 1);
    }
    file.remove_prefix(basePath.size());
    if (!file.empty() && file.front() == '\\')
        file.remove_prefix(1);
    return file;
}

bool IsSafeStoredName(std::string_view name, LeadByteTest isLead) noexcept {
    std::size_t part = 0;
    for (std::size_t at = 0; at < name.size();) {
        const std::size_t size = SizeOfCharacter(name, at, isLead);
        if (size == 1 && IsForbidden(name[at]))
            return false;
        if (size == 1 && IsPathSeparator(name[at])) {
            if (!IsSafePart(name.substr(part, at - part)))
                return false;
            part = at + 1;
        }
        at += size;
    }
    return IsSafePart(name.substr(part));
}

bool IsContinuationName(std::string_view name) noexcept {
    constexpr std::string_view kBegin = "tavcab";
    constexpr std::string_view kEnd = ".tmp";
    return name.size() == kBegin.size() + 2 + kEnd.size() && StartsWithIgnoreCase(name, kBegin) &&
           EqualsIgnoreCase(name.substr(kBegin.size() + 2), kEnd);
}

}  // namespace kiv
