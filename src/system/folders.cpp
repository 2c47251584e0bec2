#include "support/windows_api.h"

#include <cstring>

#include "files/path_text.h"
#include "support/code_page.h"
#include "support/hresult.h"
#include "support/scoped_resource.h"
#include "system/system_api.h"
#include "system/system_caches.h"
#include "tavkivut/system.h"

namespace {

using kiv::Caches;
using FolderCache = kiv::TextCache<MAX_PATH>;

constexpr DWORD kSize = MAX_PATH;

using FolderCall = UINT(WINAPI*)(LPSTR buffer, UINT size);

// Null when the call fails, also for a folder longer than the cache.
const char* AskFolder(FolderCache& cache, FolderCall ask) noexcept {
    if (const char* known = cache.Find())
        return known;
    char folder[kSize];
    const UINT length = ask(folder, kSize);
    return length == 0 || length >= kSize ? nullptr : cache.Keep(folder);
}

// The Windows folder followed by a text; "" when it is not known or the whole does not fit.
const char* BelowWindows(FolderCache& cache, const char* text) noexcept {
    const char* windows = CKivSystem::GetWinDir();
    if (windows == nullptr || std::strlen(windows) + std::strlen(text) >= kSize)
        return "";
    char folder[kSize];
    std::strcpy(folder, windows);
    std::strcat(folder, text);
    return cache.Keep(folder);
}

// A text of the registry, terminated; "" when it is missing, no text, or longer than the buffer.
void ReadRegistryText(HKEY root, const char* path, const char* name, char (&text)[kSize]) noexcept {
    text[0] = '\0';
    kiv::ScopedRegistryKey key;
    if (::RegOpenKeyExA(root, path, 0, KEY_READ, key.Receive()) != ERROR_SUCCESS)
        return;
    char data[kSize];
    DWORD type = REG_NONE;
    DWORD size = sizeof data;
    const LONG status = ::RegQueryValueExA(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(data), &size);
    if (status != ERROR_SUCCESS || (type != REG_SZ && type != REG_EXPAND_SZ))
        return;
    // The data need not end with a terminator; 260 bytes without one leave no room for it.
    if (size == sizeof data && data[size - 1] != '\0')
        return;
    if (size < sizeof data)
        data[size] = '\0';
    std::strcpy(text, data);
}

const char* FolderOfPrograms(FolderCache& cache, const char* valueName) noexcept {
    if (const char* known = cache.Find())
        return known;
    char folder[kSize];
    ReadRegistryText(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows\\CurrentVersion", valueName, folder);
    return cache.Keep(folder);
}

// The temporary folder of the user's environment in the registry, expanded; "" when there is none that fits.
void ReadUsersTempFolder(char (&folder)[kSize]) noexcept {
    char text[kSize];
    ReadRegistryText(HKEY_CURRENT_USER, "Environment", "Temp", text);
    if (text[0] == '\0')
        ReadRegistryText(HKEY_CURRENT_USER, "Environment", "Tmp", text);
    folder[0] = '\0';
    if (text[0] == '\0')
        return;
    const DWORD needed = ::ExpandEnvironmentStringsA(text, folder, kSize);
    if (needed == 0 || needed > kSize)
        folder[0] = '\0';
}

// By characters: a backslash can be the second byte of one.
void RemoveTrailingBackslash(char* folder) noexcept {
    folder[kiv::WithoutTrailingBackslash(folder, kiv::IsAnsiLeadByte).size()] = '\0';
}

void FreeItemList(const kiv::ShellApi& shell, ITEMIDLIST* list) noexcept {
    IMalloc* allocator = nullptr;
    if (shell.getMalloc == nullptr || FAILED(shell.getMalloc(&allocator)) || allocator == nullptr)
        return;
    allocator->Free(list);
    allocator->Release();
}

bool AskShellForFonts(char (&folder)[kSize]) noexcept {
    const kiv::ShellApi& shell = kiv::DynamicApi<kiv::ShellApi>::Get();
    if (shell.getFolderLocation == nullptr || shell.getPathFromIdList == nullptr)
        return false;
    ITEMIDLIST* list = nullptr;
    if (FAILED(shell.getFolderLocation(nullptr, CSIDL_FONTS, &list)) || list == nullptr)
        return false;
    const BOOL converted = shell.getPathFromIdList(list, folder);
    FreeItemList(shell, list);
    return converted && folder[0] != '\0';
}

}  // namespace

const char* CKivSystem::GetSysDir() noexcept {
    return AskFolder(Caches().systemFolder, kiv::DynamicApi<kiv::FolderApi>::Get().getSystemDirectory);
}

const char* CKivSystem::GetWinDir() noexcept {
    return AskFolder(Caches().windowsFolder, kiv::DynamicApi<kiv::FolderApi>::Get().getWindowsDirectory);
}

const char* CKivSystem::GetSys16Dir() noexcept {
    FolderCache& cache = Caches().system16Folder;
    const char* known = cache.Find();
    return known != nullptr ? known : BelowWindows(cache, "\\System");
}

const char* CKivSystem::GetProgramFilesDir() noexcept {
    return FolderOfPrograms(Caches().programFilesFolder, "ProgramFilesDir");
}

const char* CKivSystem::GetCommonFilesDir() noexcept {
    return FolderOfPrograms(Caches().commonFilesFolder, "CommonFilesDir");
}

const char* CKivSystem::GetTempDir() noexcept {
    if (const char* known = Caches().tempFolder.Find())
        return known;
    char folder[kSize];
    ReadUsersTempFolder(folder);
    if (folder[0] == '\0') {
        const DWORD length = ::GetTempPathA(kSize, folder);
        if (length == 0 || length >= kSize)
            return "";
    }
    RemoveTrailingBackslash(folder);
    return Caches().tempFolder.Keep(folder);
}

const char* CKivSystem::GetFontsDir() noexcept {
    FolderCache& cache = Caches().fontsFolder;
    if (const char* known = cache.Find())
        return known;
    char folder[kSize];
    // The fallback is joined without a backslash: callers know the text so.
    return AskShellForFonts(folder) ? cache.Keep(folder) : BelowWindows(cache, "Fonts");
}

long CKivSystem::GetUniqueTempFileName(char* buffer, unsigned long size) noexcept {
    if (buffer == nullptr)
        return kiv::kStatusFail;
    const char* folder = GetTempDir();
    char name[kSize];
    if (*folder == '\0' || ::GetTempFileNameA(folder, "tavkiv", 0, name) == 0)
        return kiv::kStatusFail;
    if (std::strlen(name) > size) {
        const kiv::LastErrorKeeper keeper;
        ::DeleteFileA(name);
        return kiv::kStatusFail;
    }
    std::strcpy(buffer, name);
    return kiv::kStatusOk;
}
