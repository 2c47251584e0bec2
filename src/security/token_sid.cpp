#include "support/windows_api.h"

#include "security/process_heap.h"
#include "security/sid_record.h"
#include "security/token_information.h"
#include "support/log.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"
#include "tavkivut/security.h"

// The free functions that tell the user and the logon session of a token.

using kiv::IsNtFamily;

namespace {

void LogFailure(DWORD error, const char* text) noexcept {
    KIV_LOG_WIN32_TEXT(error, text, kiv::kLogMain);
}

bool OpenCurrentProcess(kiv::ScopedKernelObject& token) noexcept {
    if (::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Receive()))
        return true;
    LogFailure(::GetLastError(), "Authority : failed to open process token");
    return false;
}

// The current thread's handle as one that means the same in every thread. Without it the pseudo handle serves.
kiv::ScopedKernelObject RealThreadHandle() noexcept {
    kiv::ScopedKernelObject thread;
    if (!::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(), thread.Receive(), 0,
                           FALSE, DUPLICATE_SAME_ACCESS))
        LogFailure(::GetLastError(), "Authority : failed to duplicate thread handle");
    return thread;
}

}  // namespace

void KIV_CALL KivFreeSid(void* sid) noexcept {
    kiv::FreeHeapBlock(sid);
}

void* KIV_CALL KivGetTokenLogonSid(void* token) noexcept {
    if (!IsNtFamily())
        return nullptr;
    const kiv::ScopedHeapBlock record = kiv::ReadTokenInformation(token, TokenGroups);
    if (!record)
        return nullptr;
    const auto* groups = static_cast<const TOKEN_GROUPS*>(record.Get());
    for (DWORD i = 0; i < groups->GroupCount; ++i) {
        if ((groups->Groups[i].Attributes & SE_GROUP_LOGON_ID) == SE_GROUP_LOGON_ID)
            return kiv::CopySidToHeap(groups->Groups[i].Sid).Release();
    }
    return nullptr;
}

void* KIV_CALL KivGetCurrentProcessLogonSid() noexcept {
    kiv::ScopedKernelObject token;
    return IsNtFamily() && OpenCurrentProcess(token) ? KivGetTokenLogonSid(token.Get()) : nullptr;
}

int KIV_CALL KivGetTokenSid(void* token, char* buffer, unsigned long* size) noexcept {
    if (!IsNtFamily())
        return 0;
    if (size == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const kiv::ScopedHeapBlock user = kiv::ReadTokenInformation(token, TokenUser);
    if (!user) {
        LogFailure(::GetLastError(), "Authority : failed to retrieve token information");
        return 0;
    }
    const PSID sid = static_cast<TOKEN_USER*>(user.Get())->User.Sid;
    const auto needed = static_cast<unsigned long>(kiv::SidRecordTextSize(sid));
    if (buffer == nullptr || *size < needed) {
        *size = needed;
        ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    kiv::WriteSidRecordText(sid, buffer);
    return 1;
}

int KIV_CALL KivGetCurrentProcessSid(char* buffer, unsigned long* size) noexcept {
    kiv::ScopedKernelObject token;
    return IsNtFamily() && OpenCurrentProcess(token) && KivGetTokenSid(token.Get(), buffer, size);
}

int KIV_CALL KivGetCurrentThreadSid(char* buffer, unsigned long* size, int openAsSelf) noexcept {
    if (!IsNtFamily())
        return 0;
    const kiv::ScopedKernelObject thread = RealThreadHandle();
    kiv::ScopedKernelObject token;
    if (!::OpenThreadToken(thread ? thread.Get() : ::GetCurrentThread(), TOKEN_QUERY, openAsSelf != 0,
                           token.Receive())) {
        LogFailure(::GetLastError(), "Authority : failed to open thread token");
        return 0;
    }
    return KivGetTokenSid(token.Get(), buffer, size);
}
