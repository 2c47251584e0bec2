#ifndef TAVKIVUT_REGISTRY_H
#define TAVKIVUT_REGISTRY_H

// The registry: keys named by textual paths, on this or another machine, walks over their subkeys and values,
// values with conversions, multi-string values.
//
// A key path is a root name followed by subkey names, separated by "\": "HKLM\Software\TAV\TAVSetup". Roots are
// HKLM, HKCU, HKCR, HKU, HKPD, HKCC, HKDD and their long forms (HKEY_LOCAL_MACHINE, ...), in any case. The root is
// whatever name of these the path begins with; the one character behind it is skipped, "\" or not. Objects keep
// paths in canonical form: the root's short name, then the rest as given. A path without a root opens nothing
// (last error 6) and is kept as "".
//
// A machine name is kept with two backslashes in front, which are added where they are missing; null is the local
// machine. Texts are 8-bit, in the system code page.
//
// No operation throws or logs. The last error of an object is the Win32 status of its last registry call, 0 for
// success; enumerations leave it alone. Objects are not for use by several threads at once; each owns what it
// holds, and every operation accepts texts that belong to the object itself.

#include <windows.h>  // HKEY, SECURITY_ATTRIBUTES

#include "tavkivut/export.h"

class CKivRegValue;
struct KivSharedKey;  // internal: an open key that an iterator shares with its copies and its values
namespace kiv {
enum class ElementKind : int;  // internal: subkeys or values
}

// A registry key: open, or closed with or without a path. The handle is closed with the object.
class KIV_API CKivRegKey {
public:
    // Whom setAccess lets in.
    enum AccessType : int {
        AccessEveryone = 0,   // everybody, fully
        AccessRestricted = 1  // the token's user only, who also becomes the owner
    };

    // A position in the enumeration of a key's subkeys or values: the element's name, null at the end. It holds no
    // index, so it stays usable while elements come and go. Two positions are equal when machine, key path and name
    // are, letter by letter; null equals only null.
    class KIV_API iterator {
    public:
        iterator(const char* wksta, const char* key, const char* name,
                 unsigned long permissions = KEY_ALL_ACCESS) noexcept;
        iterator(const iterator& other) noexcept;
        iterator& operator=(const iterator& other) noexcept;
        ~iterator();

        void Init(const char* wksta, const char* key, const char* name) noexcept;  // the mask stays

        bool operator==(const iterator& other) const noexcept;
        bool operator!=(const iterator& other) const noexcept;

        const char* getWksta() const noexcept;
        const char* getKey() const noexcept;   // the path of the key that is enumerated
        const char* getName() const noexcept;  // null at the end
        unsigned long getPermissions() const noexcept;

    protected:
        friend class CKivRegKey;
        friend struct CKivRegKeyIteratorLayout;
        void Normalize() noexcept;
        void Advance(kiv::ElementKind kind) noexcept;
        void End() noexcept;

        char* m_wksta;
        char* m_key;
        char* m_name;
        unsigned long m_permissions;  // access with which elements are opened
        unsigned long m_position;     // where the element was seen last, verified by name before use
        KivSharedKey* m_walked;       // the enumerated key, open while it is walked
    };

    // A walk over subkeys. Advancing goes to the subkey behind the current one as the enumeration is then, to the
    // first when the current one is gone, and to the end behind the last or when the key cannot be enumerated any
    // more. Subkeys that cannot be opened are positions like all others.
    class KIV_API iteratorKeys : public iterator {
    public:
        iteratorKeys(const char* wksta, const char* key, const char* name,
                     unsigned long permissions = KEY_ALL_ACCESS) noexcept;
        iteratorKeys(const iterator& other) noexcept;
        iteratorKeys(const iteratorKeys& other) noexcept = default;
        iteratorKeys& operator=(const iteratorKeys& other) noexcept = default;

        CKivRegKey operator*() noexcept;  // opens the subkey; the end stands for the key itself
        iteratorKeys& operator++() noexcept;
        iteratorKeys operator++(int) noexcept;

    protected:
        iteratorKeys next(bool prefix) noexcept;
    };

    // A walk over values, in the same way. A name of more than 255 characters ends it.
    class KIV_API iteratorValues : public iterator {
    public:
        iteratorValues(const char* wksta, const char* key, const char* name,
                       unsigned long permissions = KEY_ALL_ACCESS) noexcept;
        iteratorValues(const iterator& other) noexcept;
        iteratorValues(const iteratorValues& other) noexcept = default;
        iteratorValues& operator=(const iteratorValues& other) noexcept = default;

        CKivRegValue operator*() noexcept;
        iteratorValues& operator++() noexcept;
        iteratorValues operator++(int) noexcept;

    protected:
        iteratorValues next(bool prefix) noexcept;
    };

    // Binds to the machine and opens the key, or its subkey. Without a key the object is closed. The last error is
    // that of the opening.
    explicit CKivRegKey(const char* wksta = nullptr, const char* key = nullptr, const char* subkey = nullptr,
                        unsigned long permissions = KEY_ALL_ACCESS) noexcept;

    // A local key on the NT family gets a duplicate of the other's handle, so it sees the same key even when the
    // path means another one by now; any other key is opened anew by its path. The last error is 0 in any case.
    CKivRegKey(const CKivRegKey& other) noexcept;

    // Ends closed and without a path, with the other's machine and permissions; the caller opens it afterwards.
    CKivRegKey& operator=(CKivRegKey& other) noexcept;

    ~CKivRegKey();

    bool connectTo(const char* wksta) noexcept;  // closes, then keeps the machine's name; true

    // Takes over a handle; the one held before is forgotten, not closed.
    void attach(HKEY handle) noexcept;
    HKEY detach() noexcept;          // gives the handle up; the caller closes it
    operator HKEY() const noexcept;  // null when not open

    const char* getWksta() const noexcept;  // with its two backslashes; null: local
    const char* getKey() const noexcept;    // the canonical path; null when closed
    unsigned long getLastError() noexcept;
    void setLastError(unsigned long error) noexcept;
    unsigned long getPermissions() const noexcept;

    // The path behind its last "\", or all of it; null when there is no path.
    const char* getName() noexcept;

    // The path before its last "\", or "", in a buffer with room for the path and its terminator. Gives the buffer.
    const char* getParentKey(char* buffer) noexcept;

    // Close what was open, open the key and keep its path, also when opening fails. A parent and a subkey are joined
    // with one "\"; an empty or null subkey means the parent. Paths may be of any length.
    bool open(const char* key, unsigned long permissions = KEY_ALL_ACCESS) noexcept;
    bool open(const char* parent, const char* subkey, unsigned long permissions = KEY_ALL_ACCESS) noexcept;

    // The same, but what is missing of the path is created, with the options of RegCreateKeyEx
    // (REG_OPTION_VOLATILE, ...) and the security attributes.
    bool create(const char* key, unsigned long permissions = KEY_ALL_ACCESS, unsigned long options = 0,
                SECURITY_ATTRIBUTES* sa = nullptr) noexcept;
    bool create(const char* parent, const char* subkey, unsigned long permissions = KEY_ALL_ACCESS,
                unsigned long options = 0, SECURITY_ATTRIBUTES* sa = nullptr) noexcept;

    bool close() noexcept;  // closes the handle and forgets the path; true

    int countKeys() noexcept;    // 0 when closed
    int countValues() noexcept;  // 0 when closed
    bool empty() noexcept;       // neither subkeys nor values

    // Positions for walks and searches; names are compared letter by letter.
    iteratorKeys beginKeys() noexcept;
    iteratorValues beginValues() noexcept;
    iterator end() noexcept;
    iteratorKeys findKey(const char* name) noexcept;
    iteratorValues findValue(const char* name) noexcept;

    // The value of that name, existing or not, opened with this key's machine, path and permissions.
    CKivRegValue operator[](const char* name) noexcept;

    // Where this key stands among the subkeys of its parent; -1 when the parent cannot be opened or shows no such
    // name.
    int getIndex() noexcept;

    // Moves to the next sibling. A sibling that cannot be opened leaves the object not open but with its path; no
    // further sibling, or a parent that cannot be opened, leaves it closed without a path.
    CKivRegKey& operator++() noexcept;

    // Delete the element at a position of this key, a subkey with everything below it. False only at the end; the
    // status of the deletion is the last error. A subkey that is a registry link is deleted as a link, what it
    // points to stays. Nothing stops at what cannot be deleted: it is skipped, and the last error tells.
    bool erase(iteratorValues& it) noexcept;
    bool erase(iteratorKeys& it) noexcept;

    // Delete from first on until it meets last or the end. Behind a deleted element the walk begins anew at the
    // first one, so a range that begins in the middle takes what stands before it too. The last error is the last
    // failure; an element whose name is too long to be shown ends a range of its whole kind with 234.
    bool erase(iteratorValues& first, iterator& last) noexcept;
    bool erase(iteratorKeys& first, iterator& last) noexcept;

    // Deletes this key with everything below it; the object ends closed, the last error is that of the deletion.
    // False, with nothing touched, for a key without a path and for a root. A key that is a registry link is deleted as
    // a link. The key itself is always removed through its parent on the local machine, also when it is bound to
    // another one: there only the contents go.
    bool remove() noexcept;

    // Replaces the key's access list; that of its present subkeys stays. Everyone: a null DACL, with which everybody
    // may do everything, also change the list. Restricted: all rights for the user of the token, who also becomes the
    // owner if that is permitted, and no rights for anyone else; subkeys made later inherit it. The key needs WRITE_DAC
    // and, for the owner, WRITE_OWNER, which the default permissions hold; the token needs TOKEN_QUERY. False on the 9x
    // family, for another type, for a restriction without a token, and when the list cannot be set.
    bool setAccess(AccessType type, void* token) noexcept;
    bool setEveryoneAccess() noexcept;
    bool setRestrictedAccess() noexcept;  // to the user of the calling thread

private:
    friend class CKivRegValue;
    friend struct CKivRegKeyLayout;
    bool Take(const char* path, unsigned long permissions) noexcept;
    bool Keep(long status) noexcept;
    void Share(KivSharedKey* walked, const iterator& position) noexcept;
    void Unshare() noexcept;
    iterator Find(kiv::ElementKind kind, const char* name) noexcept;
    bool IsWhole(kiv::ElementKind kind, const iterator& first, const iterator& last) const noexcept;

    HKEY m_handle;
    char* m_wksta;
    char* m_key;
    unsigned long m_lastError;
    unsigned long m_permissions;
    unsigned long m_position;  // where operator++ found it among its siblings, verified by name before use
    KivSharedKey* m_shared;    // not null: the handle is this one, and not only this object's
};

// A named value below a key that the object opens for itself. A null name is no value: the end of a walk.
// Where the key is not open or the name is null, operations do nothing, give null, 0 or false, and the last error
// is 0.
class KIV_API CKivRegValue {
public:
    explicit CKivRegValue(const char* wksta = nullptr, const char* key = nullptr, const char* name = nullptr,
                          unsigned long permissions = KEY_ALL_ACCESS) noexcept;
    CKivRegValue(const CKivRegValue& other) noexcept;             // opens the same value anew
    CKivRegValue& operator=(const CKivRegValue& other) noexcept;  // closes, then opens the other's value
    ~CKivRegValue();

    // True also when the key could not be opened: getKey().getLastError() tells, this object's last error does not.
    bool open(const char* wksta, const char* key, const char* name,
              unsigned long permissions = KEY_ALL_ACCESS) noexcept;
    bool close() noexcept;

    bool exist() noexcept;
    unsigned long getType() const noexcept;  // REG_SZ, ...; 0 when it cannot be read
    bool remove() noexcept;                  // deletes the value, then closes

    CKivRegValue& operator=(const char* text) noexcept;      // writes REG_SZ
    CKivRegValue& operator=(unsigned long number) noexcept;  // writes REG_DWORD

    // Appends to the value's text and writes REG_SZ, whatever it was; a missing value counts as "". A value that
    // cannot be read stays as it is.
    CKivRegValue& operator+=(const char* text) noexcept;

    // Add to or subtract from the value's number, modulo 2^32, and write REG_DWORD; a missing value counts as 0. A
    // value that cannot be read stays as it is.
    CKivRegValue& operator+=(unsigned long number) noexcept;
    CKivRegValue& operator-=(unsigned long number) noexcept;

    // The value as text: a REG_DWORD as a signed decimal number, any other type as its bytes, terminated, with
    // nothing expanded. Null when it cannot be read, "" when the key has been deleted meanwhile. The text belongs to
    // the object and lives until the next conversion.
    operator const char*() noexcept;

    // The value as number: a REG_DWORD as it is, any other type as the signed decimal number at its beginning,
    // modulo 2^32, 0 without digits. 0 when it cannot be read.
    operator unsigned long() noexcept;

    // Moves to the key's next value, from no value to the first; behind the last there is no value.
    CKivRegValue& operator++() noexcept;

    // Where the value stands in the key's enumeration, its name compared letter by letter; -1 when nowhere.
    int getIndex() noexcept;

    const char* getName() const noexcept;
    CKivRegKey& getKey() const noexcept;
    unsigned long getLastError() noexcept;
    void setLastError(unsigned long error) noexcept;
    unsigned long getPermissions() const noexcept;

private:
    friend class CKivRegKey;
    friend struct CKivRegValueLayout;
    CKivRegValue(KivSharedKey* walked, const CKivRegKey::iterator& position) noexcept;
    bool Usable() const noexcept;
    bool Changeable() const noexcept;
    bool Keep(long status) noexcept;
    void Write(unsigned long type, const void* data, size_t size) noexcept;

    CKivRegKey* m_key;
    char* m_name;
    char* m_text;  // what the last conversion gave
    unsigned long m_lastError;
    unsigned long m_permissions;
    unsigned long m_position;  // where operator++ found it, verified by name before use
};

// A REG_MULTI_SZ value as a list of texts.
class KIV_API CKivMultiSzRegValue {
public:
    // The key stays the caller's. A null key gives an empty list; so does a value that is missing.
    CKivMultiSzRegValue(HKEY key, const char* valueName) noexcept;
    CKivMultiSzRegValue(const CKivMultiSzRegValue& other) noexcept;
    CKivMultiSzRegValue& operator=(const CKivMultiSzRegValue& other) noexcept;
    ~CKivMultiSzRegValue();

    // Replaces the list by the value's items. 1, with an empty list, also when the value cannot be asked for at all
    // (missing, no right to read); 0, with an empty list, without a key, or when the data change or memory runs out
    // meanwhile. Data without the last terminators is split as far as it goes; empty items are kept.
    int Attach(HKEY key, const char* valueName) noexcept;

    void Append(const char* item) noexcept;  // a copy; null adds ""

    const char* GetItemAt(long index) const noexcept;  // null outside the list
    long GetCount() const noexcept;

    // Writes every item with its terminator and one terminator more. Gives the size that this needs; a buffer that
    // is smaller is not touched.
    unsigned int ToString(char* buffer, unsigned int size) const noexcept;

private:
    friend struct CKivMultiSzRegValueLayout;
    void Clear() noexcept;
    bool Reserve() noexcept;

    HKEY m_key;
    char** m_begin;
    char** m_end;
    char** m_capacity;  // behind the last entry that the array has room for
};

#endif
