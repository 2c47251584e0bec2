#ifndef TAVKIVUT_CRC32_H
#define TAVKIVUT_CRC32_H

// CRC-32 checksums of texts and files, and signatures: the checksum of a file, kept in a hidden folder beside it, tells
// a later run whether the file was changed. A signature keeps nobody from changing both; it only informs.
//
// The signature of C:\dir\app.cfg is C:\dir\signatures\app.cfg.xig. It has 48 bytes, numbers with the low byte first:
//
//     0  magic 0x3634    4  size 48    8  version 1    12  16 zeros    28  checksum    32  16 zeros

#include "tavkivut/export.h"

// The checksum is that of IEEE 802.3 and ZIP. All members are static and may run on any thread. Paths are full ones;
// with a relative path the signature lies beside the file only when the path has a backslash.
class KIV_API CKivCrc32 {
public:
    // The table for one byte, for callers that compute on their own.
    static const unsigned long s_dwCrc32[256];

    // The checksum of the bytes up to the terminator; 0 for an empty or null text. Always returns 0.
    static unsigned long FromString(const char* text, unsigned long& crc) noexcept;

    // The checksum of a file. Returns 0, or the system's error for a file that cannot be opened: crc is 0 then. A
    // file that someone else has open for writing cannot. When a read fails on the way, the checksum is that of
    // the bytes before, and the result 0.
    static unsigned long FromFile(const char* path, unsigned long& crc) noexcept;

    // Compares a file with its signature. The verdict is one line of the log, at level 3: no checksum, no signature,
    // modified, or original. Always returns 1: nothing is ever blocked.
    static int AuthenticateFile(const char* path) noexcept;

    // Writes the signature of the file as it is now; the folder is made when it is missing, and hidden. Returns 0, or
    // 23 (data error) when the file cannot be read or the signature not be written.
    static unsigned long UpdateAuthentication(const char* path) noexcept;

protected:
    // UpdateAuthentication.
    static unsigned long SaveFileCrcToRepository(const char* path) noexcept;

    // The checksum of the file's signature. Returns 0; 2 when the signature cannot be opened, 23 when it is none: crc
    // is 0xFFFFFFFF then. Bytes behind the checksum may be missing.
    static unsigned long LoadFileCrcFromRepository(const char* path, unsigned long& crc) noexcept;

    // Writes the path of a file's signature, at most 259 characters and the terminator; "" when it is longer. The
    // signatures folder is made first when `create` is not 0, and hidden in any case. A path without a backslash has
    // no signature: the name is that of the folder then, "signatures".
    static void GetRepositoryNameFromFileName(const char* path, char* signatureName, int create) noexcept;

private:
    static void CalcCrc32(unsigned char byte, unsigned long& crc) noexcept;
};

#endif
