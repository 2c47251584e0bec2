#include "support/windows_api.h"

#include "tavkivut/system.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <shlobj.h>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/this_release.h"
#include "tavkivut/file.h"

static_assert(sizeof(GENERAL_SYSTEM_INFO) == (sizeof(void*) == 4 ? 16 : 32));
static_assert(offsetof(GENERAL_SYSTEM_INFO, pszOsVersion) == sizeof(void*));
static_assert(offsetof(GENERAL_SYSTEM_INFO, bIe401OrLater) == 3 * sizeof(void*) + 1);

namespace {

constexpr long kOk = 0;
constexpr long kFalse = 1;
constexpr long kFail = static_cast<long>(0x80004005UL);

struct Release {
    const char* name;
    bool nt;
    enumCheckOS os;
    const char* text;
};

constexpr Release kReleases[] = {
    {"win95", false, OS_W95, "Windows 95 (Version 4.0 Build# 950)"},
    {"win98", false, OS_W98, "Windows 98 (Version 4.10 Build# 2222)"},
    {"nt40", true, OS_NT4, "Windows NT4 (Version 4.0 Build# 1381)"},
    {"win2k", true, OS_W2000, "Windows 2000 (Version 5.0 Build# 2195)"},
    {"winxp", true, OS_XP, "Windows XP (Version 5.1 Build# 2600)"},
    {"win2003", true, OS_W2003, "Windows Server 2003(Version 5.2 Build# 3790)"},
};

// The release that this program runs as, as the system's own call tells it: also under the program's own name.
OSVERSIONINFOA SystemsVersion() {
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    REQUIRE(::GetVersionExA(&version));
    return version;
}

bool SystemIsNt() {
    return SystemsVersion().dwPlatformId == VER_PLATFORM_WIN32_NT;
}

std::string RegistryText(HKEY root, const char* path, const char* name) {
    HKEY key;
    REQUIRE(::RegOpenKeyExA(root, path, 0, KEY_READ, &key) == ERROR_SUCCESS);
    char text[MAX_PATH] = {};
    DWORD size = sizeof text - 1;
    const LONG status = ::RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    ::RegCloseKey(key);
    REQUIRE(status == ERROR_SUCCESS);
    return text;
}

std::string Narrow(const unsigned short* text) {
    std::string narrow;
    for (; *text != 0; ++text)
        narrow += static_cast<char>(*text);
    return narrow;
}

}  // namespace

TEST_CASE("the release is told by name, family and text") {
    const OSVERSIONINFOA version = SystemsVersion();
    CHECK(CKivSystem::IsNT() == (SystemIsNt() ? kOk : kFalse));
    CHECK(CKivSystem::CheckOS(OS_ANY_NT) == CKivSystem::IsNT());
    CHECK(CKivSystem::CheckOS(OS_ANY_9X) == (SystemIsNt() ? kFalse : kOk));
    CHECK(CKivSystem::CheckOS(static_cast<enumCheckOS>(77)) == kFail);
    const std::string text = CKivSystem::GetOsVersionString();
    char numbers[64];
    std::snprintf(numbers, sizeof numbers, "(Version %lu.%lu Build# %lu)", version.dwMajorVersion,
                  version.dwMinorVersion, SystemIsNt() ? version.dwBuildNumber : LOWORD(version.dwBuildNumber));
    CHECK(text.find(numbers) == text.size() - std::strlen(numbers));
    CHECK(CKivSystem::GetOsVersionString() == CKivSystem::GetOsVersionString());  // the cache, not a copy
    for (const Release& release : kReleases) {
        if (kiv::test::ThisRelease() != release.name)
            continue;
        CHECK(text == release.text);
        CHECK(SystemIsNt() == release.nt);
        for (const Release& other : kReleases) {
            CAPTURE(other.name);
            const long no = !release.nt && other.os == OS_W2003 ? kFail : kFalse;
            CHECK(CKivSystem::CheckOS(other.os) == (other.os == release.os ? kOk : no));
        }
    }
}

TEST_CASE("folders are the system's own") {
    char folder[MAX_PATH];
    REQUIRE(::GetSystemDirectoryA(folder, sizeof folder));
    CHECK(std::string(CKivSystem::GetSysDir()) == folder);
    REQUIRE(::GetWindowsDirectoryA(folder, sizeof folder));
    CHECK(std::string(CKivSystem::GetWinDir()) == folder);
    CHECK(std::string(CKivSystem::GetSys16Dir()) == std::string(folder) + "\\System");
    CHECK(CKivSystem::GetWinDir() == CKivSystem::GetWinDir());  // the cache, not a copy

    const char* current = "Software\\Microsoft\\Windows\\CurrentVersion";
    CHECK(CKivSystem::GetProgramFilesDir() == RegistryText(HKEY_LOCAL_MACHINE, current, "ProgramFilesDir"));
    CHECK(CKivSystem::GetCommonFilesDir() == RegistryText(HKEY_LOCAL_MACHINE, current, "CommonFilesDir"));
    char fonts[MAX_PATH];
    REQUIRE(::SHGetSpecialFolderPathA(nullptr, fonts, CSIDL_FONTS, FALSE));
    CHECK(std::string(CKivSystem::GetFontsDir()) == fonts);

    const std::string temp = CKivSystem::GetTempDir();
    CHECK_FALSE(temp.empty());
    CHECK(temp.back() != '\\');
    CHECK((::GetFileAttributesA(temp.c_str()) & FILE_ATTRIBUTE_DIRECTORY) != 0);
}

TEST_CASE("a unique temporary file is new and empty") {
    char first[MAX_PATH + 1];
    char second[MAX_PATH + 1];
    REQUIRE(CKivSystem::GetUniqueTempFileName(first, MAX_PATH) == kOk);
    REQUIRE(CKivSystem::GetUniqueTempFileName(second, MAX_PATH) == kOk);
    CHECK(std::string(first) != second);
    const std::string start = std::string(CKivSystem::GetTempDir()) + "\\tav";
    for (const char* path : {first, second}) {
        CHECK(std::string(path).compare(0, start.size(), start) == 0);
        unsigned long size = 1;
        CHECK(CKivFile::GetSize(path, size) == kOk);
        CHECK(size == 0);
        ::DeleteFileA(path);
    }
    CHECK(CKivSystem::GetUniqueTempFileName(nullptr, 100) == kFail);
}

TEST_CASE("the computer's and the user's name are the system's own") {
    char computer[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = sizeof computer;
    REQUIRE(::GetComputerNameA(computer, &size));
    CHECK(std::string(CKivSystem::GetComputerNameA()) == computer);

    char user[257];
    size = sizeof user;
    REQUIRE(::GetUserNameA(user, &size));
    std::vector<unsigned short> buffer(300, 'x');
    CHECK(CKivSystem::GetUserNameA(buffer.data(), 300, false) == kOk);
    CHECK(Narrow(buffer.data()) == user);
    buffer.assign(300, 'x');
    CHECK(CKivSystem::GetUserNameA(buffer.data(), size, false) == kOk);  // exactly the room it needs
    CHECK(Narrow(buffer.data()) == user);
    CHECK(buffer[size] == 'x');
    const long tooSmall = static_cast<long>(0x80070000UL | ERROR_INSUFFICIENT_BUFFER);
    CHECK(CKivSystem::GetUserNameA(buffer.data(), size - 1, false) == tooSmall);
    CHECK(CKivSystem::GetUserNameA(buffer.data(), 0, false) == tooSmall);
    CHECK(CKivSystem::GetUserNameA(nullptr, 300, false) == static_cast<long>(0x80070057UL));

    CHECK(CKivSystem::GetUserNameA(buffer.data(), 300, true) == kOk);
    const std::string name = Narrow(buffer.data());
    const std::size_t separator = name.find('\\');
    if (SystemIsNt()) {
        REQUIRE(separator != std::string::npos);
        CHECK(name.substr(separator + 1) == user);
        CHECK(separator > 0);
    } else {
        CHECK(name == user);
    }
}

TEST_CASE("the administrators are told by the token, on the 9x family everyone is one") {
    BOOL member = FALSE;
    BYTE administrators[] = {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 0x20, 2, 0, 0};
    REQUIRE(::CheckTokenMembership(nullptr, administrators, &member));
    CHECK(CKivSystem::IsCurrentUserLocalAdmin() == (member || !SystemIsNt() ? kOk : kFail));
}

TEST_CASE("the profile folder is there") {
    HANDLE token = nullptr;
    REQUIRE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token));
    char folder[MAX_PATH] = {};
    unsigned long size = sizeof folder;
    CHECK(CKivSystem::GetUserProfileDir(token, folder, &size) == kOk);
    CHECK((::GetFileAttributesA(folder) & FILE_ATTRIBUTE_DIRECTORY) != 0);
    char same[MAX_PATH] = {};
    size = sizeof same;
    CHECK(KivGetUserProfileDirectory(token, same, &size) != 0);
    CHECK(std::string(folder) == same);
    CHECK(KivGetUserProfileDirectory(token, same, nullptr) == 0);
    ::CloseHandle(token);
}

TEST_CASE("sessions and terminal services") {
    DWORD session = 77;
    REQUIRE(::ProcessIdToSessionId(::GetCurrentProcessId(), &session));
    CHECK(KivGetSessionId(0) == session);
    CHECK(KivGetSessionId(::GetCurrentProcessId()) == session);
    CHECK(CKivSystem::GetSessionId(0) == session);
    CHECK(KivGetSessionId(0xFFFFFFF0) == 0);

    CHECK(CKivSystem::IsTerminalServer() == (KivIsTerminalServer() != 0 ? kOk : kFalse));
    if (!SystemIsNt())
        CHECK(KivIsTerminalServer() == 0);
}

TEST_CASE("the record is filled when it is large enough") {
    GENERAL_SYSTEM_INFO info;
    std::memset(&info, 0x55, sizeof info);
    GENERAL_SYSTEM_INFO untouched;
    std::memcpy(&untouched, &info, sizeof info);
    info.cbSize = untouched.cbSize = sizeof info - 1;
    CHECK_FALSE(GetGeneralSystemInfo(&info));
    CHECK(std::memcmp(&info, &untouched, sizeof info) == 0);
    CHECK_FALSE(GetGeneralSystemInfo(nullptr));

    info.cbSize = sizeof info;
    REQUIRE(GetGeneralSystemInfo(&info));
    CHECK(info.cbSize == sizeof info);
    CHECK(info.pszOsVersion == CKivSystem::GetOsVersionString());
    CHECK(info.pszIeVersion == CKivSystem::GetIeVersionString());
    CHECK(info.bIsLocalAdmin == (CKivSystem::IsCurrentUserLocalAdmin() == kOk));
    CHECK(info.bIe401OrLater);  // every system that runs this test has a newer one

    CKivFileVersion version;
    const std::string module = std::string(CKivSystem::GetSysDir()) + "\\Shdocvw.dll";
    REQUIRE(CKivFile::GetVersion(module.c_str(), version) == kOk);
    CHECK(CKivSystem::CheckIE(IE_60X) == (version.Major == 6 && version.Minor == 0 ? kOk : kFalse));
    CHECK(CKivSystem::CheckIE(static_cast<enumCheckIE>(5)) == kFail);
}

TEST_CASE("no question writes a log line") {
    const kiv::test::RecordingLog log;
    CKivSystem::CheckOS(OS_XP);
    CKivSystem::IsNetworkDrive("C:\\x");
    CKivSystem::IsNetworkDrive("?");
    CKivSystem::GetUserNameA(nullptr, 0, true);
    CHECK(log.Lines().empty());
}
