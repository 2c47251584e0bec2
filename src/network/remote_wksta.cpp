#include "support/windows_api.h"

#include <cstring>
#include <string>
#include <string_view>

#include "files/path_text.h"
#include "network/computer.h"
#include "network/shares.h"
#include "support/code_page.h"
#include "tavkivut/network.h"

namespace {

// "C:\folder" of the share and what follows the share in the path. A share of a drive's root ends in a backslash.
DWORD LocalPath(const char* sharePath, std::string& path) {
    const std::string_view whole = sharePath;
    const std::string host(kiv::HostOfUncPath(whole, kiv::IsAnsiLeadByte));
    const std::string name(kiv::ShareOfUncPath(whole, kiv::IsAnsiLeadByte));
    if (host.empty() || name.empty())
        return ERROR_BAD_DEVICE;
    kiv::Share share;
    const std::string server = kiv::ServerName(kiv::ComputerName(host.c_str()));
    if (const DWORD status = kiv::Shares().find(server, name, share))
        return status;
    const std::string_view rest = whole.substr(kiv::RootLength(whole, kiv::IsAnsiLeadByte));
    path = kiv::WithoutTrailingBackslash(share.path, kiv::IsAnsiLeadByte);
    const bool isRoot = path.size() == 2;
    if (isRoot || !rest.empty())
        path.append("\\").append(rest);
    return NO_ERROR;
}

}  // namespace

unsigned long CKivRemoteWksta::GetWkstaLocalPath(const char* sharePath, char* out, unsigned long outSize) noexcept {
    DWORD status = sharePath == nullptr || out == nullptr ? ERROR_INVALID_PARAMETER : NO_ERROR;
    std::string path;
    if (status == NO_ERROR)
        status = LocalPath(sharePath, path);
    if (status == NO_ERROR && path.size() >= outSize)
        status = ERROR_MORE_DATA;
    if (status != NO_ERROR) {
        ::SetLastError(status);
        return 0;
    }
    std::memcpy(out, path.c_str(), path.size() + 1);
    return static_cast<unsigned long>(path.size());
}
