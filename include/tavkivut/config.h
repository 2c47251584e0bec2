#ifndef TAVKIVUT_CONFIG_H
#define TAVKIVUT_CONFIG_H

// The installer's settings, by section and key.
//
// They live in the registry below HKLM\Software\TAV\TAVSetup: a subkey per section, a value per key, REG_DWORD for what
// looks like a number (all decimal digits, or "0x" and hexadecimal digits; 0xFFFFFFFF stays text), else REG_SZ. They
// come from the INI file "TavSetup.cfg", which stands beside the running executable and in the "Setup" folder of each
// installation server.

#include <windows.h>  // CRITICAL_SECTION is a static member

#include "tavkivut/export.h"

// Reads and writes settings. The first operation in the process brings the registry in step with the file (Initialize).
//
// All instances share one state: operations of several instances and threads run one after the other, under a critical
// section that lives as long as any instance does. Writing needs an administrator's rights, and so does reading, which
// opens keys with full access.
//
// A null argument, an empty section name and a buffer of size 0 give false, with nothing done; to GetCfgStrings, no
// section name is a missing section.
class KIV_API CKivConfigMgr {
public:
    CKivConfigMgr() noexcept;
    ~CKivConfigMgr();
    CKivConfigMgr(const CKivConfigMgr&) = delete;
    CKivConfigMgr& operator=(const CKivConfigMgr&) = delete;

    // Takes the newer of the local file and the session server's file (the local one when they are equally new) and,
    // when it is newer than what the registry was last filled from, imports it: each section of the file replaces its
    // subkey, other subkeys stay. An older or equally old file never overwrites the registry; one that
    // cannot be read is tried again the next time. Choosing the session server can take as long as CKivInstServer says.
    // Another process that does the same is waited for, for at most 30 seconds. Returns true, whatever was found; the
    // log tells.
    bool Initialize() noexcept;

    // The setting as text, a number in signed decimal form. False, with the buffer untouched, when it does not exist or
    // does not fit.
    bool GetCfgString(const char* section, const char* key, char* buffer, unsigned long size) noexcept;

    // The setting as number; a text counts as the signed decimal number at its beginning. False, with value untouched,
    // when it does not exist.
    bool GetCfgDword(const char* section, const char* key, unsigned long& value) noexcept;

    // All settings of a section: two arrays of as many texts, names and values at the same places, each with a null
    // behind the last. Returns their number; a missing section gives 0 and two empty arrays. A value that cannot be
    // read is null. To be released with ReleaseCfgStrings. When memory is exhausted both arrays are null.
    long GetCfgStrings(const char* section, char**& names, char**& values) noexcept;

    // Frees both arrays with their texts, and makes them null. Null arrays are allowed.
    void ReleaseCfgStrings(char**& names, char**& values) noexcept;

    // Writes a setting to the registry and, with updateFile, to the local file and the file of every installation
    // server: each distinct path once, read-only and hidden files too, which get their attributes back. A file that is
    // missing is made where its folder exists. The log tells about each file; a failure does not stop the others.
    // Returns true; neither the registry's nor a file's failure changes that.
    // A line break in section, key or value would make entries of its own in a file: the files are then left alone, as
    // failed, the registry is still written.
    bool SetCfgString(const char* section, const char* key, const char* value, bool updateFile) noexcept;

    // SetCfgString with the number in the form 0xff. 0xFFFFFFFF ends as text, which GetCfgDword reads as 0.
    bool SetCfgDword(const char* section, const char* key, unsigned long value, bool updateFile) noexcept;

    // The same for a text that is kept encrypted (crypt.h), at most 256 characters. Reading something that is no
    // encrypted text, or was encrypted under another key, is false with the buffer untouched. Writing is false, with
    // nothing written, when the text cannot be encrypted.
    bool GetEncryptedCfgString(const char* section, const char* key, char* buffer, unsigned long size) noexcept;
    bool SetEncryptedCfgString(const char* section, const char* key, const char* value, bool updateFile) noexcept;

private:
    friend struct CKivConfigMgrState;
    void InitializeOnce() noexcept;

    static CRITICAL_SECTION m_cs;
    static bool m_bInitialized;
};

#endif
