#ifndef TAVKIVUT_INST_SERVER_H
#define TAVKIVUT_INST_SERVER_H

// The choice of the installation server: a directory, as a rule \\host\share\..., whose `setup` folder holds
// the configuration file "TavSetup.cfg". Several servers may be listed; the library measures how fast each
// answers ICMP echoes, takes the fastest that really serves the requested product, and remembers it for the
// rest of the process.
//
// The list is one text of paths separated by ";". It comes from entry "InstServer" of section "General" of
// the file "tavsetup.cfg" beside the running executable, else from the string "InstServer" of
// HKLM\Software\TAV\TAVSetup\General, else it is the parent directory of the executable's directory (the
// fallback). Of the list in the file the first 3119 characters count, wherever they end.
//
// Paths are texts in the system code page. Every output buffer without a size argument has room for
// kKivServerPathSize characters; a path that does not fit is never cut, the buffer gets "" then. Where an
// output buffer is null nothing happens.

#include "tavkivut/export.h"

enum : unsigned int { kKivServerPathSize = 260 };  // with the terminator

// Static members only; the state belongs to the process.
//
// The session server is chosen by the first GetPath(out, 0), or set by SetSessionServerPath, and then stays.
// Its host and share are remembered apart from it at the first GetServerHost and GetServerShare, and do not
// follow when another session server is set later. The load-balancing settings and the command line are read
// once, at first use.
//
// Load balancing is ruled by two numbers in HKLM\Software\TAV\TAVSetup\Policies: "LbDetectionQuality" (echo
// requests for each server, 1 to 999, else 4) and "LbEvaluateAllResponses" (not 0: every server is waited
// for; 0 or missing: only the first to finish counts).
//
// Every member may be called from any thread. A choice takes as long as the servers' answers, at most 30
// seconds.
class KIV_API CKivInstServer {
public:
    // The session server's path, without a trailing backslash; one is chosen when there is none. With
    // newChoice not 0 a fresh choice is made, which does not become the session server. The choice: the most
    // responsive server; when none answers in time, one at random (KivGetRandomNumber); when that one is not available,
    // the first of the list that is; when none is, the fallback, with a line in the log.
    static void GetPath(char* out, int newChoice) noexcept;

    // GetPath(out, 1).
    static void GetRandomPath(char* out) noexcept;

    // The list's entry at that index, without a trailing backslash; beyond the list its first entry.
    static void GetPath(unsigned int index, char* out) noexcept;

    // Number of entries of the list, at least 1. An empty element counts, but not one behind a last ";".
    static unsigned int GetCount() noexcept;

    // The setup directory of a server, or of the session server for null: base + "\setup", but base +
    // "\TAVwksta" where base is the Windows directory.
    static void GetSetupPath(char* out, const char* base) noexcept;

    // 1 when the server's setup folder holds "TavSetup.cfg" and the server serves the product named by the
    // process's command-line option "product" (/product:NAME): its key file, entry NAME of section
    // "Products", exists. Without the option the entry "TAVFRONTEND" is looked at; when that is empty too
    // there is nothing to check. A key file that begins with "%TAVSrcDir%" lies below the server's path.
    static int IsAvailable(const char* serverPath) noexcept;

    // Measures the servers of `list` (`count` paths), or with null those of the configured list, at most the
    // first 64 that have a host name of 1 to 15 characters, and copies the chosen path to out, cut to
    // outSize. Returns 1 when a server was chosen, else 0 with out "". Waiting for all, the available server
    // with the smallest average wins, the earlier one among equals; when the first candidate stayed the best,
    // a draw may put any other available server in its place, which spreads the load. Waiting for any, the
    // first to finish is taken when it answered completely and is available. A server that left one request
    // unanswered has no average and never wins. Nothing is chosen without ICMP (icmp.dll) or Winsock 2.
    static int GetMostResponsiveServer(char* out, unsigned int outSize, const char** list, int count) noexcept;

    // 1 when the path is the parent directory of the running executable's directory.
    static int IsFallbackServer(const char* path) noexcept;

    // Appends a server to the list in the registry, unless the configured list has an equal path.
    static void AddPath(const char* path) noexcept;

    // Writes the list without the entry at that index to the registry. Nothing happens beyond the list's end.
    static void RemovePath(unsigned int index) noexcept;

    // Sets the session server; "" unsets it, so that the next GetPath chooses again. Null changes nothing.
    static void SetSessionServerPath(const char* path) noexcept;

    // Not 0: the fallback path is written to the registry's list whenever it is used. 0 at the start.
    static void SetSessionRegPersistence(int persistent) noexcept;

    // The host of the session server; the local computer's name when its path has none. Belongs to the
    // library.
    static const char* GetServerHost() noexcept;

    // The share of the session server; null when its path is no UNC path. Belongs to the library.
    static const char* GetServerShare() noexcept;

    // Reads a text from HKLM\Software\TAV\TAVSetup\Policies\<share> on the session server's host, or from
    // ...\Policies when the share has no key there. The text is cut to outSize. Returns its length without
    // the terminator, 0 on any failure.
    static unsigned int GetServerPolicy(const char* name, char* out, unsigned int outSize) noexcept;

    // Writes such a text; the share's key is made when it is missing, and on the NT family everyone may then read it,
    // beside whom its access list lets in already. Returns 1 when the text was written.
    static int SetServerPolicy(const char* name, const char* value) noexcept;

protected:
    // The list in force, to be released with FreePathList; null when memory is exhausted. *isFallback (may be
    // null) tells whether it is the fallback.
    static char* MallocPathList(int* isFallback) noexcept;
    static void FreePathList(char* list) noexcept;

    // Thread entry: measures one server and drops the thread's reference of its record. Returns 0.
    static unsigned long __stdcall IcmpThreadProc(void* record) noexcept;
};

// 1 when the host answers an ICMP echo, and also when this system has no ICMP to ask with; 0 when its name
// does not resolve. The host is that of \\host\..., for a drive path that of its UNC form (the local computer
// without one), any other text as it stands. Each request waits 2 seconds, 5 with slow not 0. THERE IS NO
// LIMIT on the number of requests: a host that resolves and never answers keeps the caller for ever.
extern "C" KIV_API int KIV_CALL KivIsHostAlive(const char* hostOrPath, int slow) noexcept;

// A number from low to low + span. Its source is one random byte: there are at most 256 different results, and
// low + span itself comes for one of the 256 bytes only.
extern "C" KIV_API int KIV_CALL KivGetRandomNumber(int low, int span) noexcept;

// CKivInstServer::GetPath(out, 0).
extern "C" KIV_API void KIV_CALL KivGetServerPath(char* out) noexcept;

// The directory of the installer's workstation files: the string "TAVwkstaPath" of
// HKLM\Software\TAV\TAVSetup\General (environment variables expanded), else baseDir + "\TAVwksta"; a null
// baseDir is the Windows directory. The directory is made when it is missing. In the second case it is also
// hidden, gets an empty hidden file "__TAV.DIR", and its path is written to the registry; neither when it cannot be
// made. With `machine` the registry is that of another computer, but the directory, the variables and the Windows
// directory are this one's. Returns a buffer of the library's own, which the next call overwrites, from any
// thread; "" when a path does not fit.
extern "C" KIV_API const char* KIV_CALL KivGetTavWkstaPath(const char* machine, const char* baseDir) noexcept;

#endif
