// Shares of the 9x family. They have a file of their own, since the headers of svrapi.dll and netapi32.dll exclude each
// other.

#include "network/svr_api.h"

#include <cstring>
#include <string>

#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/swapped_api.h"
#include "tavkivut/network.h"

namespace {

// What the computer \\OTHER shares: a printer with the directory's path, the directory, what was made.
char g_path[] = "C:\\JOBS";
share_info_50 g_shares[3] = {{"PRINTER", 1, 0, nullptr, g_path, "", ""}, {"JOBS", 0, 0, nullptr, g_path, "", ""}};
std::string g_madePath;

API_RET_TYPE WINAPI Enum(const char* server, short level, char* buffer, unsigned short, unsigned short* read,
                         unsigned short* total) {
    CHECK((server == std::string("\\\\OTHER") && level == 50));
    std::memcpy(buffer, g_shares, sizeof g_shares);
    *read = *total = 2;
    return NERR_Success;
}

API_RET_TYPE WINAPI GetInfo(const char*, const char* name, short level, char* buffer, unsigned short, unsigned short*) {
    CHECK(level == 50);
    std::memcpy(buffer, &g_shares[name == std::string("JOBS") ? 1 : 0], sizeof *g_shares);
    return NERR_Success;
}

API_RET_TYPE WINAPI Add(const char* server, short level, const char* buffer, unsigned short size) {
    CHECK((server == std::string("\\\\OTHER") && level == 50 && size == sizeof *g_shares));
    std::memcpy(&g_shares[2], buffer, size);
    g_madePath = g_shares[2].shi50_path;
    return NERR_Success;
}

API_RET_TYPE WINAPI Delete(const char*, const char* name, unsigned short) {
    CHECK(name == std::string(g_shares[2].shi50_netname));
    g_madePath.clear();
    return NERR_Success;
}

}  // namespace

TEST_CASE("on the 9x family shares are those of svrapi.dll, for reading") {
    const kiv::test::ForcedOsFamily family(kiv::OsFamily::k9x);
    kiv::test::SwappedApi<kiv::SvrApi> svr{kiv::SvrApi()};
    CKivRemoteShare share("OTHER");
    share.SetLocalPath("c:\\jobs");
    CHECK_FALSE(share.OpenShare());
    CHECK(::GetLastError() == ERROR_PROC_NOT_FOUND);
    svr->shareEnum = Enum;
    svr->shareGetInfo = GetInfo;
    svr->shareAdd = Add;
    svr->shareDel = Delete;
    REQUIRE(share.OpenShare());
    CHECK(share.GetUNCName() == std::string("\\\\OTHER\\JOBS"));
    char local[MAX_PATH];
    CHECK(CKivRemoteWksta::GetWkstaLocalPath("\\\\OTHER\\JOBS\\a", local, sizeof local) == std::strlen("C:\\JOBS\\a"));
    CHECK(CKivRemoteWksta::GetWkstaLocalPath("\\\\OTHER\\PRINTER", local, sizeof local) == 0);
    share.SetLocalPath("C:\\new");
    REQUIRE(share.OpenShare());
    CHECK(share.GetUNCName() == std::string("\\\\OTHER\\") + g_shares[2].shi50_netname);
    CHECK(g_shares[2].shi50_flags == SHI50F_RDONLY);
    CHECK(g_madePath == "C:\\new");
    CHECK(share.CloseShare());
    CHECK(g_madePath.empty());
}
