#ifndef TAVKIVUT_FILE_H
#define TAVKIVUT_FILE_H

// Judging a file on disk: four-part version numbers, and queries on a file named by its path (existence,
// type, size, time stamps, version resource). Nothing here writes a log line or changes a file.
//
// Results that can fail are status longs: 0 (S_OK) success, 1 (S_FALSE) no, negative a failure, which is
// 0x80070000 combined with the low 16 bits of the Win32 error, or 0x80004005 (E_FAIL) where no error says
// more.

#include "tavkivut/export.h"

// As <windows.h> declares them.
struct _FILETIME;    // NOLINT(bugprone-reserved-identifier)
struct _SYSTEMTIME;  // NOLINT(bugprone-reserved-identifier)

// A version number, most significant part first. 0xFFFF in a part means unknown.
struct FILE_VERSION {
    unsigned short Major;
    unsigned short Minor;
    unsigned short Build;
    unsigned short Revision;
};

// A version number with order, validity and text form.
//
// The order is that of the parts as numbers, so an unknown part (0xFFFF) counts as greater than any known
// one; no comparison asks for validity. GetVersionString writes into the object: one object serves one thread
// at a time.
class KIV_API CKivFileVersion {
public:
    CKivFileVersion() noexcept;  // all four parts unknown
    CKivFileVersion(unsigned short major, unsigned short minor, unsigned short build, unsigned short revision) noexcept;
    CKivFileVersion(const FILE_VERSION& version) noexcept;
    CKivFileVersion(const CKivFileVersion& other) noexcept;  // copies the four parts, not the text

    void Init() noexcept;  // all four parts unknown again

    CKivFileVersion& operator=(const CKivFileVersion& other) noexcept;  // copies the four parts, not the text
    CKivFileVersion& operator=(const FILE_VERSION& version) noexcept;
    operator FILE_VERSION() const noexcept;

    // "6.20.0.0", in the object's own buffer, which the next call overwrites; "N/A" when a part is unknown.
    const char* GetVersionString() noexcept;

    // 0 when all parts are equal, else this part minus the other's at the first part that differs.
    int Compare(const CKivFileVersion& other) const noexcept;

    bool operator==(const CKivFileVersion& other) const noexcept;
    bool operator!=(const CKivFileVersion& other) const noexcept;
    bool operator<(const CKivFileVersion& other) const noexcept;
    bool operator>(const CKivFileVersion& other) const noexcept;
    bool operator<=(const CKivFileVersion& other) const noexcept;
    bool operator>=(const CKivFileVersion& other) const noexcept;

    bool Verify(const CKivFileVersion& required) const noexcept;  // at least the required version
    bool IsValid() const noexcept;                                // no part is unknown

    char m_text[32];  // filled by GetVersionString
    unsigned short Major;
    unsigned short Minor;
    unsigned short Build;
    unsigned short Revision;
};

// Queries on a file. All are static and may run on any thread; a null path is error 87 (invalid parameter).
class KIV_API CKivFile {
public:
    // 1 when a search for the path finds anything, else 0: wildcards count, and so do folders.
    static int DoesExist(const char* path) noexcept;

    // The kind of file that the extension tells, without regard to case; the file itself is not looked at:
    // 0 .exe; 1 .dll, .ocx, .cpl; 3 .ttf, .ttc; 4 .fon; 5 .reg; 6 anything else.
    // 2 is reserved for type libraries and never returned: a file with the extension .tlb is of kind 6.
    static unsigned long GetType(const char* path) noexcept;

    // The low 32 bits of the size in bytes. `size` is 0xFFFFFFFF on failure, and when these bits are all
    // ones: the result is then that of the last error, which is 0 for a file that could be read.
    static long GetSize(const char* path, unsigned long& size) noexcept;

    // A time of the file, in local time: `which` is 0 for its creation, 1 for the last access, 2 for the last
    // write. `time` is zero on failure. With any other value of `which` it stays zero and the result is that
    // of the thread's last error after opening the file, which can be 0.
    static long GetTimeStamp(const char* path, struct _FILETIME& time, unsigned long which) noexcept;

    // The same as calendar fields. A zero time, as another value of `which` gives it, is the first of January
    // 1601.
    static long GetTimeStamp(const char* path, struct _SYSTEMTIME& time, unsigned long which) noexcept;

    // One string of the version resource, by its name ("CompanyName").
    // Copies it into `buffer`, cut to bufferSize characters with the terminator; a null buffer or size 0 only
    // asks. 0 when the string exists in the system's default language; 1 when it does not: the buffer then
    // holds the string of the last other language that has it, or "". E_FAIL when there is no version
    // resource or it cannot be read, 0x80070715 when it does not tell its languages. The buffer is "" on
    // failure.
    static long GetVersionInfo(const char* path, const char* name, char* buffer, unsigned long bufferSize) noexcept;

    // The file version (not the product version) of the fixed part of the version resource.
    // On failure the result is that of the last error, else E_FAIL, and `version` stays as it was.
    static long GetVersion(const char* path, CKivFileVersion& version) noexcept;

    // Sets isAtLeast to 1 when the file's version is the required one or newer, else to 0.
    // A version that cannot be read is the failure of GetVersion, with isAtLeast 0.
    static long VerifyVersion(const char* path, CKivFileVersion& required, int& isAtLeast) noexcept;
};

#endif
