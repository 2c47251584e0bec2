#include "security/account_right.h"

#include <new>
#include <string>
#include <utility>

#include "security/account_lookup.h"
#include "security/process_heap.h"
#include "support/dynamic_function.h"
#include "support/log.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"
#include "support/text_convert.h"
#include "tavkivut/security.h"

namespace {

constexpr std::size_t kMostCharacters = 255;
constexpr std::size_t kMostBytes = 3 * kMostCharacters;  // in any code page

struct PolicyTraits {
    using Type = LSA_HANDLE;
    static Type Empty() { return nullptr; }
    static void Close(Type policy) { kiv::Lsa().close(policy); }
};
using ScopedPolicy = kiv::ScopedResource<PolicyTraits>;

int Fail(DWORD error, const char* text) noexcept {
    KIV_LOG_WIN32_TEXT(error, text, kiv::kLogMain);
    ::SetLastError(error);
    return 0;
}

// A text, null as an empty one, as UTF-16. A Win32 error when it is too long or memory is exhausted.
DWORD Widen(const char* text, std::wstring& wide) noexcept {
    const std::string_view ansi = text != nullptr ? text : "";
    if (ansi.size() > kMostBytes)
        return ERROR_INVALID_PARAMETER;
    try {
        wide = kiv::WideFromAnsi(ansi);
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    return wide.size() <= kMostCharacters ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

// The text as the authority counts it: bytes without the terminator, and with it.
LSA_UNICODE_STRING Counted(std::wstring& text) noexcept {
    const auto bytes = static_cast<USHORT>(text.size() * sizeof(wchar_t));
    return {bytes, static_cast<USHORT>(bytes + sizeof(wchar_t)), text.data()};
}

// The SID of an account as `machine` knows it; null when there is none.
kiv::ScopedHeapBlock FindAccountOn(const char* machine, const char* account) noexcept {
    kiv::ScopedHeapBlock sid;
    if (account == nullptr || *account == '\0') {
        ::SetLastError(ERROR_NONE_MAPPED);  // the system would answer the built-in domain
        return sid;
    }
    const auto lookUp = kiv::Accounts().sidOfName;
    char domain[kMostCharacters + 1];
    DWORD domainSize = sizeof domain;
    DWORD size = 0;
    SID_NAME_USE use;
    lookUp(machine, account, nullptr, &size, domain, &domainSize, &use);
    if (size == 0)
        return sid;
    sid.Reset(kiv::AllocateHeapBlock(size));
    domainSize = sizeof domain;
    if (sid && !lookUp(machine, account, sid.Get(), &size, domain, &domainSize, &use))
        sid.Reset();
    return kiv::ValidSid(std::move(sid));
}

}  // namespace

void kiv::LsaApi::Load() noexcept {
    const HMODULE advapi = LoadSystemModule("advapi32.dll");
    FindFunction(advapi, "LsaOpenPolicy", open);
    FindFunction(advapi, "LsaAddAccountRights", addRights);
    FindFunction(advapi, "LsaClose", close);
    FindFunction(advapi, "LsaNtStatusToWinError", errorOfStatus);
}

const kiv::LsaApi& kiv::Lsa() noexcept {
    return DynamicApi<LsaApi>::Get();
}

int KIV_CALL KivAddAccountPrivilege(const char* machine, const char* account, const char* right) noexcept {
    if (!kiv::IsNtFamily())
        return 0;
    constexpr const char* kNoPolicy = "Failed to open security policy";
    const kiv::LsaApi& lsa = kiv::Lsa();
    if (!lsa.Complete())
        return Fail(ERROR_PROC_NOT_FOUND, kNoPolicy);
    std::wstring system;
    if (const DWORD error = Widen(machine, system))
        return Fail(error, kNoPolicy);
    LSA_UNICODE_STRING countedSystem = Counted(system);
    LSA_OBJECT_ATTRIBUTES attributes{};
    ScopedPolicy policy;
    NTSTATUS status =
        lsa.open(machine != nullptr ? &countedSystem : nullptr, &attributes, POLICY_ALL_ACCESS, policy.Receive());
    if (status != 0)
        return Fail(lsa.errorOfStatus(status), kNoPolicy);

    constexpr const char* kNotAdded = "Failed to add account right";
    std::wstring wideRight;
    if (const DWORD error = Widen(right, wideRight))
        return Fail(error, kNotAdded);
    if (wideRight.empty())
        return Fail(ERROR_INVALID_PARAMETER, kNotAdded);
    const kiv::ScopedHeapBlock sid = FindAccountOn(machine, account);
    if (!sid)
        return 0;
    LSA_UNICODE_STRING countedRight = Counted(wideRight);
    status = lsa.addRights(policy.Get(), sid.Get(), &countedRight, 1);
    return status == 0 ? 1 : Fail(lsa.errorOfStatus(status), kNotAdded);
}
