#ifndef TAVKIVUT_INSTALL_SERVICE_H
#define TAVKIVUT_INSTALL_SERVICE_H

// Deployment of the installer service: the service "TAVInstallerSvc" with its program "tavkivis.exe", which runs under
// an account of its own and installs software for users who may not.
//
// Two ways lead to an installed service. CreateInstallationService puts it onto this computer, from the folder of the
// running program, and always overwrites. CKivInstallService puts it onto any computer, from the installation server,
// and copies only what is newer.
//
// Every step is told in the log, level 1, kind ' ', and what fails in it, kind 'E'; passwords never are. A service that
// cannot be opened is told by the result alone, except where it was to be started or opened to everyone. A file that
// cannot be copied and a right that cannot be granted do not stop a deployment: the log tells.
//
// The service is opened to everyone by a null DACL, so that users may start it. WHO MAY START IT MAY ALSO CHANGE IT:
// with a null DACL every local user can make the service run another program under its account. Use it on computers
// whose users are trusted so far, or leave AllowEveryoneToStartService out.
//
// The binary path is put in quotes where it holds a blank. An account is named "DOMAIN\user" or ".\user"; null and ""
// stand for the local system account where the service is made, and for the present one where it is changed.
//
// The Windows 95 family has no services: everything here fails there, except what only writes the registry.

#include "tavkivut/export.h"
#include "tavkivut/network.h"
#include "tavkivut/service_control.h"

// The installer service as CreateInstallationService installs it, and the library that its program needs beside it.
inline constexpr char kKivInstallServiceName[] = "TAVInstallerSvc";
inline constexpr char kKivInstallServiceExe[] = "tavkivis.exe";
inline constexpr char kKivInstallServiceLog[] = "tavkivlg.dll";
inline constexpr char kKivInstallServiceDisplay[] =
    "Allows users to install TAV Front-End Applications and Updates on their computers";
inline constexpr char kKivInstallServiceDesc[] =
    "Allows users to install software and patches on locked-down workstations";

// Installs, or installs anew, the service on this computer: stops it, copies "tavkivlg.dll" and "tavkivis.exe" from the
// running program's folder to the workstation directory (KivGetTavWkstaPath), grants the account its rights, makes the
// service (started on demand) or configures the one that is there, and opens it to everyone. The stop is not waited
// for, so a program that is slow to end can keep its file. Returns 1 when the service is there and open to everyone,
// else 0. The account needs the rights to log on as a service and interactively, to act as part of the system and to
// replace a process-level token; they stay granted.
extern "C" KIV_API int KIV_CALL CreateInstallationService(const char* account, const char* password) noexcept;

// Stores what the distribution service logs on with: HKLM\Software\TAV\TAVSetup\tavkivds\UData on that computer (null:
// this one), values "down" (user) and "dopw" (password), encrypted as crypt.h tells, for administrators only. False
// when a text is missing, the password is empty, either is longer than 256 characters, or the key cannot be written. A
// key whose access list cannot be changed is told in the log, and the result is true all the same.
extern "C" KIV_API bool KIV_CALL SaveServiceUserCredentials(const char* computer, const char* user,
                                                            char* password) noexcept;

// Stores the servers that the distribution service supports: HKLM\Software\TAV\TAVSetup\tavkivds\ServerList, value
// "ServerList", in the same way but not encrypted.
extern "C" KIV_API bool KIV_CALL Save_DS_SupportedServerList(const char* computer, const char* list) noexcept;

// The version of a file on another computer, which names it "C:\folder\file.exe", by way of a share (CKivRemoteShare).
// False, with the parts untouched, when there is no share or no version (file.h).
extern "C" KIV_API bool KIV_CALL GetRemoteFileVersion(const char* computer, const char* path, unsigned short& major,
                                                      unsigned short& minor, unsigned short& build,
                                                      unsigned short& revision) noexcept;

// The installer service of one computer.
//
// Results are status longs: 0 (S_OK) done or yes, 1 (S_FALSE) not yet, 0x80070000 combined with a Win32 error, or
// 0x80004005 (E_FAIL) where the log tells more. With incomplete data everything fails and nothing happens.
//
// The connection to the computer's service manager and the share of its directory are made when they are first needed,
// and stay until the object goes or gets another target. Copies have the same data and make their own. One object
// serves one thread at a time.
//
//     CKivInstallService service("WS0815", "TAVInstallerSvc", "tavkivis.exe", "Installer", "Installs software");
//     if (service.MakeUptodate() == 0 && service.InstallService(account, password, SERVICE_DEMAND_START) == 0)
//         service.StartServiceA("/source:nightly");
class KIV_API CKivInstallService {
public:
    // As the setters; a null computer is this one.
    CKivInstallService(const char* computer, const char* name, const char* exeName, const char* display,
                       const char* description) noexcept;
    CKivInstallService(const CKivInstallService& other) noexcept;
    CKivInstallService& operator=(const CKivInstallService& other) noexcept;
    ~CKivInstallService();

    // Each keeps a copy. False, with nothing changed, for null, an empty text and one that is too long: the service's
    // name and display name have at most 256 characters, the others 259. The computer is named with or without
    // backslashes, "." is this one.
    bool SetServiceName(const char* name) noexcept;
    bool SetServiceExeName(const char* exeName) noexcept;  // of the program in the directory "TAVwksta"
    bool SetServiceDisplay(const char* display) noexcept;
    bool SetServiceDesc(const char* description) noexcept;
    bool SetTargetComputer(const char* computer) noexcept;

    bool ServiceDataInitialized() const noexcept;  // all five are there

    // 0 when the service is there and can be opened with all access, else the system's error (1060: no such service).
    long IsInstalled() noexcept;

    // Stops the service and waits, at most 7.5 seconds: 0 when it has stopped, 1 when not yet. E_FAIL when it is not
    // installed or cannot be opened.
    long IsStopped() noexcept;

    // Copies the files that section "Files" of the installation server's TavSetup.cfg lists (its values) from the
    // server's setup folder to the target's directory "TAVwksta", which is made when it is missing, and writes its path
    // to the target's registry ("TAVwkstaPath"). Where the service is installed, a file is copied only when it is newer
    // than the target's, or when one of the two has no version; a program in use cannot be copied, so stop the service
    // before. Names may have folders in front; one that leads out of the directory is not copied. A failed copy leaves
    // the result 0.
    long MakeUptodate() noexcept;

    // Grants the account its four rights on the target, and makes the service or, after stopping it, gives the one that
    // is there this account, password and start type (SERVICE_DEMAND_START, ...). A service that does not stop is not
    // changed. A null password is none for a new service and the present one for another; "" is a password of no
    // characters.
    long InstallService(char* account, char* password, unsigned long startType) noexcept;

    long AllowEveryoneToStartService() noexcept;  // see above for what that means

    // Starts the service with arguments, split as CommandLineToArgv does; null and "" are none. While the service
    // database is locked it is tried again, 10 times, a second apart. E_FAIL for every failure; the line says "not
    // installed" for a service that cannot be opened, too.
    long StartServiceA(const char* arguments) noexcept;

private:
    friend struct CKivInstallServiceLayout;
    bool Set(char*& field, const char* text, unsigned long limit) noexcept;
    bool IsComplete() const noexcept;
    void Disconnect() noexcept;
    unsigned long Connect() noexcept;
    unsigned long OpenTarget(CNTScmService& service) noexcept;
    unsigned long FindTarget() noexcept;
    unsigned long OpenDirectory() noexcept;
    long Create(const char* binaryPath, const char* account, const char* password, unsigned long startType) noexcept;
    long Reconfigure(CNTScmService& service, const char* binaryPath, const char* account, const char* password,
                     unsigned long startType) noexcept;

    char* m_computer;
    char* m_name;
    char* m_exeName;
    char* m_display;
    char* m_description;
    bool m_initialized;
    CNTServiceControlManager m_manager;
    CKivRemoteShare m_share;
};

#endif
