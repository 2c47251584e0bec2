#include "support/registry_data.h"

#include "support/check.h"
#include "support/scoped_resource.h"
#include "support/sddl_text.h"
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

LockedSubkey::LockedSubkey(HKEY parent, const std::string& name) : m_key(OpenSubkey(parent, name)) {
    REQUIRE(::RegSetKeySecurity(m_key, DACL_SECURITY_INFORMATION, SystemDescriptor("D:").Get()) == ERROR_SUCCESS);
}

LockedSubkey::~LockedSubkey() {
    ::RegSetKeySecurity(m_key, DACL_SECURITY_INFORMATION, SystemDescriptor("D:(A;;KA;;;WD)").Get());
    ::RegCloseKey(m_key);
}

std::string ThisComputer() {
    char name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = sizeof name;
    REQUIRE(::GetComputerNameA(name, &length));
    return name;
}

}  // namespace kiv::test
