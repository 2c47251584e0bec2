#ifndef TAVKIVUT_INI_H
#define TAVKIVUT_INI_H

// INI files: one entry of a file as an object, and the import of a whole file into the registry.
//
// Give full paths: the system looks for a bare file name in the Windows folder, the import's size query in the current
// one. Texts are in the system code page. Nothing here writes a log line.

#include "tavkivut/export.h"

// One entry of an INI file: file, section and key, each null until it is set. It owns copies of the three texts; copies
// of the object have their own. While one of the three is null every operation fails.
//
// Reading understands files in the system code page, and UTF-16 and UTF-8 files with a byte-order mark. Writing is the
// system's: it keeps UTF-16 on the NT family and knows nothing of UTF-8.
class KIV_API CIniKey {
public:
    explicit CIniKey(const char* iniFile = nullptr, const char* section = nullptr, const char* key = nullptr) noexcept;
    CIniKey(const CIniKey& other) noexcept;
    CIniKey& operator=(const CIniKey& other) noexcept;
    virtual ~CIniKey();

    // Keep a copy; null is allowed.
    void SetIniFile(const char* iniFile) noexcept;
    void SetSectionName(const char* section) noexcept;
    void SetKeyName(const char* key) noexcept;

    const char* GetIniFile() const noexcept;
    const char* GetSectionName() const noexcept;
    const char* GetKeyName() const noexcept;

    // 1 when the file has the entry, also with an empty value; else 0.
    int Exist() const noexcept;

    // Reads the value into a buffer of `size` characters, terminator included. 1 when it was read whole, which a
    // missing entry is, as ""; 0 when it may have been cut: a value of exactly size - 1 characters counts as cut, so
    // size 1 always gives 0. Size 0 gives 1 and writes nothing.
    int GetValue(char* buffer, unsigned int size) const noexcept;

    // Writes the entry, making file and section when they are missing; null deletes the entry. 1 when it was written.
    // A line break in section, key or value would make entries of its own: 0, last error 87, nothing is written.
    int SetValue(const char* value) noexcept;

    // Deletes the entry, and the section when nothing is left in it. 1, also when there was no such entry; 0 when the
    // file cannot be written.
    int Remove() noexcept;

private:
    friend struct CIniKeyLayout;
    int Write(const char* value) noexcept;

    char* m_iniFile;
    char* m_section;
    char* m_key;
};

// Copies an INI file into the registry: each section becomes a subkey of the key named by keyPath
// ("HKLM\Software\TAV\TAVSetup", on this machine), each entry a value. What looks like a number (all decimal digits, or
// "0x" and hexadecimal digits) becomes REG_DWORD, modulo 2^32, anything else REG_SZ; 0xFFFFFFFF stays text.
//
// A subkey of exactly a section's name is deleted with all its contents first, so the section replaces what the
// registry held; one whose name differs in case is filled up. Nothing else below keyPath is touched. Missing keys are
// created. Entries without "=" are skipped, as are sections and values that cannot be written.
//
// A file that is missing, empty or cannot be opened changes nothing. Files may be in the system code page, or UTF-16 or
// UTF-8 with a byte-order mark. On the 9x family a section of an unmarked file is read up to 32767 characters.
extern "C" KIV_API void KIV_CALL WriteInifileToHkey(const char* keyPath, const char* iniFile) noexcept;

#endif
