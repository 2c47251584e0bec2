#ifndef TAVKIVUT_SERVICE_CONTROL_H
#define TAVKIVUT_SERVICE_CONTROL_H

// The service control manager of this or another computer, and one service of it.
//
// Every operation returns whether it did its work. A failure writes one line to the log, level 1, kind 'E', with the
// system's text for the error, and leaves that Win32 error as the thread's last error; success leaves the last error as
// it was. A closed object gives 6 (ERROR_INVALID_HANDLE), a missing argument 87 (ERROR_INVALID_PARAMETER), a system
// without the function (the Windows 95 family has no services) 120 (ERROR_CALL_NOT_IMPLEMENTED). Exhausted memory
// gives 8 (ERROR_NOT_ENOUGH_MEMORY). A failed operation leaves its outputs alone, but that blocks of data become null.
//
// An object owns its handle and closes it with itself. Copies share the handle: one of the two has to Detach it before
// both go. Objects are not for use by several threads at once.
//
// Blocks of data that an operation hands out are the caller's, to be released with free() of the C run-time
// (msvcrt.dll). Texts are 8-bit, in the system code page. Numbers (types, states, access rights, controls) are those of
// the system's header.

#include <windows.h>

#include <winsvc.h>  // SC_HANDLE and the records; windows.h leaves it out where it is told to be lean

#include "tavkivut/export.h"

class CNTServiceControlManager;

// One service. The operations want a handle that was opened with the access right named with them.
class KIV_API CNTScmService {
public:
    CNTScmService() noexcept;
    CNTScmService(const CNTScmService& other) noexcept;             // shares the handle
    CNTScmService& operator=(const CNTScmService& other) noexcept;  // closes a different handle, then shares
    ~CNTScmService();

    operator SC_HANDLE() const noexcept;
    void Attach(SC_HANDLE service) noexcept;  // takes the handle over; closes a different one that was there
    SC_HANDLE Detach() noexcept;              // gives the handle away
    void Close() noexcept;

    // Changes what the configuration says (SERVICE_CHANGE_CONFIG). SERVICE_NO_CHANGE or null leaves an item as it is.
    // The dependencies are names, each terminated, with one more terminator behind the last.
    bool ChangeConfig(unsigned long type, unsigned long startType, unsigned long errorControl, const char* binaryPath,
                      const char* loadOrderGroup, unsigned long* tagId, const char* dependencies, const char* startName,
                      const char* password, const char* displayName) noexcept;

    // Sends a control code (the right depends on the code). The service has taken it when this returns; what it leads
    // to may come later.
    bool Control(unsigned long code) noexcept;
    bool Stop() const noexcept;         // SERVICE_STOP; WaitForStop waits for it
    bool Pause() const noexcept;        // SERVICE_PAUSE_CONTINUE
    bool Continue() const noexcept;     // SERVICE_PAUSE_CONTINUE
    bool Interrogate() const noexcept;  // SERVICE_INTERROGATE

    // Waits as long as the service is about to stop (SERVICE_STOP_PENDING), at most so many milliseconds; 0xFFFFFFFF
    // sets no limit (SERVICE_QUERY_STATUS). True when it has stopped, and also when it is in any other state, at once
    // where it never was about to stop. At the end of the time the result is false with last error 1460
    // (ERROR_TIMEOUT), without a line in the log. The service is asked after each of its own wait hints, but neither
    // more often than every 10 ms nor beyond the limit.
    bool WaitForStop(unsigned long timeoutMs) noexcept;

    // Starts the service with that many arguments (SERVICE_START); it gets its name in front of them. It is on its
    // way, or runs, when this returns.
    bool Start(unsigned long argc, const char** argv) const noexcept;

    // Whether the service takes such controls at present (SERVICE_QUERY_STATUS).
    bool AcceptStop(bool& accepts) noexcept;
    bool AcceptPauseContinue(bool& accepts) noexcept;
    bool AcceptShutdown(bool& accepts) noexcept;

    // The state (SERVICE_QUERY_STATUS). The longer record, which tells the process too, is there since Windows 2000.
    bool QueryStatus(SERVICE_STATUS& status) const noexcept;
    bool QueryStatus(SERVICE_STATUS_PROCESS& status) const noexcept;

    // What the configuration says, in one block with its texts (SERVICE_QUERY_CONFIG).
    bool QueryConfig(QUERY_SERVICE_CONFIGA*& config) const noexcept;

    // Makes a service and opens it with that access, closing a different handle that was there; on failure that stays.
    // The manager must have been opened with SC_MANAGER_CREATE_SERVICE. A binary path with blanks has to stand in
    // quotes. Null: no group, no tag, no dependencies, the local system account, no password, the name as display name.
    bool Create(CNTServiceControlManager& manager, const char* name, const char* displayName, unsigned long access,
                unsigned long type, unsigned long startType, unsigned long errorControl, const char* binaryPath,
                const char* loadOrderGroup, unsigned long* tagId, const char* dependencies, const char* startName,
                const char* password) noexcept;

    // Marks the service for deletion (DELETE). It goes when it has stopped and the last handle to it, this one too, is
    // closed; until then it cannot be made anew (1072).
    bool Delete() const noexcept;

    // Parts of the security descriptor, chosen by SECURITY_INFORMATION bits; self-relative where it is read. Owner and
    // group want WRITE_OWNER or READ_CONTROL, the DACL WRITE_DAC or READ_CONTROL, the SACL ACCESS_SYSTEM_SECURITY.
    bool SetObjectSecurity(unsigned long info, void* descriptor) const noexcept;
    bool QueryObjectSecurity(unsigned long info, void*& descriptor) const noexcept;

    // Calls back for each service that depends on this one, the last to be started first, which is the order to stop
    // them in (SERVICE_ENUMERATE_DEPENDENTS). The state is SERVICE_ACTIVE, SERVICE_INACTIVE or SERVICE_STATE_ALL. The
    // record and its texts live as long as the call; false ends the list, which is success. The data word is handed
    // on as it is; a pointer does not fit into it on 64-bit systems.
    bool EnumDependents(unsigned long state, unsigned long data,
                        bool (*callback)(unsigned long data, ENUM_SERVICE_STATUSA& service)) const noexcept;

private:
    SC_HANDLE m_service;
};

// The manager of one computer. A lock of the service database belongs to the object that took it: copies do not share
// it, and closing releases it.
class KIV_API CNTServiceControlManager {
public:
    CNTServiceControlManager() noexcept;
    CNTServiceControlManager(const CNTServiceControlManager& other) noexcept;             // shares the handle
    CNTServiceControlManager& operator=(const CNTServiceControlManager& other) noexcept;  // closes a different handle
    ~CNTServiceControlManager();

    operator SC_HANDLE() const noexcept;
    void Attach(SC_HANDLE manager) noexcept;  // takes the handle over; closes a different one that was there
    SC_HANDLE Detach() noexcept;              // gives the handle away
    void Close() noexcept;                    // releases a lock, too

    // Opens the database of active services of a computer ("\\NAME" or "NAME"; null is this one) with that access
    // (SC_MANAGER_CONNECT, ...), after closing what was open. Tried up to five times, each failure with a line of its
    // own; in between, idle network sessions of the caller to that computer are closed, which may stand in the way with
    // other credentials. Where the call failed on its way (1726) the thread's window messages are handled and 100 ms
    // are waited before the next attempt. An unknown computer can take minutes.
    bool Open(const char* machine, unsigned long access) noexcept;

    // Opens a service (SC_MANAGER_CONNECT). `out` closes a different handle that was there; on failure that stays.
    bool OpenServiceA(const char* name, unsigned long access, CNTScmService& out) const noexcept;

    // Locks the service database (SC_MANAGER_LOCK): no service can start on that computer until Unlock. 1055 when it
    // is locked already, by this object or another.
    bool Lock() noexcept;
    bool Unlock() noexcept;  // 1071 where this object has no lock

    // Whether the database is locked, by whom and for how long, in one block (SC_MANAGER_QUERY_LOCK_STATUS).
    bool QueryLockStatus(QUERY_SERVICE_LOCK_STATUSA*& out) const noexcept;

    // Calls back for each service of those types (SERVICE_WIN32, SERVICE_DRIVER) and states (SERVICE_ACTIVE,
    // SERVICE_INACTIVE, SERVICE_STATE_ALL), in the system's order (SC_MANAGER_ENUMERATE_SERVICE). The record and its
    // texts live as long as the call; false ends the list, which is success. The data word is handed on as it is; a
    // pointer does not fit into it on 64-bit systems.
    bool EnumServices(unsigned long type, unsigned long state, unsigned long data,
                      bool (*callback)(unsigned long data, ENUM_SERVICE_STATUSA& service)) noexcept;

    // The same with the longer record, for the services of a load-order group: null for all, "" for those without.
    // There since Windows 2000.
    bool EnumServices(unsigned long type, unsigned long state, const char* group, unsigned long data,
                      bool (*callback)(unsigned long data, ENUM_SERVICE_STATUS_PROCESSA& service)) noexcept;

    // The error of the last operation that failed, 0 at first; of this object, whatever the thread did since.
    unsigned long GetLastError() const noexcept;
    void SetLastError(unsigned long error) noexcept;

private:
    friend struct CNTServiceControlManagerLayout;
    bool Finish(unsigned long error, const char* failure) const noexcept;

    SC_HANDLE m_manager;
    SC_LOCK m_lock;
    mutable unsigned long m_lastError;
};

#endif
