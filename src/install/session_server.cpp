#include "install/session_server.h"

#include <cstring>
#include <string>
#include <vector>

#include "support/log.h"

#include "files/path_text.h"
#include "install/configured_servers.h"
#include "install/server_list.h"
#include "install/server_paths.h"
#include "support/code_page.h"
#include "support/lazy_lock.h"
#include "support/once.h"
#include "tavkivut/frame.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/system.h"

using kiv::kLogInfo;
using kiv::kLogMain;

namespace {

kiv::LazyLock g_lock;
char g_szSessionServerPath[kKivServerPathSize];  // "" until a server is chosen or set; no trailing backslash
int g_bSessionRegPersistence = 0;

// Parts of the session server's path, kept from the first question on.
struct SessionPart {
    kiv::Once once;
    char text[kKivServerPathSize];
    bool exists;
};
SessionPart g_host;
SessionPart g_share;

bool CopySessionServer(char* out) noexcept {
    CCriticalSection_MethodHelper guard(g_lock.Get(), false);
    guard.Enter();
    std::memcpy(out, g_szSessionServerPath, sizeof g_szSessionServerPath);
    return out[0] != '\0';
}

// The path in the form in which servers are kept.
std::string SessionForm(const std::string& path) {
    return kiv::WithoutTrailingBackslash(kiv::UniversalPath(path));
}

// The first available server of the list; when none is, the directory that the installer was started from.
std::string FirstAvailableServer() {
    const std::string list = kiv::ReadServerList().text;
    for (const std::string_view entry : kiv::SplitServerList(list)) {
        std::string server = kiv::WithoutTrailingBackslash(entry);
        if (CKivInstServer::IsAvailable(server.c_str()) != 0)
            return server;
    }
    KIV_LOG(kLogMain, kLogInfo, "No Server determined, using current dir");
    return kiv::FallbackServerPath();
}

std::string ChooseServer() {
    char server[kKivServerPathSize];
    if (CKivInstServer::GetMostResponsiveServer(server, sizeof server, nullptr, -1) == 0) {
        const int last = static_cast<int>(CKivInstServer::GetCount()) - 1;
        CKivInstServer::GetPath(static_cast<unsigned int>(KivGetRandomNumber(0, last)), server);
    }
    return SessionForm(CKivInstServer::IsAvailable(server) != 0 ? server : FirstAvailableServer());
}

// Makes the choice the session server unless another thread's was faster, which then holds for this one too.
void KeepChoice(std::string& chosen) noexcept {
    CCriticalSection_MethodHelper guard(g_lock.Get(), false);
    guard.Enter();
    if (g_szSessionServerPath[0] == '\0')
        kiv::CopyServerPath(g_szSessionServerPath, chosen);
    else
        chosen = g_szSessionServerPath;
}

// The host or share of the session server, as a part of its UNC form.
void FillPart(SessionPart& part, std::string_view (*find)(std::string_view, kiv::LeadByteTest) noexcept) noexcept {
    char path[kKivServerPathSize];
    CKivInstServer::GetPath(path, 0);
    const std::string universal = kiv::UniversalPath(path);
    part.exists = kiv::IsUncPath(universal);
    kiv::CopyServerPath(part.text, part.exists ? find(universal, kiv::IsAnsiLeadByte) : std::string_view());
}

}  // namespace

bool kiv::IsSessionWrittenToRegistry() noexcept {
    return __atomic_load_n(&g_bSessionRegPersistence, __ATOMIC_RELAXED) != 0;
}

void CKivInstServer::SetSessionRegPersistence(int persistent) noexcept {
    __atomic_store_n(&g_bSessionRegPersistence, persistent, __ATOMIC_RELAXED);
}

void CKivInstServer::GetPath(char* out, int newChoice) noexcept {
    if (out == nullptr || (newChoice == 0 && CopySessionServer(out)))
        return;
    std::string chosen = ChooseServer();
    if (newChoice == 0)
        KeepChoice(chosen);
    kiv::CopyServerPath(out, chosen);
}

void CKivInstServer::GetRandomPath(char* out) noexcept {
    GetPath(out, 1);
}

void CKivInstServer::SetSessionServerPath(const char* path) noexcept {
    if (path == nullptr)
        return;
    const std::string server = SessionForm(path);
    if (server.size() >= sizeof g_szSessionServerPath)
        return;
    CCriticalSection_MethodHelper guard(g_lock.Get(), false);
    guard.Enter();
    kiv::CopyServerPath(g_szSessionServerPath, server);
}

const char* CKivInstServer::GetServerHost() noexcept {
    g_host.once.Run([] {
        FillPart(g_host, kiv::HostOfUncPath);
        if (!g_host.exists)
            kiv::CopyServerPath(g_host.text, CKivSystem::GetComputerNameA());
    });
    return g_host.text;
}

const char* CKivInstServer::GetServerShare() noexcept {
    g_share.once.Run([] { FillPart(g_share, kiv::ShareOfUncPath); });
    return g_share.exists ? g_share.text : nullptr;
}

void CKivInstServer::GetSetupPath(char* out, const char* base) noexcept {
    if (out == nullptr)
        return;
    char session[kKivServerPathSize];
    if (base == nullptr)
        GetPath(session, 0);
    const std::string server = kiv::WithoutTrailingBackslash(base == nullptr ? session : base);
    const char* const windows = CKivSystem::GetWinDir();
    const bool isWindows = windows != nullptr && ::lstrcmpiA(server.c_str(), windows) == 0;
    kiv::CopyServerPath(out, server + (isWindows ? "\\TAVwksta" : "\\setup"));
}

void KIV_CALL KivGetServerPath(char* out) noexcept {
    CKivInstServer::GetPath(out, 0);
}
