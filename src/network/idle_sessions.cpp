#include "support/windows_api.h"

#include <string>

#include "network/computer.h"
#include "network/net_api.h"
#include "support/ascii.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"
#include "tavkivut/network.h"
#include "tavkivut/system.h"

namespace {

constexpr unsigned long kUserNameSize = 257;

// Whom a session must belong to: the user of this process, at this computer.
struct Caller {
    std::string computer;
    std::string user;
};

Caller ThisCaller() {
    unsigned short user[kUserNameSize] = {};
    CKivSystem::GetUserNameA(user, kUserNameSize, false);
    return {CKivSystem::GetComputerNameA(), kiv::AnsiFromWide(reinterpret_cast<const wchar_t*>(user))};
}

bool Equals(const wchar_t* text, const std::string& expected) {
    return text != nullptr && !expected.empty() && kiv::EqualsIgnoreCase(kiv::AnsiFromWide(text), expected);
}

// A session through which something is open is in use, however long nothing was asked for.
bool IsIdle(const SESSION_INFO_1& session, const Caller& caller) {
    const wchar_t* client = session.sesi1_cname;
    while (client != nullptr && *client == L'\\')
        ++client;
    return session.sesi1_num_opens == 0 && Equals(client, caller.computer) &&
           Equals(session.sesi1_username, caller.user);
}

int CloseIdleSessions(const std::string& server) {
    const kiv::NetApi& net = kiv::Net();
    if (net.sessionEnum == nullptr || net.sessionDel == nullptr)
        return 0;
    kiv::NetBuffer buffer;
    DWORD count = 0;
    DWORD total = 0;
    DWORD resume = 0;
    const DWORD status = net.sessionEnum(kiv::NetText(server), nullptr, nullptr, 1, buffer.Receive(),
                                         MAX_PREFERRED_LENGTH, &count, &total, &resume);
    if (status != NERR_Success && status != ERROR_MORE_DATA)
        return 0;
    const Caller caller = ThisCaller();
    kiv::NetText client(kiv::ServerName(caller.computer));
    kiv::NetText user(caller.user);
    int closed = 0;
    for (DWORD i = 0; i < count; ++i) {
        if (IsIdle(buffer.As<SESSION_INFO_1>()[i], caller) &&
            net.sessionDel(kiv::NetText(server), client, user) == NERR_Success)
            ++closed;
    }
    return closed;
}

}  // namespace

int KIV_CALL TryToCloseIdleNetworkSessions(const char* machine) noexcept {
    const kiv::LastErrorKeeper keeper;
    const std::string computer = kiv::ComputerName(machine);
    if (computer.empty() || !kiv::IsNtFamily())
        return 0;
    return CloseIdleSessions(kiv::ServerName(computer));
}
