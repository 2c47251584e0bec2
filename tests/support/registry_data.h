#ifndef KIV_TESTS_SUPPORT_REGISTRY_DATA_H
#define KIV_TESTS_SUPPORT_REGISTRY_DATA_H

#include <string>
#include <string_view>
#include <vector>

#include "support/windows_api.h"

namespace kiv::test {

// The registry as the system's own calls show it, and data that no well-behaved program would write.

void CreateSubkey(HKEY parent, const std::string& path);
bool HasSubkey(HKEY parent, const std::string& path);
std::vector<std::string> SubkeyNames(HKEY key);
std::vector<std::string> ValueNames(HKEY key);

void SetData(HKEY key, const char* name, DWORD type, std::string_view bytes);
void SetText(HKEY key, const char* name, const std::string& text);  // REG_SZ, terminated

// Type and bytes as "1:text\0"; "" when there is no such value.
std::string Data(HKEY key, const char* name);

// Makes the registry link parent\name, which leads to where `target` is.
void CreateLink(HKEY parent, const std::string& name, HKEY target);
bool HasLink(HKEY parent, const std::string& name);

// For as long as it lives, nobody may do anything with the subkey but change its security.
class LockedSubkey {
public:
    LockedSubkey(HKEY parent, const std::string& name);
    ~LockedSubkey();
    LockedSubkey(const LockedSubkey&) = delete;
    LockedSubkey& operator=(const LockedSubkey&) = delete;

private:
    HKEY m_key = nullptr;
    alignas(void*) char m_unlocked[512];
};

}  // namespace kiv::test

#endif
