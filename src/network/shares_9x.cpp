#include "network/shares.h"

#include "network/svr_api.h"
#include "support/heap_text.h"

namespace kiv {
namespace {

constexpr short kLevel = 50;                   // the only one for shares there
constexpr unsigned short kListSize = 0xFFF0;   // as much as the 16-bit counts of these functions tell
constexpr unsigned short kRecordSize = 0x400;  // one record and its texts
constexpr unsigned char kDirectory = 0;        // type of a share
static_assert(sizeof(share_info_50) == 13 + 1 + 2 + 2 * sizeof(char*) + 2 * 9);

const SvrApi& Svr() noexcept {
    return DynamicApi<SvrApi>::Get();
}

const char* OrNull(const std::string& server) noexcept {
    return server.empty() ? nullptr : server.c_str();
}

Share FromRecord(const share_info_50& record) {
    return {record.shi50_netname, record.shi50_path != nullptr ? record.shi50_path : ""};
}

DWORD List(const std::string& server, std::vector<Share>& shares) {
    if (Svr().shareEnum == nullptr)
        return ERROR_PROC_NOT_FOUND;
    std::vector<char> buffer(kListSize);
    unsigned short count = 0;
    unsigned short total = 0;
    const DWORD status = Svr().shareEnum(OrNull(server), kLevel, buffer.data(), kListSize, &count, &total);
    if (status != NERR_Success && status != ERROR_MORE_DATA)
        return status;
    const auto* const records = reinterpret_cast<const share_info_50*>(buffer.data());
    for (unsigned short i = 0; i < count; ++i) {
        if (records[i].shi50_type == kDirectory)
            shares.push_back(FromRecord(records[i]));
    }
    return NERR_Success;
}

DWORD Find(const std::string& server, const std::string& name, Share& share) {
    if (Svr().shareGetInfo == nullptr)
        return ERROR_PROC_NOT_FOUND;
    std::vector<char> buffer(kRecordSize);
    unsigned short size = 0;
    const DWORD status = Svr().shareGetInfo(OrNull(server), name.c_str(), kLevel, buffer.data(), kRecordSize, &size);
    if (status != NERR_Success)
        return status;
    const auto* const record = reinterpret_cast<const share_info_50*>(buffer.data());
    share = FromRecord(*record);
    return record->shi50_type == kDirectory ? NERR_Success : NERR_NetNameNotFound;
}

// These shares know no accounts, so nobody may write through one.
DWORD Add(const std::string& server, const Share& share, ShareReaders) {
    if (Svr().shareAdd == nullptr)
        return ERROR_PROC_NOT_FOUND;
    std::string remark;
    std::string path = share.path;
    share_info_50 record{};
    CopyText(record.shi50_netname, sizeof record.shi50_netname, share.name.c_str());
    record.shi50_type = kDirectory;
    record.shi50_flags = SHI50F_RDONLY;
    record.shi50_remark = remark.data();
    record.shi50_path = path.data();
    return Svr().shareAdd(OrNull(server), kLevel, reinterpret_cast<const char*>(&record), sizeof record);
}

DWORD Remove(const std::string& server, const std::string& name) {
    return Svr().shareDel != nullptr ? Svr().shareDel(OrNull(server), name.c_str(), 0) : ERROR_PROC_NOT_FOUND;
}

}  // namespace

const ShareCalls k9xShareCalls = {List, Find, Add, Remove};

}  // namespace kiv
