#include "support/registry_data.h"

#include "support/check.h"
#include "support/scoped_resource.h"

namespace kiv::test {
namespace {

constexpr const char* kLinkValue = "SymbolicLinkValue";

using EnumerateCall = LONG (*)(HKEY key, DWORD index, char* name, DWORD* length);

std::vector<std::string> Names(HKEY key, EnumerateCall enumerate) {
    std::vector<std::string> names;
    char name[256];
    DWORD length = sizeof name;
    for (DWORD i = 0; enumerate(key, i, name, &length) == ERROR_SUCCESS; ++i, length = sizeof name)
        names.emplace_back(name);
    return names;
}

// The path of a key for the native calls: "\Registry\User\...". Taken from the key itself.
std::wstring NativePath(HKEY key) {
    const auto query = reinterpret_cast<LONG(WINAPI*)(HANDLE, int, void*, ULONG, ULONG*)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "NtQueryKey")));
    constexpr int kKeyNameInformation = 3;
    struct {
        ULONG length;
        wchar_t text[2048];
    } name;
    ULONG size = 0;
    REQUIRE(query(key, kKeyNameInformation, &name, sizeof name, &size) == 0);
    return {name.text, name.length / sizeof(wchar_t)};
}

}  // namespace

void CreateSubkey(HKEY parent, const std::string& path) {
    HKEY key;
    REQUIRE(::RegCreateKeyExA(parent, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) == 0);
    ::RegCloseKey(key);
}

bool HasSubkey(HKEY parent, const std::string& path) {
    ScopedRegistryKey key;
    return ::RegOpenKeyExA(parent, path.c_str(), 0, KEY_READ, key.Receive()) == ERROR_SUCCESS;
}

std::vector<std::string> SubkeyNames(HKEY key) {
    return Names(key, [](HKEY walked, DWORD index, char* name, DWORD* length) {
        return ::RegEnumKeyExA(walked, index, name, length, nullptr, nullptr, nullptr, nullptr);
    });
}

std::vector<std::string> ValueNames(HKEY key) {
    return Names(key, [](HKEY walked, DWORD index, char* name, DWORD* length) {
        return ::RegEnumValueA(walked, index, name, length, nullptr, nullptr, nullptr, nullptr);
    });
}

void SetData(HKEY key, const char* name, DWORD type, std::string_view bytes) {
    // A terminator that stands right behind the bytes of a text would be stored too.
    const std::string guarded = std::string(bytes) + "x";
    REQUIRE(::RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(guarded.data()),
                             static_cast<DWORD>(bytes.size())) == ERROR_SUCCESS);
}

void SetText(HKEY key, const char* name, const std::string& text) {
    SetData(key, name, REG_SZ, {text.c_str(), text.size() + 1});
}

std::string Data(HKEY key, const char* name) {
    DWORD type = 0;
    DWORD size = 0;
    if (::RegQueryValueExA(key, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS)
        return {};
    std::string bytes(size, '\0');
    REQUIRE(::RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(bytes.data()), &size) == 0);
    return std::to_string(type) + ":" + bytes;
}

void CreateLink(HKEY parent, const std::string& name, HKEY target) {
    ScopedRegistryKey link;
    REQUIRE(::RegCreateKeyExA(parent, name.c_str(), 0, nullptr, REG_OPTION_CREATE_LINK, KEY_ALL_ACCESS, nullptr,
                              link.Receive(), nullptr) == ERROR_SUCCESS);
    const std::wstring path = NativePath(target);
    REQUIRE(::RegSetValueExW(link.Get(), L"SymbolicLinkValue", 0, REG_LINK, reinterpret_cast<const BYTE*>(path.data()),
                             static_cast<DWORD>(path.size() * sizeof(wchar_t))) == ERROR_SUCCESS);
}

bool HasLink(HKEY parent, const std::string& name) {
    ScopedRegistryKey key;
    DWORD type = 0;
    return ::RegOpenKeyExA(parent, name.c_str(), REG_OPTION_OPEN_LINK, KEY_READ, key.Receive()) == ERROR_SUCCESS &&
           ::RegQueryValueExA(key.Get(), kLinkValue, nullptr, &type, nullptr, nullptr) == ERROR_SUCCESS &&
           type == REG_LINK;
}

LockedSubkey::LockedSubkey(HKEY parent, const std::string& name) {
    REQUIRE(::RegOpenKeyExA(parent, name.c_str(), 0, READ_CONTROL | WRITE_DAC, &m_key) == ERROR_SUCCESS);
    DWORD size = sizeof m_unlocked;
    REQUIRE(::RegGetKeySecurity(m_key, DACL_SECURITY_INFORMATION, m_unlocked, &size) == ERROR_SUCCESS);
    ACL empty;
    REQUIRE(::InitializeAcl(&empty, sizeof empty, ACL_REVISION));
    SECURITY_DESCRIPTOR descriptor;
    ::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    ::SetSecurityDescriptorDacl(&descriptor, TRUE, &empty, FALSE);
    REQUIRE(::RegSetKeySecurity(m_key, DACL_SECURITY_INFORMATION, &descriptor) == ERROR_SUCCESS);
}

LockedSubkey::~LockedSubkey() {
    ::RegSetKeySecurity(m_key, DACL_SECURITY_INFORMATION, m_unlocked);
    ::RegCloseKey(m_key);
}

}  // namespace kiv::test
