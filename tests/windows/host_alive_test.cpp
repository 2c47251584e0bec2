// KivIsHostAlive and KivGetRandomNumber over fake function tables.

#include <cstdlib>
#include <cstring>
#include <string>

#include "files/universal_name_api.h"
#include "install/icmp.h"
#include "support/check.h"
#include "support/random_bytes.h"
#include "support/swapped_api.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/system.h"

using kiv::test::SwappedApi;

namespace {

std::string g_askedHost;
DWORD g_timeout;
unsigned g_requests;
unsigned g_answerAt;
long g_openFiles;

HANDLE WINAPI Create() {
    ++g_openFiles;
    return reinterpret_cast<HANDLE>(std::uintptr_t{0x77});
}

HANDLE WINAPI FailingCreate() {
    return INVALID_HANDLE_VALUE;
}

BOOL WINAPI Close(HANDLE) {
    --g_openFiles;
    return TRUE;
}

// Every second request gets a reply without a time.
DWORD WINAPI SendEcho(HANDLE, IPAddr, LPVOID, WORD, PIP_OPTION_INFORMATION, LPVOID buffer, DWORD, DWORD timeout) {
    g_timeout = timeout;
    if (++g_requests == g_answerAt)
        static_cast<ICMP_ECHO_REPLY*>(buffer)->RoundTripTime = 3;
    return g_requests == g_answerAt ? 1 : g_requests % 2;
}

hostent* WINAPI Resolve(const char* name) {
    static IPAddr address = 0x0100007F;
    static char* addresses[] = {reinterpret_cast<char*>(&address), nullptr};
    static hostent found;
    g_askedHost = name;
    found.h_addrtype = AF_INET;
    found.h_addr_list = addresses;
    return g_askedHost == "unknown" ? nullptr : &found;
}

DWORD WINAPI UniversalNameOfX(LPCSTR path, DWORD, LPVOID buffer, LPDWORD) {
    if (path[0] != 'X')
        return ERROR_NOT_CONNECTED;
    auto* const info = static_cast<UNIVERSAL_NAME_INFOA*>(buffer);
    info->lpUniversalName = reinterpret_cast<LPSTR>(info + 1);
    std::strcpy(info->lpUniversalName, "\\\\mapped\\share");
    return NO_ERROR;
}

struct FakeHost {
    FakeHost() {
        g_askedHost.clear();
        g_requests = 0;
        g_answerAt = 1;
        icmp->create = Create;
        icmp->close = Close;
        icmp->sendEcho = SendEcho;
        winsock->getHostByName = Resolve;
        universal->getUniversalName = UniversalNameOfX;
        universal->getConnection = nullptr;
    }
    SwappedApi<kiv::IcmpApi> icmp;
    SwappedApi<kiv::WinsockApi> winsock;
    SwappedApi<kiv::UniversalNameApi> universal;
};

BYTE g_byte;
DWORD g_flags;

BOOL WINAPI Acquire(HCRYPTPROV* context, LPCSTR, LPCSTR, DWORD type, DWORD flags) {
    *context = 1;
    g_flags = flags;
    return type == PROV_RSA_FULL;
}

BOOL WINAPI RefuseContext(HCRYPTPROV*, LPCSTR, LPCSTR, DWORD, DWORD) {
    return FALSE;
}

BOOL WINAPI GiveByte(HCRYPTPROV, DWORD length, BYTE* buffer) {
    buffer[0] = g_byte;
    return length == 1;
}

BOOL WINAPI Release(HCRYPTPROV, DWORD) {
    return TRUE;
}

}  // namespace

TEST_CASE("the host is taken from a path, or is the text as it stands") {
    FakeHost fake;
    const struct {
        const char* given;
        std::string asked;
    } rows[] = {
        {"\\\\server\\share\\x", "server"},
        {"\\\\server", "server"},
        {"server", "server"},
        {"X:\\folder", "mapped"},
        {"C:\\folder", CKivSystem::GetComputerNameA()},
        {"C:", "C:"},
        {"a-host-name-of-more-than-sixteen-characters", "a-host-name-of-more-than-sixteen-characters"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.given);
        g_requests = 0;
        CHECK(KivIsHostAlive(row.given, 0) == 1);
        CHECK(g_askedHost == row.asked);
    }
    g_askedHost = "nobody";
    for (const char* empty : {"", "\\\\", "\\\\\\share"})
        CHECK(KivIsHostAlive(empty, 0) == 0);
    CHECK(KivIsHostAlive(nullptr, 0) == 0);
    CHECK(g_askedHost == "nobody");
    CHECK(g_openFiles == 0);
}

TEST_CASE("a host is asked until it answers, however often") {
    FakeHost fake;
    g_answerAt = 20000;
    CHECK(KivIsHostAlive("server", 0) == 1);
    CHECK(g_requests == 20000);
    CHECK(g_timeout == 2000);
    g_requests = 0;
    g_answerAt = 3;
    CHECK(KivIsHostAlive("server", 1) == 1);
    CHECK(g_timeout == 5000);
}

TEST_CASE("a name that does not resolve is not alive, a system without ICMP takes all for alive") {
    FakeHost fake;
    CHECK(KivIsHostAlive("unknown", 0) == 0);
    CHECK(g_requests == 0);
    fake.icmp->create = FailingCreate;
    CHECK(KivIsHostAlive("unknown", 0) == 1);
    fake.icmp->create = Create;
    fake.icmp->close = nullptr;
    CHECK(KivIsHostAlive("unknown", 0) == 1);
    CHECK(g_openFiles == 0);
}

TEST_CASE("a random number is one byte of the system's, scaled") {
    SwappedApi<kiv::CryptoApi> crypto(kiv::CryptoApi{Acquire, GiveByte, Release});
    const struct {
        BYTE byte;
        int expected;
    } rows[] = {{0, 5}, {254, 14}, {255, 15}};
    for (const auto& row : rows) {
        g_byte = row.byte;
        CHECK(KivGetRandomNumber(5, 10) == row.expected);
    }
    CHECK((g_flags & CRYPT_VERIFYCONTEXT) != 0);
}

TEST_CASE("without a generator of the system's the C run-time's is taken") {
    SwappedApi<kiv::CryptoApi> crypto;
    SUBCASE("no functions") {
        *crypto.operator->() = {};
    }
    SUBCASE("no context") {
        crypto->acquireContext = RefuseContext;
    }
    std::srand(7);
    const double fraction = std::rand() / 32767.0;
    std::srand(7);
    CHECK(KivGetRandomNumber(-100, 1000) == -100 + static_cast<int>(1000 * fraction));
}
