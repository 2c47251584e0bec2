#ifndef TAVKIVUT_SYSTEM_H
#define TAVKIVUT_SYSTEM_H

// Facts about the machine, the user and the session: operating-system and browser release, folders, drives,
// terminal services. Most answers are computed once and then served from process-wide caches, which are never
// refreshed. Nothing here writes a log line.

#include "tavkivut/export.h"

// Operating systems that CKivSystem::CheckOS tells apart.
enum enumCheckOS : int {
    OS_ANY_NT = -100,
    OS_ANY_9X = -99,
    OS_NT4 = 1,
    OS_W2000 = 2,
    OS_XP = 3,
    OS_W2003 = 4,  // 5.2 and what follows as 5.x
    OS_W95 = 100,  // every 4.0 of the 9x family, OSR2 too
    OS_W95_OSR2 = 101,
    OS_W98 = 102,
    OS_WME = 103
};

// Internet Explorer releases that CKivSystem::CheckIE tells apart.
enum enumCheckIE : int {
    IE_3X = 30,
    IE_4X = 40,
    IE_5X = 50,
    IE_60X = 60,
    IE_300 = 300,
    IE_301 = 301,
    IE_302 = 302,
    IE_400 = 400,
    IE_401 = 401,
    IE_500 = 500,
    IE_501 = 501,
    IE_550 = 502,
    IE_600 = 600,
    IE_AFTER_600 = 999
};

// What GetGeneralSystemInfo fills.
struct GENERAL_SYSTEM_INFO {
    unsigned long cbSize;      // in: at least sizeof(GENERAL_SYSTEM_INFO), which is 16 on 32-bit systems
    const char* pszOsVersion;  // as CKivSystem::GetOsVersionString
    const char* pszIeVersion;  // as CKivSystem::GetIeVersionString
    bool bIsLocalAdmin;
    bool bIe401OrLater;  // left as it was when the browser is older than 4.72; false when there is none
};

// Facts about the machine; all static.
//
// A status long is 0 (S_OK) for yes or success, 1 (S_FALSE) for no, and negative for a failure, as a rule
// 0x80004005 (E_FAIL). A text belongs to the library and lives as long as it; it is never null unless said
// otherwise, and empty when the fact cannot be found, in which case the next call tries again. Folders come
// without a trailing backslash. Any thread may ask first.
class KIV_API CKivSystem {
public:
    static const char* GetSysDir() noexcept;    // null when the system's call fails
    static const char* GetSys16Dir() noexcept;  // the Windows folder followed by "\System"
    static const char* GetWinDir() noexcept;    // null when the system's call fails
    static const char* GetProgramFilesDir() noexcept;
    static const char* GetCommonFilesDir() noexcept;

    // The user's own temporary folder: "Temp", else "Tmp" of the user's environment in the registry,
    // expanded; else the one of the process.
    static const char* GetTempDir() noexcept;

    // Without an answer of the shell it is the Windows folder followed by "Fonts", with no backslash between
    // them.
    static const char* GetFontsDir() noexcept;

    // Creates an empty file with a new name in the temporary folder and gives its path.
    // A path of exactly `size` characters is accepted, so the buffer must have room for size + 1 bytes. A
    // longer one is E_FAIL and the file is deleted again.
    static long GetUniqueTempFileName(char* buffer, unsigned long size) noexcept;

    // Whether a path is on a network drive. A path that begins with two backslashes is; any other is judged
    // by its drive letter, whose answer is kept ("c" and "C" are kept apart). A drive of unknown kind is
    // E_FAIL the first time and counts as a network drive from then on. No drive, "" and null are E_FAIL
    // every time.
    static long IsNetworkDrive(const char* path) noexcept;

    static long IsNT() noexcept;  // S_OK on the NT family, S_FALSE on the 9x family

    // Whether the system is of that family or release. A value that does not exist is E_FAIL, and so is
    // OS_W2003 on the 9x family; every other release of the other family is S_FALSE.
    static long CheckOS(enumCheckOS which) noexcept;

    // Name and numbers: "Windows XP (Version 5.1 Build# 2600)". OS_W95_OSR2 is called "Windows 95 " here; a
    // release without a name "os type unknown".
    static const char* GetOsVersionString() noexcept;

    // Whether the browser is of that release, told by the version of the system folder's Shdocvw.dll.
    // Failures are those of CKivFile::GetVersion; a value that does not exist is E_FAIL.
    static long CheckIE(enumCheckIE which) noexcept;

    // The browser's name, "Internet Explorer 5.50", or "Shldocvw.dll Fileversion 5.0.2800.1" for a version
    // without one.
    static const char* GetIeVersionString() noexcept;

    // S_OK when the Administrators alias is among the groups of the process token, enabled or not, and for
    // everyone on the 9x family; anything else is E_FAIL, never S_FALSE.
    static long IsCurrentUserLocalAdmin() noexcept;

    static const char* GetComputerNameA() noexcept;

    // The user's name in UTF-16, at most `size` characters with the terminator.
    // With the domain, on the NT family, it is "DOMAIN\user" of the interactive logon, and `size` is not
    // looked at: the buffer must have room for 273 characters (a domain of 15, a backslash, a name of 256,
    // the terminator). Failures are the mapped system error.
    static long GetUserNameA(unsigned short* buffer, unsigned long size, bool withDomain) noexcept;

    // The profile folder of the token's user; `size` is the room in the buffer. Without a profile it is the
    // drive of the Windows folder ("C:"), cut to the room. E_FAIL only for a null argument, a size of 0, or a
    // system that does not tell its Windows folder.
    static long GetUserProfileDir(void* token, char* buffer, unsigned long* size) noexcept;

    static long IsTerminalServer() noexcept;
    static unsigned long GetSessionId(unsigned long processId) noexcept;  // as KivGetSessionId

    CKivSystem& operator=(const CKivSystem& other) noexcept;  // there is nothing to copy

    // The releases in the order in which they are tried, with their names; ended by 0 and null.
    static const unsigned long m_adwOsVersions[9];
    static const char* const m_aszOsVersions[9];
    static const unsigned long m_adwIeVersions[10];
    static const char* const m_aszIeVersions[10];
};

// Nonzero when the machine runs terminal services.
extern "C" KIV_API int KIV_CALL KivIsTerminalServer() noexcept;

// The session that a process runs in; 0 stands for the calling process. 0 on any failure, and where the
// system has no sessions.
extern "C" KIV_API unsigned long KIV_CALL KivGetSessionId(unsigned long processId) noexcept;

// The system's GetUserProfileDirectory for that token, its result unchanged; 0 with last error 127 where the
// system lacks the call, 87 without a size.
extern "C" KIV_API int KIV_CALL KivGetUserProfileDirectory(void* token, char* buffer, unsigned long* size) noexcept;

// Fills the record. False, with nothing written, when it is null or its cbSize too small.
extern "C" KIV_API bool KIV_CALL GetGeneralSystemInfo(GENERAL_SYSTEM_INFO* info) noexcept;

#endif
