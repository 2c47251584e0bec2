#include "files/xml_file.h"

#include <cstdio>
#include <cstring>

#include "files/kept_attributes.h"
#include "support/ascii.h"
#include "support/log.h"
#include "support/nt_family.h"
#include "tavkivut/network.h"
#include "tavkivut/system.h"

namespace kiv {
namespace {

constexpr const char* kCaption = "TAVSetup";
constexpr const char* kQuestion = "Failed to save '%s': please check your permissions. Choose 'Retry' to try again or "
                                  "'Cancel' to continue without saving the document.";

void ClearReadOnly(const XmlFilePath& path) noexcept {
    const DWORD attributes = ::GetFileAttributesA(path.text);
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_READONLY) == 0 ||
        (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return;
    if (!::SetFileAttributesA(path.text, attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY))) {
        const DWORD error = ::GetLastError();
        KIV_LOG_WIN32(error, kLogError, "XML Factory : failed to remove read-only attribute from '%s'", path.text);
        return;
    }
    KIV_LOG(kLogMain, kLogWarning, "XML Factory : removed read-only attribute from '%s'", path.text);
    path.readOnlyCleared = true;
}

bool IsOnOwnShare(const char* path) noexcept {
    char prefix[MAX_COMPUTERNAME_LENGTH + 8];
    std::snprintf(prefix, sizeof prefix, "\\\\%s\\", CKivSystem::GetComputerNameA());
    return StartsWithIgnoreCase(path, prefix);
}

// Puts the local path in place of a path on this computer's own share; a local path that lies there again would be
// tried for ever.
bool TakeLocalPath(const XmlFilePath& path) noexcept {
    if (!IsNtFamily() || !IsOnOwnShare(path.text))
        return false;
    char local[MAX_PATH];
    if (CKivRemoteWksta::GetWkstaLocalPath(path.text, local, sizeof local) == 0 || IsOnOwnShare(local)) {
        KIV_LOG(kLogMain, kLogError, "XML Factory : failed to determine local path of '%s'", path.text);
        return false;
    }
    KIV_LOG(kLogMain, kLogWarning, "XML Factory : failed to create '%s', retry as '%s'", path.text, local);
    std::strcpy(path.text, local);
    return true;
}

// Whoever cannot be asked gives up.
bool UserWantsRetry(const char* path) noexcept {
    const MessageBoxApi& user = DynamicApi<MessageBoxApi>::Get();
    if (user.messageBox == nullptr || user.getDesktopWindow == nullptr)
        return false;
    char text[512];
    std::snprintf(text, sizeof text, kQuestion, path);
    return user.messageBox(user.getDesktopWindow(), text, kCaption, MB_RETRYCANCEL | MB_ICONERROR) == IDRETRY;
}

}  // namespace

ScopedFile OpenXmlFile(const XmlFilePath& path) noexcept {
    for (;;) {
        ClearReadOnly(path);
        ScopedFile file(::CreateFileA(path.text, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                      KeptAttributes(path.text), nullptr));
        if (file)
            return file;
        const DWORD error = ::GetLastError();
        if (error == ERROR_ACCESS_DENIED && TakeLocalPath(path))
            continue;
        KIV_LOG_WIN32(error, kLogError, "XML Factory : failed to create '%s'", path.text);
        if (!UserWantsRetry(path.text))
            return ScopedFile();
    }
}

void RestoreReadOnly(const XmlFilePath& path) noexcept {
    if (!path.readOnlyCleared)
        return;
    path.readOnlyCleared = false;
    const DWORD attributes = ::GetFileAttributesA(path.text);
    if (attributes == INVALID_FILE_ATTRIBUTES || !::SetFileAttributesA(path.text, attributes | FILE_ATTRIBUTE_READONLY))
        KIV_LOG(kLogMain, kLogWarning, "XML Factory : cannot reset read-only attribute for '%s'", path.text);
}

}  // namespace kiv
