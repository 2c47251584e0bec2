#ifndef TAVKIVUT_CRYPT_H
#define TAVKIVUT_CRYPT_H

// Encrypted settings: short texts, such as the password of an installer account, that stand in a configuration file
// and in the registry without being readable there.
//
// The text form is the same on every system, from Windows 95 on, so that one configuration file serves a whole site:
// printable characters, no blanks, no quotes, no line breaks, never a number; encrypted and authenticated
// (AES-256-GCM), with a fresh salt each time, so that equal settings do not look alike.
//
// The key is the site's: the value "SiteKey" of HKLM\Software\TAV\TAVSetup, REG_BINARY or REG_SZ, 16 to 1024 bytes,
// which an administrator sets to the same random bytes on all workstations of the site (characters beyond ASCII
// depend on the code page: leave them out). On 64-bit systems it may stand in the 32-bit or the 64-bit view of the
// registry; each program looks into its own view first. Protect that key of the registry: who reads the value reads the
// settings.
// Without the value a key that is built into the library is used. That is OBFUSCATION, not secrecy: everyone
// who has the library can undo it. A value that is there but cannot be used makes every operation fail, with a line in
// the log.
//
// Settings written under one key cannot be read under another: set the site key first.
//
// All functions are safe from any thread. They return 1 for success, else 0 with the reason in the thread's last
// error and nothing written:
//   87 ERROR_INVALID_PARAMETER     a null argument, a block length of 0
//   24 ERROR_BAD_LENGTH            the clear text, or the block, is too long
//  122 ERROR_INSUFFICIENT_BUFFER   the result and its terminator do not fit into outSize characters
//   13 ERROR_INVALID_DATA          the text is no encrypted setting, is damaged, or was made under another key; or
//                                  the site key cannot be used
//   any other                      the site key cannot be read

#include "tavkivut/export.h"

enum : unsigned int {
    kKivClearTextLimit = 256,      // characters of clear text, terminator not counted
    kKivEncryptedTextLimit = 768,  // characters of encrypted text, terminator not counted
    kKivEncryptedBlock = 64        // the block length of the configuration manager
};

// Static members only.
class KIV_API CKivEncryptData {
public:
    // Writes the text form of `clear` (at most kKivClearTextLimit characters, "" is allowed) to out. Its length is a
    // multiple of blockLength and at most kKivEncryptedTextLimit; with 64 it is 128 for a short text, 448 for the
    // longest. It tells the clear text's length no nearer than the block does.
    static int Encrypt(const char* clear, unsigned int blockLength, char* out, unsigned int outSize) noexcept;
};

// Static members only.
class KIV_API CKivDecryptData {
public:
    // Writes the clear text of a text form to out. What Encrypt did not make under this key is refused, whatever is
    // wrong with it: the result is the clear text or nothing.
    static int Decrypt(const char* text, char* out, unsigned int outSize) noexcept;
};

#endif
