#include "support/redirected_key.h"

#include <cstring>

#include "support/check.h"

namespace kiv::test {
namespace {

// Whatever a test has made goes: names that no code page shows, links, elements beside some that stay.
bool DeleteTree(HKEY parent, const wchar_t* name) {
    HKEY key;
    if (::RegOpenKeyExW(parent, name, REG_OPTION_OPEN_LINK, KEY_ALL_ACCESS, &key) != ERROR_SUCCESS)
        return false;
    wchar_t child[256];
    DWORD length = 256;
    for (DWORD left = 0; ::RegEnumKeyExW(key, left, child, &length, nullptr, nullptr, nullptr, nullptr) == 0;) {
        // A name that begins with a NUL would open the key itself.
        if (child[0] == L'\0' || !DeleteTree(key, child))
            ++left;
        length = 256;
    }
    const auto deleteKey = reinterpret_cast<LONG(WINAPI*)(HANDLE)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "NtDeleteKey")));
    const bool deleted = deleteKey(key) == 0;
    ::RegCloseKey(key);
    return deleted;
}

}  // namespace

ScratchKey::ScratchKey() {
    static unsigned counter = 0;
    const std::string subkey =
        "Software\\tavkivut-test-" + std::to_string(::GetCurrentProcessId()) + "-" + std::to_string(++counter);
    DeleteKeyTree(HKEY_CURRENT_USER, subkey.c_str());  // what a crashed run with the same id left
    REQUIRE(::RegCreateKeyExA(HKEY_CURRENT_USER, subkey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_key,
                              nullptr) == ERROR_SUCCESS);
    m_path = "HKCU\\" + subkey;
}

ScratchKey::~ScratchKey() {
    ::RegCloseKey(m_key);
    DeleteKeyTree(HKEY_CURRENT_USER, m_path.c_str() + sizeof "HKCU");
}

RedirectedKey::RedirectedKey(HKEY root) : m_root(root) {
    REQUIRE(::RegOverridePredefKey(root, m_scratch.Handle()) == ERROR_SUCCESS);
}

RedirectedKey::~RedirectedKey() {
    ::RegOverridePredefKey(m_root, nullptr);
}

void DeleteKeyTree(HKEY parent, const char* name) {
    DeleteTree(parent, std::wstring(name, name + std::strlen(name)).c_str());
}

}  // namespace kiv::test
