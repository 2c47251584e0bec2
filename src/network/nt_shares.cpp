#include "network/net_api.h"
#include "network/shares.h"
#include "support/scoped_resource.h"
#include "tavkivut/security.h"

namespace kiv {
namespace {

// The rights of files, as the system's own dialog gives them to a share.
constexpr DWORD kAllRights = 0x001F01FF;
constexpr DWORD kReadRights = 0x001200A9;

Share FromRecord(const SHARE_INFO_2& record) {
    return {AnsiFromWide(record.shi2_netname), record.shi2_path != nullptr ? AnsiFromWide(record.shi2_path) : ""};
}

bool IsDirectory(const SHARE_INFO_2& record) noexcept {
    return (record.shi2_type & 0xFF) == STYPE_DISKTREE;
}

DWORD List(const std::string& server, std::vector<Share>& shares) {
    const NetApi& net = Net();
    if (net.shareEnum == nullptr)
        return ERROR_PROC_NOT_FOUND;
    DWORD resume = 0;
    DWORD status = ERROR_MORE_DATA;
    while (status == ERROR_MORE_DATA) {
        NetBuffer buffer;
        DWORD count = 0;
        DWORD total = 0;
        const DWORD piece = resume;
        status = net.shareEnum(NetText(server), 2, buffer.Receive(), MAX_PREFERRED_LENGTH, &count, &total, &resume);
        if (status != NERR_Success && (status != ERROR_MORE_DATA || count == 0))
            return status;
        if (status == ERROR_MORE_DATA && resume == piece)
            return status;  // the same piece again, for ever
        const auto* const records = buffer.As<SHARE_INFO_2>();
        for (DWORD i = 0; i < count; ++i) {
            if (IsDirectory(records[i]))
                shares.push_back(FromRecord(records[i]));
        }
    }
    return status;
}

DWORD Find(const std::string& server, const std::string& name, Share& share) {
    const NetApi& net = Net();
    if (net.shareGetInfo == nullptr)
        return ERROR_PROC_NOT_FOUND;
    NetBuffer buffer;
    if (const DWORD status = net.shareGetInfo(NetText(server), NetText(name), 2, buffer.Receive()))
        return status;
    share = FromRecord(*buffer.As<SHARE_INFO_2>());
    return IsDirectory(*buffer.As<SHARE_INFO_2>()) ? NERR_Success : NERR_NetNameNotFound;
}

// Who may use a new share; its default lets everyone write on some systems, not even administrators on others.
ScopedLocalBlock MakeSecurity(ShareReaders readers) noexcept {
    CKivSid who;
    CKivAcl acl;
    who = CKivSid::WKS_ADMINISTRATORS;
    if (acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, kAllRights, who) == 0)
        return {};
    who = CKivSid::WKS_EVERYONE;
    if (readers == ShareReaders::kEveryone && acl.AddAce(ACCESS_ALLOWED_ACE_TYPE, 0, kReadRights, who) == 0)
        return {};
    CKivSecurityDescriptor sd;
    return sd.SetDacl(acl) != 0 ? ScopedLocalBlock(CKivSecurityDescriptor::MakeSelfRelativeCopy(sd))
                                : ScopedLocalBlock();
}

DWORD Add(const std::string& server, const Share& share, ShareReaders readers) {
    const NetApi& net = Net();
    if (net.shareAdd == nullptr)
        return ERROR_PROC_NOT_FOUND;
    const ScopedLocalBlock security = MakeSecurity(readers);
    if (!security)
        return ::GetLastError();
    NetText name(share.name);
    NetText path(share.path);
    SHARE_INFO_502 record{};
    record.shi502_netname = name;
    record.shi502_type = STYPE_DISKTREE;
    record.shi502_max_uses = SHI_USES_UNLIMITED;
    record.shi502_path = path;
    record.shi502_security_descriptor = security.Get();
    return net.shareAdd(NetText(server), 502, reinterpret_cast<BYTE*>(&record), nullptr);
}

DWORD Remove(const std::string& server, const std::string& name) {
    const NetApi& net = Net();
    return net.shareDel != nullptr ? net.shareDel(NetText(server), NetText(name), 0) : ERROR_PROC_NOT_FOUND;
}

}  // namespace

const ShareCalls kNtShareCalls = {List, Find, Add, Remove};

void NetApi::Load() noexcept {
    const HMODULE module = LoadSystemModule("netapi32.dll");
    FindFunction(module, "NetShareEnum", shareEnum);
    FindFunction(module, "NetShareGetInfo", shareGetInfo);
    FindFunction(module, "NetShareAdd", shareAdd);
    FindFunction(module, "NetShareDel", shareDel);
    FindFunction(module, "NetSessionEnum", sessionEnum);
    FindFunction(module, "NetSessionDel", sessionDel);
    FindFunction(module, "NetApiBufferFree", bufferFree);
}

const NetApi& Net() noexcept {
    return DynamicApi<NetApi>::Get();
}

}  // namespace kiv
