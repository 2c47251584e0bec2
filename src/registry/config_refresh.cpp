#include "registry/config_refresh.h"

#include <string>

#include "registry/config_files.h"
#include "registry/ini_import.h"
#include "support/log.h"
#include "support/scoped_resource.h"
#include "tavkivut/file.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/registry.h"

namespace kiv {
namespace {

// The time of the file that the registry was last filled from, in halves, directly below the root key. Written last, so
// that a refresh that was broken off is done again.
constexpr char kTimeLow[] = "ConfigFileTimeLow";
constexpr char kTimeHigh[] = "ConfigFileTimeHigh";

constexpr unsigned long kLastWriteTime = 2;

// Keeps other processes from refreshing at the same time: one would delete the settings that the other has just written
// and begins to use. Where the lock cannot be had, or its owner does not end, the refresh goes on without.
class RefreshLock {
public:
    RefreshLock() noexcept : m_mutex(Make("Global\\TavKivUtConfigRefresh")) {
        if (!m_mutex)  // systems before terminal services know no global names
            m_mutex.Reset(Make("TavKivUtConfigRefresh"));
        if (m_mutex) {
            const DWORD wait = ::WaitForSingleObject(m_mutex.Get(), kLongestWait);
            m_held = wait == WAIT_OBJECT_0 || wait == WAIT_ABANDONED;
        }
    }
    ~RefreshLock() {
        if (m_held)
            ::ReleaseMutex(m_mutex.Get());
    }
    RefreshLock(const RefreshLock&) = delete;
    RefreshLock& operator=(const RefreshLock&) = delete;

private:
    static constexpr DWORD kLongestWait = 30000;

    // A mutex that a service made may be opened for waiting only.
    static HANDLE Make(const char* name) noexcept {
        const HANDLE mutex = ::CreateMutexA(nullptr, FALSE, name);
        return mutex != nullptr || ::GetLastError() != ERROR_ACCESS_DENIED ? mutex
                                                                           : ::OpenMutexA(SYNCHRONIZE, FALSE, name);
    }

    ScopedKernelObject m_mutex;
    bool m_held = false;
};

struct ConfigSource {
    std::string file;
    FILETIME time = {};
};

bool IsLater(const FILETIME& time, const FILETIME& than) noexcept {
    return ::CompareFileTime(&time, &than) == 1;
}

// Zero for a file whose time cannot be read.
FILETIME TimeOf(const std::string& file) noexcept {
    FILETIME time = {};
    CKivFile::GetTimeStamp(file.c_str(), time, kLastWriteTime);
    return time;
}

// The local file, or the session server's when that is newer.
ConfigSource ChooseSource() {
    ConfigSource source;
    const std::string local = LocalConfigFile();
    if (CKivFile::DoesExist(local.c_str()) != 0)
        source = {local, TimeOf(local)};
    char server[kKivServerPathSize] = "";
    CKivInstServer::GetPath(server, 0);
    if (server[0] == '\0')
        return source;
    const std::string remote = ServerConfigFile(server);
    if (CKivFile::DoesExist(remote.c_str()) != 0) {
        const FILETIME time = TimeOf(remote);
        if (IsLater(time, source.time))
            source = {remote, time};
    }
    return source;
}

FILETIME StoredTime() {
    CKivRegValue low(nullptr, kConfigRootKey, kTimeLow);
    CKivRegValue high(nullptr, kConfigRootKey, kTimeHigh);
    if (!low.exist() || !high.exist())
        return {};
    FILETIME time;
    time.dwLowDateTime = static_cast<unsigned long>(low);
    time.dwHighDateTime = static_cast<unsigned long>(high);
    return time;
}

// Opened after the import, which makes the root key on a fresh machine. A file without sections makes none.
void StoreTime(const FILETIME& time) {
    CKivRegValue low(nullptr, kConfigRootKey, kTimeLow);
    CKivRegValue high(nullptr, kConfigRootKey, kTimeHigh);
    low = static_cast<unsigned long>(time.dwLowDateTime);
    high = static_cast<unsigned long>(time.dwHighDateTime);
}

}  // namespace

void RefreshConfig() {
    KIV_LOG(kLogMain, kLogInfo, "initializing configuration managment");
    const ConfigSource source = ChooseSource();
    if (source.time.dwLowDateTime == 0 && source.time.dwHighDateTime == 0)
        KIV_LOG(kLogMain, kLogWarning, "No configuration info available");
    const auto isDue = [&source] { return IsLater(source.time, StoredTime()); };
    if (isDue()) {
        const RefreshLock lock;
        if (isDue()) {  // no other process has done it meanwhile
            KIV_LOG(kLogMain, kLogInfo, "update config information from %s", source.file.c_str());
            if (ImportIniFile(kConfigRootKey, source.file.c_str()))
                StoreTime(source.time);
            return;
        }
    }
    KIV_LOG(kLogMain, kLogInfo, "config information is uptodate");
}

}  // namespace kiv
