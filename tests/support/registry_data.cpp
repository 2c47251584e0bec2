#include "support/registry_data.h"

#include "support/check.h"
#include "support/scoped_resource.h"
#include "support/this_release.h"

namespace kiv::test {
namespace {

template <class Enumerate>
Names NamesFrom(HKEY key, const Enumerate& enumerate) {
    Names names;
    char name[256];
    DWORD length = sizeof name;
    for (; enumerate(key, static_cast<DWORD>(names.size()), name, &length, nullptr, nullptr, nullptr, nullptr) == 0;
         length = sizeof name)
        names.emplace_back(name);
    return names;
}

// The path of a key for the native calls: "\Registry\User\...".
std::wstring NativePath(HKEY key) {
    const auto query = reinterpret_cast<LONG(WINAPI*)(HANDLE, int, void*, ULONG, ULONG*)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "NtQueryKey")));
    struct {
        ULONG length;
        wchar_t text[2048];
    } name;
    ULONG size = 0;
    REQUIRE(query(key, 3 /* KeyNameInformation */, &name, sizeof name, &size) == 0);
    return {name.text, name.length / sizeof(wchar_t)};
}

}  // namespace

void CreateSubkeys(HKEY parent, const Names& paths) {
    for (const std::string& path : paths) {
        ScopedRegistryKey key;
        REQUIRE(::RegCreateKeyA(parent, path.c_str(), key.Receive()) == ERROR_SUCCESS);
    }
}

HKEY OpenSubkey(HKEY parent, const std::string& path, REGSAM access) {
    HKEY key = nullptr;
    return ::RegOpenKeyExA(parent, path.c_str(), 0, access, &key) == ERROR_SUCCESS ? key : nullptr;
}

bool HasSubkey(HKEY parent, const std::string& path) {
    return static_cast<bool>(ScopedRegistryKey(OpenSubkey(parent, path)));
}

Names SubkeyNames(HKEY key) {
    return NamesFrom(key, ::RegEnumKeyExA);
}

Names ValueNames(HKEY key) {
    return NamesFrom(key, ::RegEnumValueA);
}

void SetData(HKEY key, const char* name, DWORD type, std::string_view bytes, const std::string& subkey) {
    ScopedRegistryKey below;
    if (!subkey.empty())
        REQUIRE(::RegCreateKeyA(key, subkey.c_str(), below.Receive()) == ERROR_SUCCESS);
    // The NT family would store a terminator that stands right behind a text too, the 9x family counts up to it.
    const std::string guarded = std::string(bytes) + (ThisReleaseIs9x() ? "" : "x");
    REQUIRE(::RegSetValueExA(below ? below.Get() : key, name, 0, type, reinterpret_cast<const BYTE*>(guarded.data()),
                             static_cast<DWORD>(bytes.size())) == ERROR_SUCCESS);
}

void SetText(HKEY key, const char* name, const std::string& text, const std::string& subkey) {
    SetData(key, name, REG_SZ, {text.c_str(), text.size() + 1}, subkey);
}

void SetNumber(HKEY key, const char* name, DWORD number, const std::string& subkey) {
    SetData(key, name, REG_DWORD, {reinterpret_cast<const char*>(&number), sizeof number}, subkey);
}

std::string Data(HKEY key, const char* name, const std::string& subkey) {
    const ScopedRegistryKey opened(OpenSubkey(key, subkey, KEY_QUERY_VALUE));
    DWORD type = 0;
    std::string bytes(4096, '\0');
    DWORD size = 4096;
    if (::RegQueryValueExA(opened.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(bytes.data()), &size) !=
        ERROR_SUCCESS)
        return {};
    return std::to_string(type) + ":" + bytes.substr(0, size);
}

std::string ShownData(HKEY key, const char* name, const std::string& subkey) {
    const std::string data = Data(key, name, subkey);
    if (data.compare(0, 2, "4:") != 0)
        return data.c_str();
    DWORD number;
    ::memcpy(&number, data.data() + 2, sizeof number);
    return "4:" + std::to_string(number);
}

void CreateElements(HKEY key, const std::wstring& names) {
    for (const wchar_t c : names) {
        const wchar_t name[] = {c, L'\0'};
        ScopedRegistryKey subkey;
        REQUIRE(::RegCreateKeyW(key, name, subkey.Receive()) == ERROR_SUCCESS);
        REQUIRE(::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(name), 4) == ERROR_SUCCESS);
    }
}

void CreateLink(HKEY parent, const std::string& name, HKEY target) {
    ScopedRegistryKey link;
    REQUIRE(::RegCreateKeyExA(parent, name.c_str(), 0, nullptr, REG_OPTION_CREATE_LINK, KEY_ALL_ACCESS, nullptr,
                              link.Receive(), nullptr) == ERROR_SUCCESS);
    const std::wstring path = NativePath(target);
    REQUIRE(::RegSetValueExW(link.Get(), L"SymbolicLinkValue", 0, REG_LINK, reinterpret_cast<const BYTE*>(path.data()),
                             static_cast<DWORD>(path.size() * sizeof(wchar_t))) == ERROR_SUCCESS);
}

LockedSubkey::LockedSubkey(HKEY parent, const std::string& name) {
    REQUIRE(::RegOpenKeyExA(parent, name.c_str(), 0, READ_CONTROL | WRITE_DAC, &m_key) == ERROR_SUCCESS);
    DWORD size = sizeof m_unlocked;
    REQUIRE(::RegGetKeySecurity(m_key, DACL_SECURITY_INFORMATION, m_unlocked, &size) == ERROR_SUCCESS);
    ACL empty;
    SECURITY_DESCRIPTOR descriptor;
    REQUIRE(::InitializeAcl(&empty, sizeof empty, ACL_REVISION));
    ::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    ::SetSecurityDescriptorDacl(&descriptor, TRUE, &empty, FALSE);
    REQUIRE(::RegSetKeySecurity(m_key, DACL_SECURITY_INFORMATION, &descriptor) == ERROR_SUCCESS);
}

LockedSubkey::~LockedSubkey() {
    ::RegSetKeySecurity(m_key, DACL_SECURITY_INFORMATION, m_unlocked);
    ::RegCloseKey(m_key);
}

std::string ThisComputer() {
    char name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = sizeof name;
    REQUIRE(::GetComputerNameA(name, &length));
    return name;
}

}  // namespace kiv::test
