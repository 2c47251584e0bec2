#ifndef TAVKIVUT_SECURITY_H
#define TAVKIVUT_SECURITY_H

// Windows security data as values: security identifiers, access tokens and privileges, access-control entries and
// lists, security descriptors. Each object owns copies of what it holds.
//
// On the 9x family, which has none of this, objects stay empty, nothing is written to the log, operations answer 0 or
// null, and a change of a privilege answers 1 without doing anything, so that callers need no test of their own.
//
// Operations answer 1 for success or yes and 0 for failure or no, unless said otherwise; the thread's last error is
// then that of the call which failed. Texts are in the system code page. No object has a lock: it belongs to one thread
// at a time.

#include <windows.h>  // the records and enumerations of tokens, lists and descriptors

#include "tavkivut/export.h"

// A security identifier (SID), its text form and the account that it stands for. An empty object has no SID.
//
// The text form is "S-1-", the identifier authority and the sub-authorities in decimal, joined by "-": "S-1-5-32-544".
// An authority that needs more than 32 bits is written as "0x" and twelve hexadecimal digits. The revision is always
// written as 1.
//
// A text or name that an operation returns lives until the object is assigned, created anew or destroyed.
class KIV_API CKivSid {
public:
    enum WellKnownSid : int {
        WKS_EVERYONE = 0,             // S-1-1-0
        WKS_GUESTS = 2,               // S-1-5-32-546
        WKS_USERS = 4,                // S-1-5-32-545
        WKS_POWER_USERS = 6,          // S-1-5-32-547
        WKS_AUTHENTICATED_USERS = 7,  // S-1-5-11
        WKS_ADMINISTRATORS = 8,       // S-1-5-32-544
        WKS_NULL = 9,                 // S-1-0-0
        WKS_LOCAL_SYSTEM = 10         // S-1-5-18
    };

    // Any other value stands for the NT authority.
    enum Authorities : int { AUTH_NULL = 0, AUTH_WORLD = 1, AUTH_LOCAL = 2, AUTH_CREATOR = 3, AUTH_NT = 5 };

    CKivSid(void* const sid = nullptr) noexcept;  // a copy; a null or invalid SID makes an empty object
    CKivSid(decltype(nullptr)) noexcept;          // empty; without it a bare nullptr would be ambiguous
    CKivSid(const CKivSid& other) noexcept;
    CKivSid(const char* text) noexcept;  // as the assignment of a text
    ~CKivSid();

    // The source may be the object's own SID.
    CKivSid& operator=(void* const sid) noexcept;
    CKivSid& operator=(decltype(nullptr)) noexcept;
    CKivSid& operator=(const CKivSid& other) noexcept;

    // Reads a text form, or looks an account up on the local machine.
    //
    // A text that begins with "S-1-" is read part by part as decimal numbers, and nothing about it is an error: junk
    // ends its part, an empty part is 0, a number too large counts as 4294967295, an authority keeps its low byte,
    // parts after the eighth sub-authority are dropped. A text with a mistake can therefore name another principal than
    // its writer meant: compare what is read back before you grant anything to it.
    //
    // Any other text is an account name ("user", "DOMAIN\user"); ".\" in front stands for the local machine and is
    // skipped. An empty name, or one that cannot be resolved, leaves the object empty.
    CKivSid& operator=(const char* text) noexcept;

    // A value that is not in the enumeration leaves the object as it was.
    CKivSid& operator=(WellKnownSid which) noexcept;

    // The same pointer is equal, so two empty objects are; one empty side is not.
    bool operator==(void* const sid) const noexcept;
    bool operator==(const CKivSid& other) const noexcept;

    // Builds a SID of `count` sub-authorities (at most the first 8 are used), which follow as unsigned 32-bit numbers.
    // What the object held before is gone also when that fails.
    int Create(Authorities authority, unsigned char count, ...) noexcept;

    operator const char*() noexcept;  // the text form; null for an empty object
    operator void*() const noexcept;  // the SID, which belongs to the object; null for an empty one
    void* GetSid() const noexcept;    // the same

    // The account on the local machine and its domain. The first call looks both up and the answer is kept; both are
    // empty texts when the account is not known, null for an empty object.
    const char* GetName() noexcept;
    const char* GetDomain() noexcept;

    int IsValid() const noexcept;

    // The user of a token, a process or a thread; empty when it cannot be told. A handle of 0xFFFFFFFF, or the
    // pseudo handle, is the current process or thread. A thread without a token of its own has its process's user.
    static CKivSid FromTokenUser(void* token) noexcept;
    static CKivSid FromProcessUser(void* process) noexcept;
    static CKivSid FromThreadUser(void* thread) noexcept;

protected:
    void Clear() noexcept;  // back to the empty state

private:
    friend struct CKivSidLayout;
    void* m_sid;
    int m_heapOwned;  // 1: a block of the process heap; 0: made by the system's allocator, which FreeSid undoes
    char* m_text;     // found at the first request, as are name and domain
    char* m_name;
    char* m_domain;
};

// An access token, with its user, groups and privileges.
//
// Copies share the handle and the cached groups, and count themselves: the last of them closes the handle.
class KIV_API CKivToken {
public:
    CKivToken() noexcept;
    CKivToken(const CKivToken& other) noexcept;  // shares, as the assignment
    ~CKivToken();
    CKivToken& operator=(const CKivToken& other) noexcept;

    // Opens the token of a process or thread with access rights TOKEN_...; what was open before is closed first. A
    // handle of 0xFFFFFFFF, or the pseudo handle, is the current process or thread. The thread's token is opened with
    // the process's rights, failing that with the thread's; a thread without one gives the current process's token.
    int OpenProcessToken(void* process, unsigned long access) noexcept;
    int OpenThreadToken(void* thread, unsigned long access) noexcept;

    void Close() noexcept;

    // Takes a handle over and closes the old one. The object's own handle changes nothing.
    void Attach(void* token) noexcept;

    // Gives the handle away, which the caller closes; the object is empty then. Copies that share it keep it and no
    // longer close it.
    void* Detach() noexcept;

    operator void*() const noexcept;  // the handle, which stays the object's; null when nothing is open

    CKivSid GetOwner() const noexcept;  // the token's user; empty when nothing is open

    // The groups are read at the first call and kept. -1 when they cannot be read.
    int GetGroupCount() noexcept;
    CKivSid GetGroupAt(int index) noexcept;  // empty when there is no such group

    int IsImpersonation() const noexcept;  // 0 also when nothing is open or the type cannot be read
    int IsPrimary() const noexcept;        // the opposite, so 1 when nothing is open
    int GetImpersonationLevel(SECURITY_IMPERSONATION_LEVEL* out) const noexcept;

    // 1 when the privilege has any attribute; enabled by default alone counts.
    int IsPrivilegeEnabled(const char* name) const noexcept;

    // Duplicates with the same access: an impersonation token of the same level, or a primary token when the level
    // cannot be read. With a level always an impersonation token. `sa` may be null. *out, which the caller closes, is
    // null on failure.
    int DuplicateTo(void** out, SECURITY_ATTRIBUTES* sa) const noexcept;
    int DuplicateTo(void** out, SECURITY_IMPERSONATION_LEVEL level, SECURITY_ATTRIBUTES* sa) const noexcept;

    // Writes user, groups and privileges to the log, as lines of detail. `label` names the token and may be null.
    void DumpToLog(const char* label) noexcept;

protected:
    // The token's privileges, to be released with FreePrivileges; null on failure.
    TOKEN_PRIVILEGES* AllocPrivileges() const noexcept;
    unsigned long GetPrivilegeCount(TOKEN_PRIVILEGES* privileges) const noexcept;  // 0 for null
    LUID_AND_ATTRIBUTES* GetPrivilegeAt(TOKEN_PRIVILEGES* privileges, unsigned long index) const noexcept;  // or null
    void FreePrivileges(TOKEN_PRIVILEGES* privileges) const noexcept;

private:
    friend struct CKivTokenLayout;
    struct Sharing;  // of a handle that has copies
    bool Share() const noexcept;
    void* m_token;
    TOKEN_GROUPS* m_groups;
    mutable Sharing* m_sharing;  // null as long as there was no copy
};

// Turns a privilege on for as long as the object lives. At its end the privilege is off, also when it had been on
// before. A copy turns it off as well, each at its own end.
class KIV_API CKivPrivilege {
public:
    CKivPrivilege(const char* name,
                  int processWide) noexcept;                // on the process, or with 0 on the current thread's token
    CKivPrivilege(void* token, const char* name) noexcept;  // on a token, which must outlive the object
    CKivPrivilege(const CKivPrivilege& other) noexcept;
    ~CKivPrivilege();
    CKivPrivilege& operator=(const CKivPrivilege& other) noexcept;

    // Whether the system accepted the change. That is also its answer for a privilege which the token does not hold;
    // CKivToken::IsPrivilegeEnabled tells.
    int Granted() const noexcept;

protected:
    // Failures are logged. The token needs TOKEN_ADJUST_PRIVILEGES; a thread needs a token of its own.
    static int SetTokenPrivilege(void* token, const char* name, int enable) noexcept;
    static int SetProcessPrivilege(void* process, const char* name, int enable) noexcept;
    static int SetThreadPrivilege(void* thread, const char* name, int enable) noexcept;

private:
    friend struct CKivPrivilegeLayout;
    char* m_name;
    int m_granted;
    int m_processWide;
    void* m_token;  // null for process and thread
};

// Frees a SID that one of the functions for the logon SID returned. Null is allowed.
extern "C" KIV_API void KIV_CALL KivFreeSid(void* sid) noexcept;

// The SID of the logon session among a token's groups, to be freed with KivFreeSid; null when there is none. The token
// needs TOKEN_QUERY.
extern "C" KIV_API void* KIV_CALL KivGetTokenLogonSid(void* token) noexcept;
extern "C" KIV_API void* KIV_CALL KivGetCurrentProcessLogonSid() noexcept;

// The text form of a token's user. *size is the room in the buffer: when it is below 28 characters and 12 for each
// sub-authority, or the buffer is null, *size becomes that number and the result is 0 with last error 122. Failures to
// read the token are logged.
extern "C" KIV_API int KIV_CALL KivGetTokenSid(void* token, char* buffer, unsigned long* size) noexcept;
extern "C" KIV_API int KIV_CALL KivGetCurrentProcessSid(char* buffer, unsigned long* size) noexcept;

// The same of the current thread's own token, opened with the process's rights (openAsSelf not 0) or the thread's. A
// thread that does not impersonate has none: 0.
extern "C" KIV_API int KIV_CALL KivGetCurrentThreadSid(char* buffer, unsigned long* size, int openAsSelf) noexcept;

// Grants an account right such as "SeServiceLogonRight" through the local security authority of a machine (null: this
// one). It stays granted. An account that cannot be found is 0 without a line in the log; other failures are logged.
// Machine and right have at most 255 characters.
extern "C" KIV_API int KIV_CALL KivAddAccountPrivilege(const char* machine, const char* account,
                                                       const char* right) noexcept;

#endif
