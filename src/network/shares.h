#ifndef KIV_NETWORK_SHARES_H
#define KIV_NETWORK_SHARES_H

#include <cstdint>
#include <string>
#include <vector>

#include "support/windows_api.h"

namespace kiv {

// A directory that a computer offers by a name.
struct Share {
    std::string name;
    std::string path;  // as that computer names it
};

// Whom a new share lets in, beside the administrators.
enum class ShareReaders { kNobody, kEveryone };

// The shares of a computer, which is named "\\name", "" for this one. All give a Win32 or network status, 0 for
// success; ERROR_PROC_NOT_FOUND where the system has no such function.
struct ShareCalls {
    DWORD (*list)(const std::string& server, std::vector<Share>& shares);  // of directories only
    DWORD (*find)(const std::string& server, const std::string& name, Share& share);
    DWORD (*add)(const std::string& server, const Share& share, ShareReaders readers);
    DWORD (*remove)(const std::string& server, const std::string& name);
};
extern const ShareCalls kNtShareCalls;  // netapi32.dll
extern const ShareCalls k9xShareCalls;  // svrapi.dll

// Those of the system that the library runs on.
const ShareCalls& Shares() noexcept;

}  // namespace kiv

#endif
