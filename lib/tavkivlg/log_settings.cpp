#include "tavkivlg/log_settings.h"

#include "support/ascii.h"
#include "support/heap_text.h"
#include "support/scoped_resource.h"

namespace kivlg {
namespace {

constexpr const char* kKey = "Software\\TAV\\TAVSetup\\Log";
constexpr const char* kDefaultName = "tavkivlg.log";  // in the temporary folder
constexpr unsigned kDefaultLevel = 1;
constexpr DWORD kDefaultMaxSize = 1024 * 1024;

// Decimal digits only; what is beyond 32 bits saturates.
bool ParseNumber(const char* text, DWORD& number) noexcept {
    ULONGLONG value = 0;
    for (const char* at = text; *at != '\0'; ++at) {
        if (!kiv::IsDigit(*at))
            return false;
        value = value > MAXDWORD ? value : value * 10 + static_cast<unsigned>(*at - '0');
    }
    number = value > MAXDWORD ? MAXDWORD : static_cast<DWORD>(value);
    return *text != '\0';
}

// A text that fits; an empty one counts as not set.
bool ReadVariable(const char* name, char (&text)[MAX_PATH]) noexcept {
    const DWORD length = ::GetEnvironmentVariableA(name, text, sizeof text);
    return length != 0 && length < sizeof text;
}

bool ReadNumberValue(HKEY key, const char* name, DWORD& number) noexcept {
    DWORD type = REG_NONE;
    DWORD value = 0;
    DWORD size = sizeof value;
    if (::RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size) != ERROR_SUCCESS ||
        type != REG_DWORD || size != sizeof value)
        return false;
    number = value;
    return true;
}

// Variables in the text are expanded whatever its type: a configuration file has no other way to name a folder.
bool ReadPathValue(HKEY key, const char* name, char (&path)[MAX_PATH]) noexcept {
    DWORD type = REG_NONE;
    char text[MAX_PATH];
    DWORD size = sizeof text - 1;
    if (::RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) != ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ) || size == 0)
        return false;
    text[size] = '\0';  // the data need not have its own
    if (text[0] == '\0')
        return false;
    const DWORD length = ::ExpandEnvironmentStringsA(text, path, sizeof path);
    return length != 0 && length <= sizeof path;
}

bool DefaultPath(char (&path)[MAX_PATH]) noexcept {
    const DWORD length = ::GetTempPathA(sizeof path, path);  // ends in a backslash
    return length != 0 && length < sizeof path && kiv::CopyText(path + length, sizeof path - length, kDefaultName);
}

bool ReadPath(HKEY key, char (&path)[MAX_PATH]) noexcept {
    return ReadVariable("TAVKIVLG_FILE", path) || ReadPathValue(key, "File", path) || DefaultPath(path);
}

DWORD ReadNumber(const char* variable, HKEY key, const char* valueName, DWORD defaultNumber) noexcept {
    char text[MAX_PATH];
    DWORD number = 0;
    const bool given =
        (ReadVariable(variable, text) && ParseNumber(text, number)) || ReadNumberValue(key, valueName, number);
    return given ? number : defaultNumber;
}

}  // namespace

LogSettings ReadLogSettings() noexcept {
    kiv::ScopedRegistryKey key;
    ::RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, KEY_QUERY_VALUE, key.Receive());
    LogSettings settings = {};
    char path[MAX_PATH];
    // A full path, so that the log stays in one place when the program changes its current folder.
    if (ReadPath(key.Get(), path) &&
        ::GetFullPathNameA(path, sizeof settings.file, settings.file, nullptr) >= sizeof settings.file)
        settings.file[0] = '\0';
    settings.level = ReadNumber("TAVKIVLG_LEVEL", key.Get(), "Level", kDefaultLevel);
    settings.maxSize = ReadNumber("TAVKIVLG_MAXSIZE", key.Get(), "MaxSize", kDefaultMaxSize);
    return settings;
}

}  // namespace kivlg
