#include "registry/key_path.h"

#include "support/ascii.h"

namespace kiv {
namespace {

struct RootName {
    std::string_view name;
    std::string_view shortName;
    std::uint32_t root;
};

// In the order in which a path is compared with them: the first name that it begins with wins.
constexpr RootName kRootNames[] = {
    {"HKLM", "HKLM", 0x80000002U},
    {"HKCU", "HKCU", 0x80000001U},
    {"HKCR", "HKCR", 0x80000000U},
    {"HKU", "HKU", 0x80000003U},
    {"HKPD", "HKPD", 0x80000004U},
    {"HKEY_LOCAL_MACHINE", "HKLM", 0x80000002U},
    {"HKEY_CURRENT_USER", "HKCU", 0x80000001U},
    {"HKEY_CLASSES_ROOT", "HKCR", 0x80000000U},
    {"HKEY_USERS", "HKU", 0x80000003U},
    {"HKEY_PERFORMANCE_DATA", "HKPD", 0x80000004U},
    {"HKCC", "HKCC", 0x80000005U},
    {"HKEY_CURRENT_CONFIG", "HKCC", 0x80000005U},
    {"HKDD", "HKDD", 0x80000006U},
    {"HKEY_DYN_DATA", "HKDD", 0x80000006U},
};

}  // namespace

ParsedKeyPath ParseKeyPath(std::string_view path) noexcept {
    for (const RootName& entry : kRootNames) {
        if (!StartsWithIgnoreCase(path, entry.name))
            continue;
        const std::string_view behindRoot = path.substr(entry.name.size());
        return {entry.root, entry.shortName, behindRoot, behindRoot.substr(behindRoot.empty() ? 0 : 1)};
    }
    return {};
}

std::string CanonicalKeyPath(std::string_view path) {
    const ParsedKeyPath parsed = ParseKeyPath(path);
    return std::string(parsed.shortName).append(parsed.behindRoot);
}

std::string JoinKeyPath(std::string_view parent, std::string_view subkey, LeadByteTest isLead) {
    std::string path(parent);
    if (subkey.empty())
        return path;
    if (parent.empty() || LastBackslash(parent, isLead) != parent.size() - 1)
        path += '\\';
    return path.append(subkey.substr(subkey.front() == '\\' ? 1 : 0));
}

std::string_view KeyName(std::string_view path, LeadByteTest isLead) noexcept {
    const std::size_t last = LastBackslash(path, isLead);
    return last == std::string_view::npos ? path : path.substr(last + 1);
}

std::string_view ParentKeyPath(std::string_view path, LeadByteTest isLead) noexcept {
    const std::size_t last = LastBackslash(path, isLead);
    return path.substr(0, last == std::string_view::npos ? 0 : last);
}

std::string_view WithoutTrailingBackslashes(std::string_view path, LeadByteTest isLead) noexcept {
    std::size_t kept = 0;
    VisitCharacters(path, isLead, [&](std::size_t place, std::size_t length) {
        if (path[place] != '\\')
            kept = place + length;
        return true;
    });
    return path.substr(0, kept);
}

std::size_t PieceEnd(std::string_view subkeys, std::size_t limit, LeadByteTest isLead) noexcept {
    std::size_t end = std::string_view::npos;
    VisitCharacters(subkeys, isLead, [&](std::size_t place, std::size_t) {
        if ((place <= limit || end == std::string_view::npos) && subkeys[place] == '\\')
            end = place;
        return place < limit || end == std::string_view::npos;
    });
    return end;
}

std::string MachineName(std::string_view name) {
    return name.substr(0, 2) == "\\\\" ? std::string(name) : std::string("\\\\").append(name);
}

}  // namespace kiv
