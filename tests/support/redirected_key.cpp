#include "support/redirected_key.h"

#include "support/check.h"

namespace kiv::test {

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
    HKEY key;
    if (::RegOpenKeyExA(parent, name, 0, KEY_ALL_ACCESS, &key) != ERROR_SUCCESS)
        return;
    char child[256];
    DWORD length = sizeof child;
    while (::RegEnumKeyExA(key, 0, child, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
        DeleteKeyTree(key, child);
        length = sizeof child;
    }
    ::RegCloseKey(key);
    ::RegDeleteKeyA(parent, name);
}

}  // namespace kiv::test
