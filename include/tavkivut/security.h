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
    friend class CKivSecurityDescriptor;
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
// before. A copy turns it off as well, each at its own end. Assignment leaves the privilege on that the target had
// turned on, and lets the target turn off the other's.
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

// One access-control entry (ACE): whom it concerns, which rights, and whether it allows or denies them.
//
// Entries of the types 0 (allowed), 1 (denied), 2 (audit) and 3 (alarm) hold a SID. Entries of other types, as a
// foreign list may have them, are copied and compared as they are; their SID is not found, and CKivAcl does not take
// them.
class KIV_API CKivAce {
public:
    // A copy; null, or an entry whose size does not fit what it holds, makes an empty object (last error 87).
    CKivAce(void* const ace = nullptr) noexcept;
    CKivAce(const CKivAce& other) noexcept;

    // An entry that allows (allow not 0) or denies rights to a SID, and is inherited by objects and containers below
    // (flags 3).
    CKivAce(void* sid, unsigned long mask, int allow) noexcept;
    ~CKivAce();

    // Makes the entry anew, with a copy of the SID. A null or invalid SID gives 0 (last error 1337) and an empty
    // object.
    int Create(unsigned char type, unsigned char flags, unsigned long mask, void* sid) noexcept;

    CKivAce& operator=(void* const ace) noexcept;  // as the constructor; may be the object's own
    CKivAce& operator=(const CKivAce& other) noexcept;

    // Both present, with the same type, mask, flags and SID.
    bool operator==(void* const ace) const noexcept;

    operator void*() const noexcept;  // the entry, which belongs to the object; null for an empty one
    void* GetAce() const noexcept;    // the same
    void* GetSid() const noexcept;    // the SID inside the entry; null when there is none

    operator unsigned long() const noexcept;  // the access mask; 0 for an empty object
    unsigned long GetAccessMask() const noexcept;

    // Writes account and rights to the log, as lines of detail. `index` numbers the entry. Nothing for an empty object.
    void DumpToLog(int index) noexcept;

protected:
    void Clear() noexcept;

private:
    friend struct CKivAceLayout;
    void* m_ace;
};

// An access-control list (ACL) of at most 65535 bytes. An empty object has no list at all, which is not the same as a
// list without entries.
//
// Adding an entry puts a denied one to the front of the list and every other one to its end. A list that has no room
// for it grows by exactly the entry's size, and growing reverses the denied entries which are there already: adding the
// denied entries A, B and C one after the other to an empty object gives C, A, B. A copy of a list, by constructor,
// assignment or CKivSecurityDescriptor::SetDacl, adds the entries of its source in their order to a list of the same
// size: A, B, C become C, B, A. The order among denied entries means nothing for what a list grants; that a copy has
// them in front of entries which they used to follow can deny what the source allowed, never the other way round.
//
// The text form lists the entries, joined by "-":
//
//     {type-flags-0xmask-[sid]}        {0-3-0x10000000-[S-1-5-32-544]}-{1-3-0x40000-[S-1-1-0]}
//
// type and flags are decimal, the mask hexadecimal, the SID has its own text form. Pointers and texts that an operation
// returns live until the next change or destruction of the object.
class KIV_API CKivAcl {
public:
    // A copy. Null, a malformed list, and one with an entry of a type above 3 make an empty object.
    CKivAcl(ACL* const acl = nullptr) noexcept;
    CKivAcl(const CKivAcl& other) noexcept;
    ~CKivAcl();

    CKivAcl& operator=(ACL* const acl) noexcept;  // as the constructor; may be the object's own
    CKivAcl& operator=(decltype(nullptr)) noexcept;
    CKivAcl& operator=(const CKivAcl& other) noexcept;

    // Reads a text form, and the text may be the object's own.
    //
    // Nothing is an error: reading ends where a text is not of that form, and what was read so far is kept. Type and
    // flags may also be written as hexadecimal or octal numbers of C. Instead of a SID an account may be named, with
    // ".\" in front for the local machine; an entry whose account is not known is left out, as is one that the
    // list has no room for. What an entry lacks has a default: type 0, flags 0, mask 0x80000000, and Everyone where
    // there are no brackets or a bracket is not closed. So "{}" grants read access to everyone: texts come from
    // whoever may set rights. A text without a usable entry leaves the object empty.
    CKivAcl& operator=(const char* text) noexcept;

    // The text form; "" for a list without entries. Without a list the text that was made last, null if there was none.
    operator const char*() noexcept;

    operator ACL*() const noexcept;  // the list, which belongs to the object; null for an empty one
    ACL* GetAcl() const noexcept;    // the same

    int IsValid() const noexcept;  // 1 when there is a well-formed list

    // Adds an entry by the rule above, and makes the list when there is none. On failure the list stays as it was; last
    // error 1337 invalid SID, 87 malformed entry, 1306 type above 3, 1344 the list would become too large.
    int AddAce(unsigned char type, unsigned char flags, unsigned long mask, void* sid) noexcept;
    int AddAce(void* const ace) noexcept;  // may be one of the list's own

    int DeleteAce(long index) noexcept;  // 0, with last error 87, when there is no such entry

    // Puts own entries before inherited ones, and within both the denied entries before the others, else in their
    // present order. A list that is not well-formed stays as it is.
    void SetPreferredDaclOrder() noexcept;

    long GetAceCount() const noexcept;          // -1 without a list
    void* GetAceAt(long index) const noexcept;  // the entry inside the list; null when there is none

    // What the system says that the list grants to an account, its groups counted in. 0 also on failure, without a
    // list, and on systems that cannot tell (before Windows NT 4).
    unsigned long GetEffectiveRights(void* const sid) noexcept;

    // Writes all entries to the log, as lines of detail. `label` names the list and may be null.
    void DumpToLog(const char* label) noexcept;

protected:
    void Clear() noexcept;

private:
    friend struct CKivAclLayout;
    friend class CKivSecurityDescriptor;
    void Adopt(void* list) noexcept;
    bool Reserve(unsigned long size) noexcept;
    ACL* m_acl;
    char* m_text;
    unsigned long m_capacity;  // bytes of the list's block, which may be more than the list has
};

// A security descriptor in its absolute form, with its own copies of owner, primary group and access-control list
// (DACL). It never points into memory that it does not own. Copies have no primary group and no audit list (SACL).
//
// An absent DACL, a null DACL and a list without entries are three different things: a null DACL, which
// SetDacl(null) makes and copies keep, grants everything to everyone, a list without entries grants nothing. Applying a
// descriptor whose DACL is absent leaves the choice to the system; some take it for a null DACL.
class KIV_API CKivSecurityDescriptor {
public:
    // As the assignment, so the default is a descriptor without owner, group and DACL.
    CKivSecurityDescriptor(void* const sd = nullptr) noexcept;
    CKivSecurityDescriptor(const CKivSecurityDescriptor& other) noexcept;
    ~CKivSecurityDescriptor();

    // Takes a copy of a descriptor of either form: owner, DACL and the marks that protect a DACL from inheritance. Null
    // makes an empty descriptor. A DACL with entries of a type above 3 is kept as it is: GetDacl(ACL**) gives it,
    // GetDacl() gives null. A malformed descriptor leaves none at all, and every operation answers 0 then.
    CKivSecurityDescriptor& operator=(void* const sd) noexcept;
    CKivSecurityDescriptor& operator=(const CKivSecurityDescriptor& other) noexcept;

    operator void*() const noexcept;               // the descriptor, which belongs to the object
    void* GetSecurityDescriptor() const noexcept;  // the same

    void* GetOwner() const noexcept;         // null when there is none
    void* GetPrimaryGroup() const noexcept;  // null when there is none

    int GetDacl(ACL** out) const noexcept;  // 1 when a DACL is present; *out is the DACL, null for a null or absent one
    ACL* GetDacl() const noexcept;          // the object's own list

    // Put a copy into the descriptor; null takes the owner or group out. Something that cannot be copied gives 0 and
    // changes nothing.
    int SetOwner(void* const sid) noexcept;
    int SetPrimaryGroup(void* const sid) noexcept;

    // Puts a copy of the list into the descriptor; null makes a null DACL, which grants everything to everyone. A list
    // that cannot be copied gives 0 and changes nothing.
    int SetDacl(ACL* const acl) noexcept;

    // Read owner and DACL, of a file also the group, from an object: a window station or desktop, a kernel object, a
    // file or folder, a registry key, a service. The handle needs READ_CONTROL. On failure the object stays as it was.
    int FromUserObject(void* handle) noexcept;
    int FromKernelObject(void* handle) noexcept;
    int FromFile(const char* path) noexcept;
    int FromRegKey(HKEY key) noexcept;
    int FromService(SC_HANDLE service) noexcept;

    // The same for another object.
    static int FromUserObject(void* handle, CKivSecurityDescriptor& target) noexcept;
    static int FromKernelObject(void* handle, CKivSecurityDescriptor& target) noexcept;
    static int FromFile(const char* path, CKivSecurityDescriptor& target) noexcept;
    static int FromRegKey(HKEY key, CKivSecurityDescriptor& target) noexcept;
    static int FromService(SC_HANDLE service, CKivSecurityDescriptor& target) noexcept;

    // Apply the DACL alone to an object, SetRegKeyOwner the owner alone. Objects below are not touched. The handle
    // needs WRITE_DAC, or WRITE_OWNER.
    int SetUserObjectDacl(void* handle) const noexcept;
    int SetKernelObjectDacl(void* handle) const noexcept;
    int SetFileDacl(const char* path) const noexcept;
    int SetRegKeyDacl(HKEY key) const noexcept;
    int SetRegKeyOwner(HKEY key) const noexcept;
    int SetServiceDacl(SC_HANDLE service) const noexcept;

    // A copy of a descriptor in one block without pointers, to be released with LocalFree; null on failure.
    static void* MakeSelfRelativeCopy(void* const sd) noexcept;

    // A copy of a self-relative descriptor in absolute form, all parts in one block of the process heap, to be released
    // with HeapFree; null for one that is absolute already, and on failure.
    static void* MakeAbsoluteCopy(void* const sd) noexcept;

protected:
    // Takes a descriptor of either form over, which is a block of the process heap, and keeps owner, group and DACL.
    // What cannot be used is freed and leaves no descriptor.
    void Attach(void* sd) noexcept;
    void Clear() noexcept;  // no descriptor at all

private:
    friend struct CKivSecurityDescriptorLayout;
    bool CopyFrom(void* source, bool withGroup) noexcept;
    int AttachRead(void* sd) noexcept;
    int AdoptDacl(void* list) noexcept;
    void* m_sd;
    CKivSid m_owner;
    CKivSid m_group;
    CKivAcl m_dacl;
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
