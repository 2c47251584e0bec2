#include "support/windows_api.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <string>

#include "support/heap_text.h"
#include "support/hresult.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"
#include "support/text_convert.h"
#include "system/system_api.h"
#include "tavkivut/system.h"

namespace {

long FailWith(DWORD error) noexcept {
    ::SetLastError(error);
    return kiv::StatusFromWin32(error);
}

// The groups of a token in a block of their own; null when the token does not tell them.
std::unique_ptr<char[]> ReadGroups(HANDLE token) noexcept {
    DWORD size = 0;
    ::GetTokenInformation(token, TokenGroups, nullptr, 0, &size);
    std::unique_ptr<char[]> block(size == 0 ? nullptr : new (std::nothrow) char[size]);
    if (block != nullptr && !::GetTokenInformation(token, TokenGroups, block.get(), size, &size))
        block.reset();
    return block;
}

// Only whether the group is listed counts, not whether it is enabled.
bool HoldsAdministrators(const TOKEN_GROUPS& groups) noexcept {
    struct {
        BYTE revision = SID_REVISION;
        BYTE subAuthorityCount = 2;
        SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
        DWORD subAuthorities[2] = {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS};
    } administrators;
    for (DWORD i = 0; i < groups.GroupCount; ++i) {
        if (::EqualSid(groups.Groups[i].Sid, &administrators))
            return true;
    }
    return false;
}

// "DOMAIN\user" of the interactive logon. The buffer's size is not looked at: callers give room for the longest.
long GetLogonName(wchar_t* buffer) noexcept {
    const kiv::WorkstationApi& api = kiv::DynamicApi<kiv::WorkstationApi>::Get();
    if (api.getUser == nullptr || api.freeBuffer == nullptr)
        return FailWith(ERROR_PROC_NOT_FOUND);
    BYTE* data = nullptr;
    const NET_API_STATUS status = api.getUser(nullptr, 1, &data);
    if (status != ERROR_SUCCESS || data == nullptr)
        return FailWith(status != ERROR_SUCCESS ? status : ERROR_GEN_FAILURE);
    const auto* user = reinterpret_cast<const WKSTA_USER_INFO_1*>(data);
    std::wcscpy(buffer, user->wkui1_logon_domain == nullptr ? L"" : user->wkui1_logon_domain);
    std::wcscat(buffer, L"\\");
    std::wcscat(buffer, user->wkui1_username == nullptr ? L"" : user->wkui1_username);
    api.freeBuffer(data);
    return kiv::kStatusOk;
}

long GetAccountName(wchar_t* buffer, DWORD size) noexcept {
    char name[2 * UNLEN + 1];  // the longest name, all of two-byte characters
    DWORD room = std::min<DWORD>(size, sizeof name);
    if (!::GetUserNameA(name, &room))
        return kiv::StatusFromWin32(::GetLastError());
    try {
        const std::wstring wide = kiv::WideFromAnsi(name);
        const std::size_t length = std::min<std::size_t>(wide.size(), size - 1);
        std::wmemcpy(buffer, wide.c_str(), length);
        buffer[length] = L'\0';
        return kiv::kStatusOk;
    } catch (const std::bad_alloc&) {
        return FailWith(ERROR_NOT_ENOUGH_MEMORY);
    }
}

bool ReadProfileVariable(char* buffer, DWORD size) noexcept {
    const DWORD length = ::GetEnvironmentVariableA("UserProfile", buffer, size);
    return length != 0 && length < size;
}

// Windows ME has profiles, but tells them only through the shell. The call takes no size.
bool AskShellForProfile(char* buffer, DWORD size) noexcept {
    const auto find = kiv::DynamicApi<kiv::ShellApi>::Get().getFolderPath;
    char folder[MAX_PATH];
    if (find == nullptr || !find(nullptr, folder, CSIDL_PROFILE, TRUE))
        return false;
    return std::strlen(folder) < size && kiv::CopyText(buffer, size, folder);
}

// The Windows folder, cut after its drive: "C:".
bool CopyWindowsDrive(char* buffer, DWORD size) noexcept {
    const char* windows = CKivSystem::GetWinDir();
    if (windows == nullptr)
        return false;
    kiv::CopyText(buffer, size, windows);
    if (size > 2)
        buffer[2] = '\0';
    return true;
}

}  // namespace

long CKivSystem::IsCurrentUserLocalAdmin() noexcept {
    if (!kiv::IsNtFamily())
        return kiv::kStatusOk;
    kiv::ScopedKernelObject token;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_READ, token.Receive()))
        return kiv::kStatusFail;
    const std::unique_ptr<char[]> groups = ReadGroups(token.Get());
    if (groups == nullptr || !HoldsAdministrators(*reinterpret_cast<const TOKEN_GROUPS*>(groups.get())))
        return kiv::kStatusFail;
    return kiv::kStatusOk;
}

long CKivSystem::GetUserNameA(unsigned short* buffer, unsigned long size, bool withDomain) noexcept {
    if (buffer == nullptr)
        return FailWith(ERROR_INVALID_PARAMETER);
    auto* wide = reinterpret_cast<wchar_t*>(buffer);
    return withDomain && kiv::IsNtFamily() ? GetLogonName(wide) : GetAccountName(wide, size);
}

long CKivSystem::GetUserProfileDir(void* token, char* buffer, unsigned long* size) noexcept {
    if (buffer == nullptr || size == nullptr || *size == 0)
        return kiv::kStatusFail;
    if (kiv::IsNtFamily()) {
        const unsigned long room = *size;
        if (KivGetUserProfileDirectory(token, buffer, size))
            return kiv::kStatusOk;
        *size = room;
    }
    if (ReadProfileVariable(buffer, *size))
        return kiv::kStatusOk;
    if (CheckOS(OS_WME) == kiv::kStatusOk && AskShellForProfile(buffer, *size))
        return kiv::kStatusOk;
    return CopyWindowsDrive(buffer, *size) ? kiv::kStatusOk : kiv::kStatusFail;
}

int KIV_CALL KivGetUserProfileDirectory(void* token, char* buffer, unsigned long* size) noexcept {
    const auto find = kiv::DynamicApi<kiv::ProfileApi>::Get().getProfileDirectory;
    if (find == nullptr || size == nullptr) {
        ::SetLastError(find == nullptr ? ERROR_PROC_NOT_FOUND : ERROR_INVALID_PARAMETER);
        return 0;
    }
    return find(token, buffer, size);
}
