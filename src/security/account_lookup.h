#ifndef KIV_SECURITY_ACCOUNT_LOOKUP_H
#define KIV_SECURITY_ACCOUNT_LOOKUP_H

#include "support/windows_api.h"

#include "security/process_heap.h"

namespace kiv {

// The system's look-ups in the account database. Every system has them; the table lets tests play the database.
struct AccountApi {
    decltype(&::LookupAccountNameA) sidOfName;
    decltype(&::LookupAccountSidA) nameOfSid;
    void Load() noexcept;
};
const AccountApi& Accounts() noexcept;

// What a look-up that succeeded gave; null, with last error 1337, when that is no SID.
ScopedHeapBlock ValidSid(ScopedHeapBlock sid) noexcept;

// The SID of an account on the local machine, in a block of the process heap; null when there is none. An empty name is
// nobody, although the system would answer the built-in domain.
ScopedHeapBlock FindAccountSid(const char* account) noexcept;

// Name and domain of a SID on the local machine, both from malloc, both "" when the account is not known. They are null
// when memory is exhausted.
void FindAccountName(PSID sid, char*& name, char*& domain) noexcept;

}  // namespace kiv

#endif
