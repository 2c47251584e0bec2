// Shares, in a prefix whose netapi32.dll is the stand-in (tests/support/share-test).

#include "network/net_api.h"

#include <cstring>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/recording_log.h"
#include "support/registry_data.h"
#include "support/sddl_text.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "tavkivut/network.h"
#include "tavkivut/registry.h"
#include "tavkivut/system.h"

using kiv::test::SwappedApi;
using kiv::test::TempDirectory;
using Lines = std::vector<std::string>;

namespace {

std::string OwnServer() {
    return std::string("\\\\") + CKivSystem::GetComputerNameA();
}

// A share that somebody else made, for as long as it lives.
class PresentShare {
public:
    PresentShare(const char* name, const std::string& path, DWORD type = STYPE_DISKTREE) : m_name(name) {
        kiv::NetText widePath(path);
        SHARE_INFO_2 record{};
        record.shi2_netname = m_name;
        record.shi2_path = widePath;
        record.shi2_type = type;
        REQUIRE(kiv::Net().shareAdd(nullptr, 2, reinterpret_cast<BYTE*>(&record), nullptr) == NERR_Success);
    }
    ~PresentShare() { CHECK(kiv::Net().shareDel(nullptr, m_name, 0) == NERR_Success); }  // nobody removed it
    PresentShare(const PresentShare&) = delete;
    PresentShare& operator=(const PresentShare&) = delete;

private:
    kiv::NetText m_name;
};

std::string LocalPathOf(const std::string& path) {
    char local[MAX_PATH] = "unchanged";
    return CKivRemoteWksta::GetWkstaLocalPath(path.c_str(), local, sizeof local) == std::strlen(local)
               ? local
               : std::to_string(::GetLastError());
}

int g_duplicates = 0;
decltype(&::NetShareAdd) g_add = nullptr;

NET_API_STATUS WINAPI AddWhenFree(LMSTR server, DWORD level, LPBYTE info, LPDWORD error) {
    return --g_duplicates >= 0 ? NERR_DuplicateShare : g_add(server, level, info, error);
}

}  // namespace

TEST_CASE("a share of exactly that directory is used and stays") {
    const TempDirectory folder;
    const TempDirectory jobs;
    const PresentShare above("KivAbove", folder.Path().substr(0, folder.Path().rfind('\\')));
    const PresentShare pipes("KivPipes", jobs.Path(), STYPE_IPC);
    const PresentShare madeByAnother("TAV0000000a$", jobs.Path());
    const PresentShare present("KivJobs", jobs.Path() + "\\");
    const std::string upper = "C:/" + jobs.Path().substr(3) + "\\";
    for (const std::string& computer : {std::string(), std::string("."), OwnServer()}) {
        CKivRemoteShare share(computer.c_str());
        REQUIRE((share.SetLocalPath(upper.c_str()) && share.OpenShare()));
        CHECK((share.GetUNCName() == OwnServer() + "\\KivJobs" && !share.IsOwn()));
        kiv::test::WriteFileBytes(share.GetUNCName() + std::string("\\a.txt"), "through the share");
        CHECK(kiv::test::ReadFileBytes(jobs / "a.txt") == "through the share");
        CHECK((share.CloseShare() && share.GetUNCName() == std::string()));
    }
}

TEST_CASE("without one a hidden share is made, which goes with the object") {
    const TempDirectory jobs;
    const kiv::test::RecordingLog log;
    std::string name;
    {
        CKivRemoteShare first;
        CKivRemoteShare second;
        for (CKivRemoteShare* share : {&first, &second}) {
            share->SetLocalPath(jobs.Path().c_str());
            REQUIRE(share->OpenShare());
            CHECK((share->IsOwn() && share->GetLocalPath() == jobs.Path()));
        }
        CHECK(std::string(first.GetUNCName()) != second.GetUNCName());
        name = std::string(first.GetUNCName()).substr(OwnServer().size() + 1);
        CHECK((name.back() == '$' && LocalPathOf(first.GetUNCName()) == jobs.Path()));
        const std::string kept = "HKLM\\Software\\TavShareStandIn" + OwnServer().substr(1) + "\\" + name;
        const CKivRegKey key(nullptr, kept.c_str());
        std::string security = kiv::test::Data(key, "Security").substr(2);
        CHECK(kiv::test::SddlOf(security.data(), DACL_SECURITY_INFORMATION) == "D:(A;;FA;;;BA)(A;;0x1200a9;;;WD)");
    }
    CHECK(LocalPathOf(OwnServer() + "\\" + name) == std::to_string(NERR_NetNameNotFound));
    CHECK(log.Lines().empty());
}

TEST_CASE("a name in use is not taken, and a share that cannot be made says why") {
    const TempDirectory jobs;
    CKivRemoteShare share;
    const auto failure = [&share](const char* path) {
        return share.SetLocalPath(path) && share.OpenShare() ? NO_ERROR : ::GetLastError();
    };
    {
        SwappedApi<kiv::NetApi> net;
        g_add = net->shareAdd;
        net->shareAdd = AddWhenFree;
        g_duplicates = 15;
        CHECK(failure(jobs.Path().c_str()) == NO_ERROR);
        g_duplicates = 16;
        CHECK(failure(jobs.Path().c_str()) == NERR_DuplicateShare);
        net->shareAdd = nullptr;
        CHECK(failure(jobs.Path().c_str()) == ERROR_PROC_NOT_FOUND);
    }
    CHECK((failure("") == ERROR_BAD_PATHNAME && failure("\\\\host\\share") == ERROR_BAD_PATHNAME));
    CHECK(failure("C:relative\\missing") == NERR_UnknownDevDir);
    CHECK_FALSE((share.SetLocalPath(nullptr) || share.SetDirToShare(static_cast<enumDirToShare>(7)) || share.IsOpen()));
}

TEST_CASE("the directory that holds the workstation directory is found in the registry") {
    const struct {
        const char* configured;
        std::string directory;  // or the error
    } rows[] = {
        {nullptr, CKivSystem::GetWinDir()},
        {"C:\\TAVwksta", "C:"},
        {"%SystemRoot%\\TAVwksta\\", CKivSystem::GetWinDir()},
        {"\\\\host\\share\\TAVwksta", "161"},
        {"%unknown%\\TAVwksta", "161"},
    };
    CKivRegKey general;
    REQUIRE(general.create("HKLM\\Software\\TAV\\TAVSetup\\General"));
    for (const auto& row : rows) {
        CAPTURE(row.configured);
        if (row.configured != nullptr)
            general["TAVwkstaPath"] = row.configured;
        CKivRemoteShare share(CKivSystem::GetComputerNameA());
        share.SetDirToShare(DIR_WORKSTATION_BASE);
        CHECK((share.OpenShare() ? share.GetLocalPath() : std::to_string(::GetLastError())) == row.directory);
        general["TAVwkstaPath"].remove();
    }
}

TEST_CASE("a share path has a local path where the system tells it") {
    CHECK(LocalPathOf(OwnServer() + "\\ADMIN$\\a") == CKivSystem::GetWinDir() + std::string("\\a"));
    CHECK((LocalPathOf(OwnServer() + "\\c$") == "C:\\" && LocalPathOf(OwnServer() + "\\C$\\a") == "C:\\a"));
    for (const std::string& noShare : {std::string("C:\\a"), OwnServer()})
        CHECK(LocalPathOf(noShare) == std::to_string(ERROR_BAD_DEVICE));
    char local[5] = "left";
    CHECK(CKivRemoteWksta::GetWkstaLocalPath((OwnServer() + "\\C$\\ab").c_str(), local, sizeof local) == 0);
    CHECK(::GetLastError() == ERROR_MORE_DATA);
    CHECK(local == std::string("left"));
    SwappedApi<kiv::NetApi> net;
    net->shareGetInfo = nullptr;
    CHECK(LocalPathOf(OwnServer() + "\\C$") == std::to_string(ERROR_PROC_NOT_FOUND));
}

namespace {

Lines g_ended;

NET_API_STATUS WINAPI ListSessions(LMSTR server, LMSTR, LMSTR, DWORD level, LPBYTE* out, DWORD, LPDWORD read,
                                   LPDWORD total, LPDWORD) {
    CHECK(kiv::AnsiFromWide(server) == "\\\\WS7");
    CHECK(level == 1);
    static std::wstring computer = kiv::WideFromAnsi(CKivSystem::GetComputerNameA());
    static std::wstring address = L"\\\\" + computer;
    static wchar_t user[64];
    static wchar_t other[] = L"other";
    CKivSystem::GetUserNameA(reinterpret_cast<unsigned short*>(user), 64, false);
    const SESSION_INFO_1 sessions[] = {
        {computer.data(), user, 0, 60, 60, 0},  {computer.data(), user, 1, 60, 60, 0},
        {computer.data(), other, 0, 60, 60, 0}, {other, user, 0, 60, 60, 0},
        {nullptr, nullptr, 0, 60, 60, 0},       {address.data(), user, 0, 60, 60, 0},
    };
    *out = static_cast<BYTE*>(::HeapAlloc(::GetProcessHeap(), 0, sizeof sessions));
    std::memcpy(*out, sessions, sizeof sessions);
    *read = *total = ARRAYSIZE(sessions);
    return NERR_Success;
}

NET_API_STATUS WINAPI EndSession(LMSTR server, LMSTR client, LMSTR) {
    g_ended.push_back(kiv::AnsiFromWide(server) + " " + kiv::AnsiFromWide(client));
    return NERR_Success;
}

}  // namespace

TEST_CASE("sessions of this user at this computer are ended when nothing is open through them") {
    SwappedApi<kiv::NetApi> net;
    CHECK(TryToCloseIdleNetworkSessions("WS7") == 0);  // the stand-in has no sessions
    net->sessionEnum = ListSessions;
    net->sessionDel = EndSession;
    ::SetLastError(1726);
    CHECK(TryToCloseIdleNetworkSessions("\\\\WS7") == 2);
    CHECK(::GetLastError() == 1726);
    CHECK(g_ended == Lines(2, "\\\\WS7 " + OwnServer()));
    CHECK(TryToCloseIdleNetworkSessions(nullptr) == 0);
    const kiv::test::ForcedOsFamily family(kiv::OsFamily::k9x);
    CHECK(TryToCloseIdleNetworkSessions("WS7") == 0);
}
