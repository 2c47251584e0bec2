#ifndef TAVKIVUT_NETWORK_H
#define TAVKIVUT_NETWORK_H

// Shares of this and other computers, and the sessions that a computer keeps with them.
//
// A computer is named with or without backslashes in front; null, "", "." and the own name are this computer. Paths and
// names are texts in the system code page. Nothing here writes a log line: an operation that fails leaves the reason in
// the thread's last error.
//
// The system's functions for shares are looked up at run time: netapi32.dll on the NT family, svrapi.dll on the 9x
// family. Where they are missing the operations fail with 127. Listing and making shares needs an administrator of
// the other computer.

#include "tavkivut/export.h"

// Which directory of a computer CKivRemoteShare reaches.
enum enumDirToShare : int {
    DIR_LOCAL_PATH = 0,        // the path given with SetLocalPath
    DIR_WORKSTATION_BASE = 1,  // the directory in which the installer's directory "TAVwksta" lies, as that computer's
                               // registry tells ("TAVwkstaPath", see KivGetTavWkstaPath), else its Windows directory
};

// A way to a directory of a computer by a network name.
//
// OpenShare takes a share of exactly that directory which is there already (so ADMIN$ for the Windows directory). Where
// there is none it makes a hidden one, whose name nobody else has ("TAV12AB34CD$"). On the NT family administrators
// get all rights through it, and with DIR_LOCAL_PATH everyone may read; on the 9x family everyone may read. Rights of
// the files themselves hold all the same.
//
// The share is closed with the object, and then removed again if the object made it. A share that was there already,
// and one that another object made, are never removed: each object that finds none makes its own. A process that ends
// without its destructors leaves its share behind.
//
//     CKivRemoteShare share("WS0815");
//     share.SetDirToShare(DIR_LOCAL_PATH);
//     share.SetLocalPath("C:\\jobs");
//     if (share.OpenShare())
//         ::CopyFileA("job.jdf", (std::string(share.GetUNCName()) + "\\job.jdf").c_str(), FALSE);
//
// One object serves one thread at a time.
class KIV_API CKivRemoteShare {
public:
    explicit CKivRemoteShare(const char* computer = nullptr) noexcept;
    ~CKivRemoteShare();
    CKivRemoteShare(const CKivRemoteShare&) = delete;
    CKivRemoteShare& operator=(const CKivRemoteShare&) = delete;

    // Each closes an open share. False, with nothing changed, for a null path, a kind that does not exist, and when
    // memory is exhausted (last error 87, 8).
    bool SetComputer(const char* computer) noexcept;
    bool SetDirToShare(enumDirToShare kind) noexcept;  // DIR_LOCAL_PATH at the start

    // The directory as that computer names it: "C:\jobs". A relative path is taken from the current directory, if the
    // computer is this one. A trailing backslash does not count.
    bool SetLocalPath(const char* path) noexcept;

    // True when the directory can be reached by the network name. Whether it exists, and what is in it, is not looked
    // at when a share is there already. Last error: 161 no absolute path of a drive, 1219 and its like what the
    // system's functions say, 2118 no free name.
    bool OpenShare() noexcept;

    // False, with the last error, when the share that was made cannot be removed; the object is closed all the same.
    bool CloseShare() noexcept;

    bool IsOpen() const noexcept;
    bool IsOwn() const noexcept;  // the open share was made by this object

    // Of the open share: "\\WS0815\TAV12AB34CD$", and the directory that it serves, "C:\jobs". Neither ends in a
    // backslash, so that "\" and a name can be appended; the root of a drive is "C:". They live until the share is
    // closed; "" when it is not open.
    const char* GetUNCName() const noexcept;
    const char* GetLocalPath() const noexcept;

private:
    friend struct CKivRemoteShareLayout;
    unsigned long Open() noexcept;

    char* m_computer;  // without backslashes; "" is this computer
    enumDirToShare m_kind;
    char* m_path;       // as given with SetLocalPath
    char* m_share;      // the open share's name, else null
    char* m_uncName;    // of the open share
    char* m_localPath;  // of the open share
    bool m_isOwn;
};

// Facts about workstations; static members only.
class KIV_API CKivRemoteWksta {
public:
    CKivRemoteWksta() = delete;

    // Writes the path that "\\host\share\folder\file" has on its own computer: "C:\share's folder\folder\file". It need
    // not exist. `out` may be the path's own buffer; `outSize` counts the terminator. Returns the number of characters
    // without the terminator; 0, with nothing written, when there is none: last error 87 null argument, 1200 no path of
    // a share, 2310 no such share, 234 the buffer is too small, 127 the system has no such function.
    static unsigned long GetWkstaLocalPath(const char* sharePath, char* out, unsigned long outSize) noexcept;
};

// Asks a computer to end the sessions which this computer's current user has there and through which nothing is open.
// That helps where a connection is refused since too many, or one under another name, are there. It needs an
// administrator's rights on that computer, and happens on the NT family only. Returns how many sessions were ended;
// the last error stays.
extern "C" KIV_API int KIV_CALL TryToCloseIdleNetworkSessions(const char* machine) noexcept;

#endif
