#include "support/windows_api.h"

#include <atomic>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/redirected_key.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "support/version_block.h"
#include "system/system_api.h"
#include "tavkivut/file.h"
#include "tavkivut/system.h"

using kiv::OsFamily;
using kiv::test::ForcedOsFamily;
using kiv::test::FreshSystemCaches;
using kiv::test::RedirectedKey;
using kiv::test::SwappedApi;
using kiv::test::TempDirectory;

namespace {

constexpr long kOk = 0;
constexpr long kFalse = 1;
constexpr long kFail = static_cast<long>(0x80004005UL);

constexpr long Status(unsigned long error) {
    return static_cast<long>(0x80070000UL | error);
}

OSVERSIONINFOA g_version;
DWORD g_versionWord;

BOOL WINAPI GivenVersion(LPOSVERSIONINFOA version) {
    if (version->dwOSVersionInfoSize != sizeof *version)
        return FALSE;
    *version = g_version;
    return TRUE;
}

BOOL WINAPI NoVersion(LPOSVERSIONINFOA) {
    return FALSE;
}

DWORD WINAPI GivenVersionWord() {
    return g_versionWord;
}

BOOL g_suiteAnswer;

ULONGLONG WINAPI SuiteCondition(ULONGLONG mask, DWORD type, BYTE condition) {
    return mask | (type == VER_SUITENAME && condition == VER_AND ? 0x1000U : 0U);
}

BOOL WINAPI GivenSuiteAnswer(LPOSVERSIONINFOEXA wanted, DWORD type, DWORDLONG mask) {
    const bool asExpected = wanted->dwOSVersionInfoSize == sizeof *wanted && wanted->wSuiteMask == 0x10 &&
                            type == VER_SUITENAME && mask == 0x1000;
    return asExpected ? g_suiteAnswer : 99;
}

BOOL WINAPI GivenSession(DWORD process, DWORD* session) {
    *session = process == ::GetCurrentProcessId() ? 5 : 6;
    return process != 13;
}

const char* g_profile;

BOOL WINAPI GivenProfile(HANDLE, LPSTR buffer, LPDWORD size) {
    const DWORD needed = static_cast<DWORD>(std::strlen(g_profile) + 1);
    const BOOL fits = *size >= needed;
    *size = needed;
    if (fits)
        std::strcpy(buffer, g_profile);
    return fits;
}

BOOL WINAPI ShellProfile(HWND, LPSTR buffer, int folder, BOOL create) {
    std::strcpy(buffer, "C:\\ME\\Profile");
    return folder == 40 && create;
}

// What GetUserProfileDir gives with that much room; 'x' marks what it must not write.
std::string ProfileFor(unsigned long room) {
    char buffer[64];
    std::memset(buffer, 'x', sizeof buffer);
    unsigned long size = room;
    CHECK(CKivSystem::GetUserProfileDir(nullptr, buffer, &size) == kOk);
    for (unsigned long i = room; i < sizeof buffer; ++i)
        CHECK(buffer[i] == 'x');
    return std::string(buffer, ::strnlen(buffer, room));
}

NET_API_STATUS g_workstationStatus;
int g_freedBuffers;

NET_API_STATUS WINAPI GivenWorkstationUser(LMSTR, DWORD level, LPBYTE* data) {
    static wchar_t user[] = L"user";
    static wchar_t domain[] = L"DOMAIN";
    static WKSTA_USER_INFO_1 info{user, domain, nullptr, nullptr};
    *data = level == 1 ? reinterpret_cast<BYTE*>(&info) : nullptr;
    return g_workstationStatus;
}

NET_API_STATUS WINAPI CountFreedBuffer(LPVOID) {
    ++g_freedBuffers;
    return 0;
}

void WriteBrowser(const TempDirectory& folder, FILE_VERSION version) {
    folder.Write("Shdocvw.dll",
                 kiv::test::ModuleWithVersion(kiv::test::VersionBlock(kiv::test::StandardVersion(version, {}))));
}

}  // namespace

TEST_CASE("the family is asked once, the release each time") {
    const FreshSystemCaches caches;
    SwappedApi<kiv::VersionApi> api;
    api->getVersionEx = NoVersion;
    CHECK(CKivSystem::IsNT() == kFalse);  // not kept
    CHECK(CKivSystem::CheckOS(OS_W98) == kFail);
    api->getVersionEx = GivenVersion;
    g_version = {sizeof g_version, 6, 0, 6000, VER_PLATFORM_WIN32_NT, ""};
    CHECK(CKivSystem::IsNT() == kOk);
    CHECK(std::string(CKivSystem::GetOsVersionString()) == "os type unknown(Version 6.0 Build# 6000)");
    g_version = {sizeof g_version, 5, 1, 2600, VER_PLATFORM_WIN32_WINDOWS, ""};
    CHECK(CKivSystem::IsNT() == kOk);
    CHECK(CKivSystem::CheckOS(OS_XP) == kOk);
    CHECK(std::string(CKivSystem::GetOsVersionString()) == "os type unknown(Version 6.0 Build# 6000)");
    api->getVersionEx = NoVersion;
    CHECK(CKivSystem::CheckOS(OS_XP) == kFail);
    CHECK(CKivSystem::CheckOS(OS_WME) == kFalse);

    const FreshSystemCaches others;
    api->getVersionEx = GivenVersion;
    g_version = {sizeof g_version, 4, 0, 0x04000457, VER_PLATFORM_WIN32_WINDOWS, ""};
    CHECK(CKivSystem::CheckOS(OS_W95_OSR2) == kOk);
    CHECK(std::string(CKivSystem::GetOsVersionString()) == "Windows 95 (Version 4.0 Build# 1111)");
}

TEST_CASE("the browser is told by the module in the system folder") {
    const FreshSystemCaches caches;
    const TempDirectory folder;
    kiv::Caches().systemFolder.Keep(folder.Path().c_str());
    GENERAL_SYSTEM_INFO info{};
    info.cbSize = sizeof info;
    info.bIe401OrLater = true;
    CHECK(std::string(CKivSystem::GetIeVersionString()).empty());
    CHECK(CKivSystem::CheckIE(IE_600) == Status(ERROR_FILE_NOT_FOUND));
    CHECK(CKivSystem::CheckIE(static_cast<enumCheckIE>(1)) == Status(ERROR_FILE_NOT_FOUND));
    CHECK(GetGeneralSystemInfo(&info));
    CHECK_FALSE(info.bIe401OrLater);

    WriteBrowser(folder, {4, 71, 1712, 6});
    CHECK(CKivSystem::CheckIE(IE_400) == kOk);
    for (const bool before : {false, true}) {
        info.bIe401OrLater = before;
        CHECK(GetGeneralSystemInfo(&info));
        CHECK(info.bIe401OrLater == before);
    }
    CHECK(std::string(info.pszIeVersion) == "Internet Explorer 4.00");

    WriteBrowser(folder, {4, 72, 3110, 8});
    info.bIe401OrLater = false;
    CHECK(GetGeneralSystemInfo(&info));
    CHECK(info.bIe401OrLater);
    CHECK(CKivSystem::CheckIE(IE_401) == kOk);
    CHECK(std::string(CKivSystem::GetIeVersionString()) == "Internet Explorer 4.00");  // kept

    const FreshSystemCaches others;
    kiv::Caches().systemFolder.Keep(folder.Path().c_str());
    WriteBrowser(folder, {5, 0, 2800, 1});
    CHECK(std::string(CKivSystem::GetIeVersionString()) == "Shldocvw.dll Fileversion 5.0.2800.1");
}

TEST_CASE("terminal services are told by suite, product or not at all") {
    SwappedApi<kiv::VersionApi> api;
    api->getVersion = GivenVersionWord;
    api->setConditionMask = SuiteCondition;
    api->verifyVersionInfo = GivenSuiteAnswer;

    SUBCASE("from NT 5 on the suite decides, once") {
        const FreshSystemCaches caches;
        g_versionWord = 0x08930005;
        g_suiteAnswer = TRUE;
        CHECK(KivIsTerminalServer() == TRUE);
        g_suiteAnswer = FALSE;
        CHECK(KivIsTerminalServer() == TRUE);
        CHECK(CKivSystem::IsTerminalServer() == kOk);
        const FreshSystemCaches others;
        CHECK(KivIsTerminalServer() == 0);
        CHECK(CKivSystem::IsTerminalServer() == kFalse);
    }
    SUBCASE("without the functions there are none") {
        g_versionWord = 0x08930005;
        g_suiteAnswer = TRUE;
        api->setConditionMask = nullptr;
        const FreshSystemCaches caches;
        CHECK(KivIsTerminalServer() == 0);
        api->setConditionMask = SuiteCondition;
        api->verifyVersionInfo = nullptr;
        const FreshSystemCaches others;
        CHECK(KivIsTerminalServer() == 0);
    }
    SUBCASE("before NT 5 the product decides, on the 9x family nothing") {
        const RedirectedKey machine(HKEY_LOCAL_MACHINE);
        const auto answer = [](DWORD word) {
            const FreshSystemCaches caches;
            g_versionWord = word;
            return KivIsTerminalServer();
        };
        constexpr DWORD kNt4 = 0x05650004;
        CHECK(answer(kNt4) == 0);  // no key
        HKEY key;
        REQUIRE(::RegCreateKeyA(machine.Handle(), "System\\CurrentControlSet\\Control\\ProductOptions", &key) ==
                ERROR_SUCCESS);
        CHECK(answer(kNt4) == 0);  // no value
        const auto set = [key](DWORD type, const std::string& data) {
            REQUIRE(::RegSetValueExA(key, "ProductSuite", 0, type, reinterpret_cast<const BYTE*>(data.data()),
                                     static_cast<DWORD>(data.size())) == ERROR_SUCCESS);
        };
        set(REG_MULTI_SZ, std::string(2000, 'x') + '\0' + "Terminal Server" + std::string(2, '\0'));
        CHECK(answer(kNt4) == 1);
        CHECK(answer(0xC3B60004) == 0);
        set(REG_MULTI_SZ, std::string("Terminal server\0\0", 17));
        CHECK(answer(kNt4) == 0);
        set(REG_MULTI_SZ, "");
        CHECK(answer(kNt4) == 0);
        set(REG_SZ, "Terminal Server");
        CHECK(answer(kNt4) == 0);
        ::RegCloseKey(key);
    }
}

TEST_CASE("without sessions every process runs in session 0") {
    SwappedApi<kiv::SessionApi> api;
    api->processIdToSessionId = GivenSession;
    CHECK(KivGetSessionId(0) == 5);
    CHECK(CKivSystem::GetSessionId(12) == 6);
    CHECK(KivGetSessionId(13) == 0);
    api->processIdToSessionId = nullptr;
    CHECK(KivGetSessionId(0) == 0);
}

TEST_CASE("on the 9x family everyone is an administrator") {
    const ForcedOsFamily family(OsFamily::k9x);
    CHECK(CKivSystem::IsNT() == kFalse);
    CHECK(CKivSystem::IsCurrentUserLocalAdmin() == kOk);
}

TEST_CASE("the profile folder falls back step by step") {
    const FreshSystemCaches caches;
    kiv::Caches().windowsFolder.Keep("D:\\WINNT");
    SwappedApi<kiv::ProfileApi> profile;
    SwappedApi<kiv::ShellApi> shell;
    SwappedApi<kiv::VersionApi> version;
    version->getVersionEx = GivenVersion;
    g_version = {sizeof g_version, 5, 0, 2195, VER_PLATFORM_WIN32_NT, ""};
    shell->getFolderPath = ShellProfile;
    profile->getProfileDirectory = GivenProfile;
    g_profile = "C:\\Profiles\\user";
    ::SetEnvironmentVariableA("UserProfile", "C:\\Variable");

    SUBCASE("on NT the system tells it") {
        const ForcedOsFamily family(OsFamily::kNt);
        CHECK(ProfileFor(17) == "C:\\Profiles\\user");
        CHECK(ProfileFor(16) == "C:\\Variable");  // with the room that was given, not the one that is needed
        CHECK(ProfileFor(12) == "C:\\Variable");
        CHECK(ProfileFor(11) == "D:");
        profile->getProfileDirectory = nullptr;
        CHECK(ProfileFor(64) == "C:\\Variable");
        unsigned long size = 64;
        char buffer[64];
        CHECK(KivGetUserProfileDirectory(nullptr, buffer, &size) == 0);
        CHECK(::GetLastError() == ERROR_PROC_NOT_FOUND);
    }
    SUBCASE("on the 9x family the variable does, on ME the shell") {
        const ForcedOsFamily family(OsFamily::k9x);
        CHECK(ProfileFor(64) == "C:\\Variable");
        ::SetEnvironmentVariableA("UserProfile", nullptr);
        CHECK(ProfileFor(64) == "D:");
        g_version = {sizeof g_version, 4, 90, 3000, VER_PLATFORM_WIN32_WINDOWS, ""};
        CHECK(ProfileFor(14) == "C:\\ME\\Profile");
        CHECK(ProfileFor(13) == "D:");
        shell->getFolderPath = nullptr;
        CHECK(ProfileFor(64) == "D:");
        for (const unsigned long room : {3UL, 2UL, 1UL})
            CHECK(ProfileFor(room) == std::string("D:").substr(0, room - 1));
    }
    ::SetEnvironmentVariableA("UserProfile", nullptr);
    char buffer[4];
    unsigned long size = 0;
    CHECK(CKivSystem::GetUserProfileDir(nullptr, buffer, &size) == kFail);
    CHECK(CKivSystem::GetUserProfileDir(nullptr, buffer, nullptr) == kFail);
    size = 4;
    CHECK(CKivSystem::GetUserProfileDir(nullptr, nullptr, &size) == kFail);
}

TEST_CASE("the user's name with the domain is that of the workstation service") {
    SwappedApi<kiv::WorkstationApi> api;
    api->getUser = GivenWorkstationUser;
    api->freeBuffer = CountFreedBuffer;
    unsigned short buffer[300] = {};
    const auto text = [&buffer] { return std::wstring(reinterpret_cast<const wchar_t*>(buffer)); };
    const ForcedOsFamily family(OsFamily::kNt);
    g_workstationStatus = 0;
    CHECK(CKivSystem::GetUserNameA(buffer, 0, true) == kOk);  // the size is not looked at
    CHECK(text() == L"DOMAIN\\user");
    CHECK(g_freedBuffers == 1);
    g_workstationStatus = ERROR_NO_SUCH_LOGON_SESSION;
    CHECK(CKivSystem::GetUserNameA(buffer, 300, true) == Status(ERROR_NO_SUCH_LOGON_SESSION));
    CHECK(::GetLastError() == ERROR_NO_SUCH_LOGON_SESSION);
    api->getUser = nullptr;
    CHECK(CKivSystem::GetUserNameA(buffer, 300, true) == Status(ERROR_PROC_NOT_FOUND));
    const ForcedOsFamily old(OsFamily::k9x);
    CHECK(CKivSystem::GetUserNameA(buffer, 300, true) == kOk);
    CHECK(text().find(L'\\') == std::wstring::npos);
}

TEST_CASE("threads that ask first at the same time get one and the same whole text") {
    using Getter = const char* (*)();
    static const Getter getters[] = {CKivSystem::GetSysDir,          CKivSystem::GetSys16Dir,
                                     CKivSystem::GetWinDir,          CKivSystem::GetProgramFilesDir,
                                     CKivSystem::GetCommonFilesDir,  CKivSystem::GetTempDir,
                                     CKivSystem::GetFontsDir,        CKivSystem::GetOsVersionString,
                                     CKivSystem::GetIeVersionString, CKivSystem::GetComputerNameA};
    constexpr int kThreads = 4;
    static std::atomic<int> waiting;
    struct Found {
        const char* pointers[std::size(getters)];
        std::string texts[std::size(getters)];
        static DWORD WINAPI Ask(LPVOID argument) {
            auto* found = static_cast<Found*>(argument);
            --waiting;
            while (waiting != 0)
                ::Sleep(0);
            for (std::size_t i = 0; i < std::size(getters); ++i) {
                found->pointers[i] = getters[i]();
                found->texts[i] = found->pointers[i];
            }
            return 0;
        }
    };
    std::vector<std::string> known;
    for (const Getter getter : getters)
        known.emplace_back(getter());
    for (int round = 0; round < 10; ++round) {
        const FreshSystemCaches caches;
        Found found[kThreads];
        HANDLE threads[kThreads];
        waiting = kThreads;
        for (int i = 0; i < kThreads; ++i)
            threads[i] = ::CreateThread(nullptr, 0, Found::Ask, &found[i], 0, nullptr);
        REQUIRE(::WaitForMultipleObjects(kThreads, threads, TRUE, 60000) == WAIT_OBJECT_0);
        for (const HANDLE thread : threads)
            ::CloseHandle(thread);
        for (const Found& one : found) {
            for (std::size_t i = 0; i < std::size(getters); ++i) {
                CHECK(one.pointers[i] == found[0].pointers[i]);
                CHECK(one.texts[i] == known[i]);
            }
        }
    }
}
