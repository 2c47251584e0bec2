#ifndef KIV_TESTS_SUPPORT_REGISTRY_DATA_H
#define KIV_TESTS_SUPPORT_REGISTRY_DATA_H

#include <string>
#include <string_view>
#include <vector>

#include "support/windows_api.h"

namespace kiv::test {

// The registry as the system's own calls show it, and data that no well-behaved program would write.
using Names = std::vector<std::string>;

void CreateSubkeys(HKEY parent, const Names& paths);
HKEY OpenSubkey(HKEY parent, const std::string& path, REGSAM access = KEY_ALL_ACCESS);  // null when it is refused
bool HasSubkey(HKEY parent, const std::string& path);
Names SubkeyNames(HKEY key);
Names ValueNames(HKEY key);

// Values of a key or, made when it is missing, of a subkey.
void SetData(HKEY key, const char* name, DWORD type, std::string_view bytes, const std::string& subkey = {});
void SetText(HKEY key, const char* name, const std::string& text, const std::string& subkey = {});  // terminated
void SetNumber(HKEY key, const char* name, DWORD number, const std::string& subkey = {});
// Type and bytes, "1:text\0" and "4:\1\0\0\0"; "" when there is no such value.
std::string Data(HKEY key, const char* name, const std::string& subkey = {});
// Numbers and texts without their terminator: "4:1", "1:text".
std::string ShownData(HKEY key, const char* name, const std::string& subkey = {});

// A subkey and a value for each name of one UTF-16 character, which the code page may show alike.
void CreateElements(HKEY key, const std::wstring& names);

// For as long as it lives, nobody may open the subkey but to delete it or to change its security.
class LockedSubkey {
public:
    LockedSubkey(HKEY parent, const std::string& name);
    ~LockedSubkey();
    LockedSubkey(const LockedSubkey&) = delete;
    LockedSubkey& operator=(const LockedSubkey&) = delete;

private:
    HKEY m_key;
};

std::string ThisComputer();

}  // namespace kiv::test

#endif
