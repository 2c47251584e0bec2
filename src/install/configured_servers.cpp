#include "install/configured_servers.h"

#include <cstdlib>

#include "support/log.h"

#include "install/server_list.h"
#include "install/server_paths.h"
#include "install/session_server.h"
#include "support/heap_text.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/path.h"
#include "tavkivut/process.h"
#include "tavkivut/registry.h"

namespace kiv {
namespace {

constexpr std::size_t kConfigListSize = 3120;

std::string ReadListFromConfigFile() {
    const std::string file = std::string(CKivThisProcess::GetExeDir()) + "\\tavsetup.cfg";
    char list[kConfigListSize];
    if (KivGetPrivateProfileStringA("General", kServerListName, "", list, sizeof list, file.c_str()) == 0)
        return {};
    KIV_LOG(kLogMain, kLogInfo, "Read Servers from Cfg File %s: %s", file.c_str(), list);
    return list;
}

std::string ReadListFromRegistry() {
    CKivRegKey general(nullptr, kGeneralKeyPath, nullptr, KEY_READ);
    CKivRegValue value = general[kServerListName];
    const char* const list = value;
    if (list == nullptr)
        return {};
    if (list[0] == '\0') {
        KIV_LOG(kLogDetail, kLogInfo, "No Servers read from Registry");
        return {};
    }
    KIV_LOG(kLogMain, kLogInfo, "Read Servers from Registry: %s", list);
    return list;
}

// Writes the list to the registry; its key is made when it is missing.
void WriteListToRegistry(const std::string& list) {
    CKivRegKey general(nullptr, nullptr, nullptr, KEY_ALL_ACCESS);
    if (general.create(kGeneralKeyPath, KEY_ALL_ACCESS, 0, nullptr))
        general[kServerListName] = list.c_str();
}

// A list that is there but cannot be read stays as it is.
void AppendToRegistry(const char* path) {
    CKivRegKey general(nullptr, nullptr, nullptr, KEY_ALL_ACCESS);
    if (!general.create(kGeneralKeyPath, KEY_ALL_ACCESS, 0, nullptr))
        return;
    CKivRegValue value = general[kServerListName];
    const char* const list = value;
    if (list != nullptr)
        value = ServerListWith(list, path).c_str();
    else if (value.getLastError() == ERROR_FILE_NOT_FOUND)
        value = path;
}

bool IsListed(const std::string& list, const char* path) {
    for (const std::string_view entry : SplitServerList(list)) {
        if (CKivPath::PathIsEqual(std::string(entry).c_str(), path) != 0)
            return true;
    }
    return false;
}

}  // namespace

ServerListText ReadServerList() {
    std::string list = ReadListFromConfigFile();
    if (list.empty())
        list = ReadListFromRegistry();
    if (!list.empty())
        return {std::move(list), false};
    KIV_LOG(kLogMain, kLogInfo, "NO Servers Read from Cfg file or registry");
    list = UniversalPath(FallbackServerPath());
    if (IsSessionWrittenToRegistry())
        WriteListToRegistry(list);
    return {std::move(list), true};
}

}  // namespace kiv

char* CKivInstServer::MallocPathList(int* isFallback) noexcept {
    const kiv::ServerListText list = kiv::ReadServerList();
    if (isFallback != nullptr)
        *isFallback = list.isFallback ? 1 : 0;
    return kiv::DuplicateText(list.text.c_str());
}

void CKivInstServer::FreePathList(char* list) noexcept {
    std::free(list);
}

void CKivInstServer::GetPath(unsigned int index, char* out) noexcept {
    if (out == nullptr)
        return;
    const std::string list = kiv::ReadServerList().text;
    const std::vector<std::string_view> entries = kiv::SplitServerList(list);
    kiv::CopyServerPath(out, kiv::WithoutTrailingBackslash(entries[index < entries.size() ? index : 0]));
}

unsigned int CKivInstServer::GetCount() noexcept {
    return static_cast<unsigned int>(kiv::SplitServerList(kiv::ReadServerList().text).size());
}

int CKivInstServer::IsFallbackServer(const char* path) noexcept {
    return CKivPath::PathIsEqual(path, kiv::FallbackServerPath().c_str());
}

void CKivInstServer::AddPath(const char* path) noexcept {
    if (path == nullptr || path[0] == '\0')
        return;
    const kiv::ServerListText inForce = kiv::ReadServerList();
    if (!inForce.isFallback && kiv::IsListed(inForce.text, path))
        return;
    kiv::AppendToRegistry(path);
}

void CKivInstServer::RemovePath(unsigned int index) noexcept {
    const std::string list = kiv::ReadServerList().text;
    if (index < kiv::SplitServerList(list).size())
        kiv::WriteListToRegistry(kiv::ServerListWithout(list, index));
}
