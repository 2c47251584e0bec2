#include "security/account_lookup.h"

#include "support/dynamic_function.h"
#include "support/heap_text.h"

#include <cstdlib>
#include <utility>

namespace kiv {
namespace {

// Room for nearly every account, so that one look-up does.
constexpr DWORD kUsualSidSize = 128;
constexpr DWORD kUsualTextSize = 25;

// One look-up with buffers of these sizes, which become those that the system asks for. Null when it fails, or when the
// answer is no SID.
ScopedHeapBlock TrySidOfName(const char* account, DWORD& sidSize, DWORD& domainSize) noexcept {
    ScopedHeapBlock sid(AllocateHeapBlock(sidSize));
    const ScopedHeapBlock domain(AllocateHeapBlock(domainSize));
    SID_NAME_USE use;
    if (!sid || !domain ||
        !Accounts().sidOfName(nullptr, account, sid.Get(), &sidSize, static_cast<char*>(domain.Get()), &domainSize,
                              &use))
        sid.Reset();
    return ValidSid(std::move(sid));
}

char* AllocateText(DWORD size) noexcept {
    return static_cast<char*>(std::calloc(size, 1));
}

// One look-up with room for texts of these sizes, as above. A failure leaves name and domain null.
bool TryNameOfSid(PSID sid, char*& name, DWORD& nameSize, char*& domain, DWORD& domainSize) noexcept {
    name = AllocateText(nameSize + 1);
    domain = AllocateText(domainSize + 1);
    SID_NAME_USE use;
    if (name != nullptr && domain != nullptr &&
        Accounts().nameOfSid(nullptr, sid, name, &nameSize, domain, &domainSize, &use))
        return true;
    FreeText(name);
    FreeText(domain);
    return false;
}

}  // namespace

void AccountApi::Load() noexcept {
    sidOfName = &::LookupAccountNameA;
    nameOfSid = &::LookupAccountSidA;
}

const AccountApi& Accounts() noexcept {
    return DynamicApi<AccountApi>::Get();
}

ScopedHeapBlock ValidSid(ScopedHeapBlock sid) noexcept {
    if (sid && !::IsValidSid(sid.Get())) {
        ::SetLastError(ERROR_INVALID_SID);
        sid.Reset();
    }
    return sid;
}

ScopedHeapBlock FindAccountSid(const char* account) noexcept {
    if (*account == '\0') {
        ::SetLastError(ERROR_NONE_MAPPED);
        return ScopedHeapBlock();
    }
    DWORD sidSize = kUsualSidSize;
    DWORD domainSize = kUsualTextSize;
    ScopedHeapBlock sid = TrySidOfName(account, sidSize, domainSize);
    if (!sid)
        sid = TrySidOfName(account, ++sidSize, ++domainSize);
    return sid;
}

void FindAccountName(PSID sid, char*& name, char*& domain) noexcept {
    DWORD nameSize = kUsualTextSize - 1;
    DWORD domainSize = kUsualTextSize - 1;
    for (int look = 0; look < 2; ++look) {
        if (TryNameOfSid(sid, name, nameSize, domain, domainSize))
            return;
    }
    name = AllocateText(1);
    domain = AllocateText(1);
}

}  // namespace kiv
