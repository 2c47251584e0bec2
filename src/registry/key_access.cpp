#include "registry/key_access.h"

#include <algorithm>
#include <string>

#include "registry/key_path.h"
#include "support/code_page.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"

namespace kiv {
namespace {

// The system's calls take subkey paths of up to this length; a longer one fails with ERROR_MORE_DATA.
constexpr std::size_t kLongestSubkeyPath = 259;

struct Opening {
    DWORD options;
    REGSAM access;

    LONG Run(HKEY parent, const char* subkey, HKEY& key) const {
        return ::RegOpenKeyExA(parent, subkey, options, access, &key);
    }
    // A key on the way is opened with whatever is allowed: its path says nothing about rights on it.
    Opening OnTheWay() const { return {0, MAXIMUM_ALLOWED | (access & kViewBits)}; }
};

struct Creation {
    DWORD options;
    REGSAM access;
    SECURITY_ATTRIBUTES* security;

    LONG Run(HKEY parent, const char* subkey, HKEY& key) const {
        DWORD disposition;
        return ::RegCreateKeyExA(parent, subkey, 0, nullptr, options, access, security, &key, &disposition);
    }
    Creation OnTheWay() const {
        return {options & ~static_cast<DWORD>(REG_OPTION_CREATE_LINK), MAXIMUM_ALLOWED | (access & kViewBits),
                security};
    }
};

HKEY PredefinedKey(std::uint32_t number) {
    return reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<std::int32_t>(number)));
}

template <class Call>
LONG RunInPieces(HKEY root, std::string_view subkeys, const Call& call, HKEY& key) {
    ScopedRegistryKey reached;
    while (subkeys.size() > kLongestSubkeyPath) {
        const std::size_t end = PieceEnd(subkeys, kLongestSubkeyPath, IsAnsiLeadByte);
        if (end == std::string_view::npos)
            break;
        HKEY next = nullptr;
        const std::string piece(subkeys.substr(0, end));
        const LONG status = call.OnTheWay().Run(reached ? reached.Get() : root, piece.c_str(), next);
        if (status != ERROR_SUCCESS)
            return status;
        reached.Reset(next);
        subkeys.remove_prefix(std::min(subkeys.find_first_not_of('\\', end), subkeys.size()));
    }
    const std::string last(subkeys);
    return call.Run(reached ? reached.Get() : root, last.c_str(), key);
}

template <class Call>
LONG RunOnPath(const char* machine, const char* path, const Call& call, HKEY& key) {
    key = nullptr;
    const ParsedKeyPath parsed = ParseKeyPath(path);
    if (parsed.root == 0)
        return ERROR_INVALID_HANDLE;
    HKEY root = PredefinedKey(parsed.root);
    ScopedRegistryKey connection;
    if (machine != nullptr) {
        const LONG status = ::RegConnectRegistryA(machine, root, connection.Receive());
        if (status != ERROR_SUCCESS)
            return status;
        root = connection.Get();
    }
    HKEY found = nullptr;
    const LONG status = RunInPieces(root, parsed.subkey, call, found);
    if (status == ERROR_SUCCESS)
        key = found;
    return status;
}

}  // namespace

LONG OpenKeyPath(const char* machine, const char* path, DWORD options, REGSAM access, HKEY& key) noexcept {
    return RunOnPath(machine, path, Opening{options, access}, key);
}

LONG CreateKeyPath(const char* machine, const char* path, DWORD options, REGSAM access, SECURITY_ATTRIBUTES* security,
                   HKEY& key) noexcept {
    return RunOnPath(machine, path, Creation{options, access, security}, key);
}

DWORD LinkOptions() noexcept {
    return IsNtFamily() ? REG_OPTION_OPEN_LINK : 0;
}

bool IsPredefinedKey(HKEY key) noexcept {
    // Sign-extended on 64-bit systems; real handles have none of the upper bits.
    const auto number = reinterpret_cast<LONG_PTR>(key);
    return number >= static_cast<std::int32_t>(0x80000000U) && number < static_cast<std::int32_t>(0x80000100U);
}

HKEY DuplicateKey(HKEY key, BOOL inheritable) noexcept {
    HANDLE duplicate = nullptr;
    const HANDLE process = ::GetCurrentProcess();
    if (!::DuplicateHandle(process, key, process, &duplicate, 0, inheritable, DUPLICATE_SAME_ACCESS))
        return nullptr;
    return static_cast<HKEY>(duplicate);
}

}  // namespace kiv
