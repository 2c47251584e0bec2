// INI import beside parsing the file and writing its values by hand.

#include "bench.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "tavkivut/ini.h"
#include "tavkivut/registry.h"

namespace {

constexpr int kSections = 100;
constexpr int kEntries = 100;
constexpr char kRoot[] = "Software\\tavkivut-ini-bench";

std::string FileText() {
    std::string text;
    for (int section = 0; section < kSections; ++section) {
        text += "[Section " + std::to_string(section) + "]\r\n";
        for (int entry = 0; entry < kEntries; ++entry) {
            const std::string number = std::to_string(section * kEntries + entry);
            text += "Setting" + std::to_string(entry) + (entry % 2 == 0 ? "=" : "=a text of medium length ") + number +
                    "\r\n";
        }
    }
    return text;
}

void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "ini_bench: %s\n", what);
        std::exit(1);
    }
}

std::string WriteFile() {
    char folder[MAX_PATH];
    Require(::GetTempPathA(sizeof folder, folder) != 0, "no temporary folder");
    const std::string path = std::string(folder) + "tavkivut-ini-bench.ini";
    const std::string text = FileText();
    const HANDLE file = ::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    Require(::WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) != 0, "no file");
    ::CloseHandle(file);
    return path;
}

std::string ReadFile(const std::string& path) {
    const HANDLE file = ::CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    std::string text(::GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    Require(::ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &read, nullptr) != 0, "file not read");
    ::CloseHandle(file);
    return text;
}

bool AllDigits(const char* text) {
    return *text != '\0' && std::strspn(text, "0123456789") == std::strlen(text);
}

void WriteByHand(HKEY key, const char* name, const char* value) {
    if (AllDigits(value)) {
        const DWORD number = std::strtoul(value, nullptr, 10);
        ::RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
    } else {
        ::RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value),
                         static_cast<DWORD>(std::strlen(value) + 1));
    }
}

// The peer: one pass over the text, one key per section, one call per value.
void ImportByHand(HKEY base, const std::string& path) {
    std::string text = ReadFile(path);
    HKEY key = nullptr;
    for (char* line = std::strtok(text.data(), "\r\n"); line != nullptr; line = std::strtok(nullptr, "\r\n")) {
        if (line[0] == '[') {
            if (key != nullptr)
                ::RegCloseKey(key);
            *std::strchr(line, ']') = '\0';
            ::RegCreateKeyExA(base, line + 1, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
        } else if (char* const mark = std::strchr(line, '=')) {
            *mark = '\0';
            WriteByHand(key, line, mark + 1);
        }
    }
    ::RegCloseKey(key);
}

// A new key for every run, so that both sides write into nothing.
std::string FreshKey() {
    static int number = 0;
    return std::string(kRoot) + "\\" + std::to_string(++number);
}

void CheckImported(const std::string& key) {
    HKEY section = nullptr;
    DWORD values = 0;
    Require(::RegOpenKeyExA(HKEY_CURRENT_USER, (key + "\\Section 99").c_str(), 0, KEY_READ, &section) == 0,
            "a section is missing");
    ::RegQueryInfoKeyA(section, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr,
                       nullptr, nullptr);
    ::RegCloseKey(section);
    Require(values == kEntries, "a value is missing");
}

}  // namespace

int main() {
    const std::string path = WriteFile();
    kiv::bench::Compare(
        "INI import, 100 sections of 100 entries", 1.3, 15,
        [&path] {
            const std::string key = FreshKey();
            WriteInifileToHkey(("HKCU\\" + key).c_str(), path.c_str());
            CheckImported(key);
        },
        [&path] {
            const std::string key = FreshKey();
            HKEY base = nullptr;
            Require(::RegCreateKeyExA(HKEY_CURRENT_USER, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &base,
                                      nullptr) == 0,
                    "no key");
            ImportByHand(base, path);
            ::RegCloseKey(base);
            CheckImported(key);
        });
    CKivRegKey(nullptr, (std::string("HKCU\\") + kRoot).c_str()).remove();
    ::DeleteFileA(path.c_str());
    return 0;
}
