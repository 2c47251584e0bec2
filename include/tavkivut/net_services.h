#ifndef TAVKIVUT_NET_SERVICES_H
#define TAVKIVUT_NET_SERVICES_H

// The TCP/IP services file of the system: which service has which port. It is loaded as a list of entries, edited, and
// written back in columns.
//
//     name          port/protocol  aliases    #comment
//     ftp               21/tcp     file-transfer    # File Transfer
//
// Every line of the file is an entry. A service has a name, a protocol and a port; every other entry stands for a
// comment or an empty line. A line that is neither ("abc", or "abc 12 /tcp" with its blank before the "/") loses all
// but its comment when the file is written.
//
// Texts are in the system code page. Nothing here writes a log line.

#include "tavkivut/export.h"

enum : long {
    NETSERVICE_NO_PORT = -2147483647L - 1  // 0x80000000
};

// One entry. It belongs to its list; the texts are its own copies, changed by the setters below only.
struct NETSERVICE {
    char* name;      // or null
    long port;       // or NETSERVICE_NO_PORT
    char* protocol;  // "tcp", or null
    int aliasCount;
    char** aliases;
    char* comment;  // what followed "#", or null
};

// The entries of a file in its order.
struct NETSERVICELIST {
    NETSERVICE** entries;
    long count;
    long room;  // for how many there is memory
};

// How wide the columns are, in characters.
struct NETSERVICEWIDTHS {
    unsigned long name;
    unsigned long port;            // with the "/" and the protocol
    unsigned long aliases;         // with a blank between two
    unsigned long comment;         // of services only
    unsigned long longestComment;  // of all entries
};

// The services file of this system. The object owns its entries; it cannot be copied. One object serves one thread at a
// time; two that save the same file overwrite each other's changes.
class KIV_API CKivNetServiceConfig {
public:
    // Loads the file. One that is missing or cannot be read gives an empty list, and saving that empties a file which
    // can be read by then: look for an entry before. Lines for which there is no memory are left out.
    CKivNetServiceConfig() noexcept;
    CKivNetServiceConfig(const CKivNetServiceConfig&) = delete;
    CKivNetServiceConfig& operator=(const CKivNetServiceConfig&) = delete;
    ~CKivNetServiceConfig();

    NETSERVICE* at(long index) noexcept;  // null outside the list

    // The first entry with that name, or with that port and protocol; null when there is none, and for a null text.
    // Upper and lower case make no difference.
    NETSERVICE* find(const char* name) noexcept;
    NETSERVICE* find(long port, const char* protocol) noexcept;

    // Adds an entry at the end; null when memory is exhausted. Nobody looks at the texts: blanks, "#" and line breaks
    // in them make other entries of the line when the file is read again.
    NETSERVICE* append(const char* name, long port, const char* protocol) noexcept;

    // Removes an entry and makes the pointer null; later entries move up. False when it is not in this list.
    bool remove(NETSERVICE** entry) noexcept;

    // Copies the file to its backup (its name and ".bak"), whether that works or not, and writes it anew, every line
    // ended by CR LF. A read-only file stays so. False when the file cannot be read or written, or memory is exhausted:
    // it has its old contents then, and the last error tells why.
    bool save() noexcept;

    // The file's path: system32\drivers\etc\services on the NT family, services in the Windows folder on the 9x family.
    // "" when the system does not tell its folder.
    static const char* getFileName() noexcept;

    // They keep copies. Null clears the field; a null entry, and a null alias, changes nothing.
    static void setServiceName(NETSERVICE* entry, const char* name) noexcept;
    static void setPort(NETSERVICE* entry, long port) noexcept;
    static void setProtocol(NETSERVICE* entry, const char* protocol) noexcept;
    static void setComment(NETSERVICE* entry, const char* comment) noexcept;
    static void addAlias(NETSERVICE* entry, const char* alias) noexcept;
    static void removeAliases(NETSERVICE* entry) noexcept;

protected:
    // The steps of loading and saving, for derived classes that look at other files or at what would be written.

    // Appends the entries of a file; false when it cannot be read.
    static bool parseServiceConfigFile(const char* fileName, NETSERVICELIST& list) noexcept;

    // The entry of one line; null when memory is exhausted.
    static NETSERVICE* parseServiceConfigEntry(const char* line) noexcept;

    // Frees all entries and the list itself, which is empty then.
    static void freeServiceConfig(NETSERVICELIST& list) noexcept;

    static void getPrettyPrinterInfo(const NETSERVICELIST& list, NETSERVICEWIDTHS& widths) noexcept;

    // Writes the line of an entry of the measured list, without a line end, and returns its length. The room that it
    // needs at most: the longest comment, or the sum of the other four widths and 15, whichever is more; and 32.
    static unsigned long createServiceConfigEntry(const NETSERVICE* entry, const NETSERVICEWIDTHS& widths,
                                                  char* line) noexcept;

    static bool backupServiceConfigFile() noexcept;

private:
    friend struct CKivNetServiceConfigLayout;

    NETSERVICELIST m_list;
};

#endif
