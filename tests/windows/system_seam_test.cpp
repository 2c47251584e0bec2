#include "support/windows_api.h"

#include <cstring>
#include <string>

#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "system/system_api.h"
#include "tavkivut/system.h"

using kiv::OsFamily;
using kiv::test::ForcedOsFamily;
using kiv::test::FreshSystemCaches;
using kiv::test::RedirectedKey;
using kiv::test::SetData;
using kiv::test::SwappedApi;
using kiv::test::TempDirectory;
using Text = std::string;

namespace {

constexpr long kOk = 0;
constexpr long kFalse = 1;
constexpr long kFail = static_cast<long>(0x80004005UL);

// What the stand-ins below answer, and what they were asked.
OSVERSIONINFOA g_version;
UINT g_folderLength;

BOOL WINAPI GivenVersion(LPOSVERSIONINFOA version) {
    if (version->dwOSVersionInfoSize != sizeof *version || g_version.dwOSVersionInfoSize == 0)
        return FALSE;
    *version = g_version;
    return TRUE;
}

UINT WINAPI GivenFolder(LPSTR buffer, UINT size) {
    if (g_folderLength != 0 && g_folderLength < size)
        std::strcpy(buffer, Text(g_folderLength, 'x').c_str());
    return g_folderLength;
}

Text TempDirFor(const Text& temp, const Text& tmp, DWORD type = REG_SZ) {
    const FreshSystemCaches caches;
    const RedirectedKey user(HKEY_CURRENT_USER);
    SetData(user.Handle(), "Temp", type, temp, "Environment");
    SetData(user.Handle(), "Tmp", type, tmp, "Environment");
    return CKivSystem::GetTempDir();
}

}  // namespace

TEST_CASE("the family is asked once, the release each time") {
    const FreshSystemCaches caches;
    SwappedApi<kiv::VersionApi> api;
    api->getVersionEx = GivenVersion;
    g_version = {};  // the call fails
    CHECK((CKivSystem::IsNT() == kFalse && CKivSystem::CheckOS(OS_W98) == kFail));
    g_version = {sizeof g_version, 6, 0, 6000, VER_PLATFORM_WIN32_NT, ""};
    CHECK(CKivSystem::IsNT() == kOk);
    g_version = {sizeof g_version, 5, 1, 2600, VER_PLATFORM_WIN32_WINDOWS, ""};
    CHECK((CKivSystem::IsNT() == kOk && CKivSystem::CheckOS(OS_XP) == kOk));
    const ForcedOsFamily family(OsFamily::k9x);
    CHECK((CKivSystem::CheckOS(OS_XP) == kFalse && CKivSystem::IsCurrentUserLocalAdmin() == kOk));
}

TEST_CASE("folders that the system does not tell are asked again") {
    const FreshSystemCaches caches;
    SwappedApi<kiv::FolderApi> folders;
    SwappedApi<kiv::ShellApi> shell;
    folders->getSystemDirectory = folders->getWindowsDirectory = GivenFolder;
    shell->getFolderLocation = nullptr;
    for (const UINT length : {0, MAX_PATH}) {
        g_folderLength = length;
        CHECK((CKivSystem::GetSysDir() == nullptr && CKivSystem::GetWinDir() == nullptr));
        CHECK((Text(CKivSystem::GetSys16Dir()).empty() && CKivSystem::CheckIE(IE_600) == kFail));
    }
    g_folderLength = MAX_PATH - 6;
    CHECK((std::strlen(CKivSystem::GetWinDir()) == MAX_PATH - 6 && Text(CKivSystem::GetSys16Dir()).empty()));
    shell->getFolderLocation = [](HWND, int, LPITEMIDLIST* list) WINAPI { return *list = nullptr, S_OK; };
    CHECK(Text(CKivSystem::GetFontsDir()) == Text(MAX_PATH - 6, 'x') + "Fonts");
}

TEST_CASE("folders in the registry are taken when they are texts that fit") {
    char platforms[MAX_PATH];
    const Text platform(platforms, ::GetTempPathA(sizeof platforms, platforms) - 1);
    CHECK((TempDirFor("C:\\Own\\", "C:\\Other") == "C:\\Own" && TempDirFor("C:\\Own\\\\", "") == "C:\\Own\\"));
    CHECK(TempDirFor(Text(1, '\0'), "C:\\Other\\") == "C:\\Other");
    CHECK(TempDirFor(Text(259, 'x') + '\0', "C:\\Other") == Text(259, 'x'));
    CHECK(TempDirFor(Text(260, 'x'), "C:\\Other") == "C:\\Other");
    CHECK((TempDirFor("C:\\A", "C:\\B", REG_BINARY) == platform && TempDirFor("", "") == platform));
    ::SetEnvironmentVariableA("KivTestFolder", Text(251, 'y').c_str());
    CHECK(TempDirFor("C:\\1234\\%KivTestFolder%", "", REG_EXPAND_SZ) == "C:\\1234\\" + Text(251, 'y'));
    CHECK(TempDirFor("C:\\12345\\%KivTestFolder%", "C:\\Other") == platform);  // expanded it does not fit
    ::SetEnvironmentVariableA("KivTestFolder", nullptr);
    const RedirectedKey machine(HKEY_LOCAL_MACHINE);
    const FreshSystemCaches caches;
    SetData(machine.Handle(), "ProgramFilesDir", REG_EXPAND_SZ, "%windir%",
            "Software\\Microsoft\\Windows\\CurrentVersion");
    CHECK((CKivSystem::GetProgramFilesDir() == Text("%windir%") && Text(CKivSystem::GetCommonFilesDir()).empty()));
}

TEST_CASE("a drive is asked once and kept by its letter") {
    static UINT type;
    static Text asked;
    const FreshSystemCaches caches;
    SwappedApi<kiv::FolderApi> api;
    api->getDriveType = [](LPCSTR root) WINAPI -> UINT { return asked += root, type; };
    const struct {
        UINT type;
        long first, then;
        Text asked;
    } rows[] = {{DRIVE_UNKNOWN, kFail, kOk, "A:\\"},
                {DRIVE_NO_ROOT_DIR, kFail, kFail, "B:\\B:"},
                {DRIVE_FIXED, kFalse, kFalse, "D:\\"},
                {DRIVE_REMOTE, kOk, kOk, "d:\\"}};
    for (const auto& row : rows) {
        type = row.type;
        asked.clear();
        CHECK(CKivSystem::IsNetworkDrive((row.asked.substr(0, 2) + "\\folder").c_str()) == row.first);
        CHECK(CKivSystem::IsNetworkDrive(row.asked.substr(0, 2).c_str()) == row.then);
        CHECK(asked == row.asked);
    }
    CHECK((CKivSystem::IsNetworkDrive("\\\\server\\share") == kOk && CKivSystem::IsNetworkDrive("") == kFail));
    CHECK((CKivSystem::IsNetworkDrive(nullptr) == kFail && asked == "d:\\"));
}

TEST_CASE("the browser is told by the module in the system folder; a unique name that does not fit leaves no file") {
    const FreshSystemCaches caches;
    const TempDirectory folder;
    kiv::Caches().tempFolder.Keep(folder.Path().c_str());
    Text buffer(MAX_PATH, 'x');
    const auto size = static_cast<unsigned long>(folder.Path().size() + sizeof "\\tav1.tmp" - 2);
    CHECK((CKivSystem::GetUniqueTempFileName(buffer.data(), size) == kFail && buffer == Text(MAX_PATH, 'x')));
    CHECK((::RemoveDirectoryA(folder.Path().c_str()) && ::CreateDirectoryA(folder.Path().c_str(), nullptr)));  // empty
    kiv::Caches().systemFolder.Keep(folder.Path().c_str());
    GENERAL_SYSTEM_INFO info{sizeof info, nullptr, nullptr, false, true};
    CHECK(CKivSystem::CheckIE(IE_550) == static_cast<long>(0x80070002UL));
    CHECK((GetGeneralSystemInfo(&info) && Text(info.pszIeVersion).empty() && !info.bIe401OrLater));
    Text module = kiv::test::ReadFileBytes("version_wide.dll");
    const std::size_t version = module.find(Text("\x32\0\x05\0", 4));
    for (const unsigned char minor : {71, 72}) {
        module.replace(version, 4, {static_cast<char>(minor), 0, 4, 0});
        folder.Write("Shdocvw.dll", module);
        CHECK((GetGeneralSystemInfo(&info) && info.bIe401OrLater == (minor == 72)));
    }
    CHECK((CKivSystem::CheckIE(IE_401) == kOk && CKivSystem::CheckIE(static_cast<enumCheckIE>(5)) == kFail));
}

TEST_CASE("terminal services are told by suite, product or not at all") {
    static DWORD version;
    static BOOL suite;
    SwappedApi<kiv::VersionApi> versions;
    SwappedApi<kiv::SuiteApi> api;
    versions->getVersion = []() WINAPI { return version; };
    api->verifyVersionInfo = [](LPOSVERSIONINFOEXA, DWORD, DWORDLONG) WINAPI { return suite; };
    const auto answer = [](DWORD word, BOOL suiteAnswer) {
        const FreshSystemCaches caches;
        version = word;
        suite = suiteAnswer;
        const int first = KivIsTerminalServer();
        suite = !suite;
        CHECK(CKivSystem::IsTerminalServer() == (first ? kOk : kFalse));  // kept
        return first;
    };
    constexpr DWORD k9x = 0xC3B60004;
    constexpr DWORD kNt4 = 0x05650004;
    constexpr DWORD k2000 = 0x08930005;
    const RedirectedKey machine(HKEY_LOCAL_MACHINE);
    const char* const key = "System\\CurrentControlSet\\Control\\ProductOptions";
    SetData(machine.Handle(), "ProductSuite", REG_MULTI_SZ, Text(2000, 'x') + '\0' + "Terminal Server" + '\0', key);
    CHECK(
        (answer(k2000, TRUE) == 1 && answer(k2000, FALSE) == 0 && answer(kNt4, FALSE) == 1 && answer(k9x, TRUE) == 0));
    SetData(machine.Handle(), "ProductSuite", REG_SZ, "Terminal Server", key);
    CHECK(answer(kNt4, TRUE) == 0);
    api->verifyVersionInfo = nullptr;
    SwappedApi<kiv::SessionApi> sessions;
    sessions->processIdToSessionId = nullptr;
    CHECK((answer(k2000, TRUE) == 0 && KivGetSessionId(0) == 0));
}

TEST_CASE("the profile folder falls back step by step, never beyond the room") {
    const FreshSystemCaches caches;
    kiv::Caches().windowsFolder.Keep("D:\\WINNT");
    SwappedApi<kiv::ProfileApi> profile;
    SwappedApi<kiv::ShellApi> shell;
    SwappedApi<kiv::VersionApi> versions;
    versions->getVersionEx = GivenVersion;
    shell->getFolderPath = [](HWND, LPSTR buffer, int folder, BOOL create) WINAPI -> BOOL {
        std::strcpy(buffer, "C:\\ME\\user");
        return folder == 40 && create;
    };
    profile->getProfileDirectory = [](HANDLE, LPSTR buffer, LPDWORD size) WINAPI -> BOOL {
        const bool fits = *size >= sizeof "C:\\NT\\user";
        std::strcpy(buffer, fits ? "C:\\NT\\user" : "");
        *size = 1000;  // the room it would like
        return fits;
    };
    const auto found = [](OsFamily family, unsigned long room) {
        const ForcedOsFamily forced(family);
        Text buffer(64, 'x');
        unsigned long size = room;
        CHECK(CKivSystem::GetUserProfileDir(nullptr, buffer.data(), &size) == kOk);
        CHECK(buffer.substr(room) == Text(64 - room, 'x'));
        return Text(buffer.c_str());
    };
    ::SetEnvironmentVariableA("UserProfile", "C:\\V");
    CHECK((found(OsFamily::kNt, 11) == "C:\\NT\\user" && found(OsFamily::kNt, 10) == "C:\\V"));
    CHECK((found(OsFamily::kNt, 5) == "C:\\V" && found(OsFamily::kNt, 4) == "D:"));
    profile->getProfileDirectory = nullptr;
    CHECK(found(OsFamily::kNt, 64) == "C:\\V");
    ::SetEnvironmentVariableA("UserProfile", nullptr);
    g_version = {sizeof g_version, 4, 10, 2222, VER_PLATFORM_WIN32_WINDOWS, ""};
    CHECK((found(OsFamily::k9x, 64) == "D:" && found(OsFamily::k9x, 2) == "D" && found(OsFamily::k9x, 1).empty()));
    g_version.dwMinorVersion = 90;
    CHECK((found(OsFamily::k9x, 11) == "C:\\ME\\user" && found(OsFamily::k9x, 10) == "D:"));
    unsigned long size = 0;
    char buffer[4];
    CHECK(CKivSystem::GetUserProfileDir(nullptr, buffer, &size) == kFail);
}

TEST_CASE("the user's name with the domain is that of the workstation service") {
    static int unfreed;
    static NET_API_STATUS status;
    SwappedApi<kiv::WorkstationApi> api;
    api->getUser = [](LMSTR, DWORD level, LPBYTE* data) WINAPI -> NET_API_STATUS {
        static wchar_t user[] = L"user";
        static wchar_t domain[] = L"DOMAIN";
        static WKSTA_USER_INFO_1 info{user, domain, nullptr, nullptr};
        unfreed += status == 0;
        *data = level == 1 ? reinterpret_cast<BYTE*>(&info) : nullptr;
        return status;
    };
    api->freeBuffer = [](LPVOID) WINAPI { return static_cast<NET_API_STATUS>(--unfreed); };
    unsigned short buffer[300] = {};
    const ForcedOsFamily family(OsFamily::kNt);
    CHECK(CKivSystem::GetUserNameA(buffer, 0, true) == kOk);  // the size is not looked at
    CHECK((std::wstring(reinterpret_cast<const wchar_t*>(buffer)) == L"DOMAIN\\user" && unfreed == 0));
    status = ERROR_NO_SUCH_LOGON_SESSION;
    CHECK(CKivSystem::GetUserNameA(buffer, 300, true) == static_cast<long>(0x80070520UL));
    api->getUser = nullptr;
    CHECK(CKivSystem::GetUserNameA(buffer, 300, true) == static_cast<long>(0x8007007FUL));
}
