#include "support/windows_api.h"

#include <string>
#include <string_view>

#include "files/path_text.h"
#include "support/code_page.h"
#include "support/log.h"
#include "tavkivut/file.h"
#include "tavkivut/install_service.h"

namespace {

// The file as the share of its directory shows it; "" when there is none.
std::string PathThroughShare(CKivRemoteShare& share, std::string_view path) {
    const std::size_t separator = kiv::LastSeparator(path, kiv::IsAnsiLeadByte);
    if (separator == std::string_view::npos)
        return {};
    share.SetLocalPath(std::string(path.substr(0, separator)).c_str());
    return share.OpenShare() ? share.GetUNCName() + std::string(path.substr(separator)) : std::string();
}

}  // namespace

bool KIV_CALL GetRemoteFileVersion(const char* computer, const char* path, unsigned short& major, unsigned short& minor,
                                   unsigned short& build, unsigned short& revision) noexcept {
    if (path == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    CKivRemoteShare share(computer);
    const std::string file = PathThroughShare(share, path);
    if (file.empty()) {
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "GetRemoteFileVersion: Could not create share");
        return false;
    }
    CKivFileVersion version;
    if (CKivFile::GetVersion(file.c_str(), version) != 0)
        return false;
    major = version.Major;
    minor = version.Minor;
    build = version.Build;
    revision = version.Revision;
    return true;
}
