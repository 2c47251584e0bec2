#include "support/windows_api.h"

#include "tavkivut/system.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include <shlobj.h>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/registry_data.h"
#include "support/this_release.h"
#include "tavkivut/file.h"

static_assert(sizeof(GENERAL_SYSTEM_INFO) == (sizeof(void*) == 4 ? 16 : 32));
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

bool SystemIsNt() {
    return (::GetVersion() & 0x80000000) == 0;
}

}  // namespace

TEST_CASE("the release is told by name, family and text") {
    CHECK(CKivSystem::IsNT() == (SystemIsNt() ? kOk : kFalse));
    CHECK(CKivSystem::CheckOS(OS_ANY_NT) == CKivSystem::IsNT());
    CHECK(CKivSystem::CheckOS(OS_ANY_9X) == (SystemIsNt() ? kFalse : kOk));
    CHECK(CKivSystem::CheckOS(static_cast<enumCheckOS>(77)) == kFail);
    const std::string text = CKivSystem::GetOsVersionString();
    CHECK(text.find("(Version ") != std::string::npos);
    for (const Release& release : kReleases) {
        if (kiv::test::ThisRelease() != release.name)
            continue;
        CHECK((text == release.text && SystemIsNt() == release.nt));
        for (const Release& other : kReleases)
            CHECK((CKivSystem::CheckOS(other.os) == kOk) == (other.os == release.os));
    }
}

TEST_CASE("folders are the system's own") {
    char folder[MAX_PATH];
    REQUIRE(::GetSystemDirectoryA(folder, sizeof folder));
    CHECK(std::string(CKivSystem::GetSysDir()) == folder);
    REQUIRE(::GetWindowsDirectoryA(folder, sizeof folder));
    CHECK(std::string(CKivSystem::GetWinDir()) == folder);
    CHECK(std::string(CKivSystem::GetSys16Dir()) == std::string(folder) + "\\System");
    const auto told = [](const char* name) {
        return kiv::test::Data(HKEY_LOCAL_MACHINE, name, "Software\\Microsoft\\Windows\\CurrentVersion");
    };
    CHECK(told("ProgramFilesDir").find(CKivSystem::GetProgramFilesDir()) == 2);
    CHECK(told("CommonFilesDir").find(CKivSystem::GetCommonFilesDir()) == 2);
    REQUIRE(::SHGetSpecialFolderPathA(nullptr, folder, CSIDL_FONTS, FALSE));
    CHECK(std::string(CKivSystem::GetFontsDir()) == folder);
    CHECK(CKivSystem::IsNetworkDrive(CKivSystem::GetWinDir()) == kFalse);
    CHECK(CKivSystem::IsNetworkDrive("no drive") == kFail);
    char file[MAX_PATH + 1];
    unsigned long size = 1;
    REQUIRE(CKivSystem::GetUniqueTempFileName(file, MAX_PATH) == kOk);
    CHECK((CKivFile::GetSize(file, size) == kOk && size == 0));
    CHECK(std::string(file).find(CKivSystem::GetTempDir() + std::string("\\tav")) == 0);
    ::DeleteFileA(file);
}

TEST_CASE("computer, user and session are the system's own") {
    const kiv::test::RecordingLog log;
    CHECK(CKivSystem::GetComputerNameA() == kiv::test::ThisComputer());
    char name[257];
    DWORD size = sizeof name;
    REQUIRE(::GetUserNameA(name, &size));
    const std::wstring user(name, name + size - 1);
    std::vector<unsigned short> buffer(300, 'x');
    const auto* text = reinterpret_cast<const wchar_t*>(buffer.data());
    CHECK(CKivSystem::GetUserNameA(buffer.data(), size, false) == kOk);  // exactly the room it needs
    CHECK((text == user && buffer[size] == 'x'));
    CHECK(CKivSystem::GetUserNameA(buffer.data(), size - 1, false) == static_cast<long>(0x8007007AUL));
    CHECK(CKivSystem::GetUserNameA(nullptr, 300, false) == static_cast<long>(0x80070057UL));
    CHECK(CKivSystem::GetUserNameA(buffer.data(), 300, true) == kOk);
    CHECK((SystemIsNt() ? std::wstring(text).find(L"\\" + user) > 0 : text == user));

    BOOL member = FALSE;
    BYTE administrators[] = {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 0x20, 2, 0, 0};
    REQUIRE(::CheckTokenMembership(nullptr, administrators, &member));
    CHECK(CKivSystem::IsCurrentUserLocalAdmin() == (member || !SystemIsNt() ? kOk : kFail));
    DWORD session = 77;
    REQUIRE(::ProcessIdToSessionId(::GetCurrentProcessId(), &session));
    CHECK((KivGetSessionId(0) == session && CKivSystem::GetSessionId(::GetCurrentProcessId()) == session));
    CHECK(KivGetSessionId(0xFFFFFFF0) == 0);
    HANDLE token = nullptr;
    REQUIRE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token));
    unsigned long room = sizeof name;
    CHECK(CKivSystem::GetUserProfileDir(token, name, &room) == kOk);
    CHECK((::GetFileAttributesA(name) & FILE_ATTRIBUTE_DIRECTORY) != 0);
    ::CloseHandle(token);

    GENERAL_SYSTEM_INFO info{sizeof info - 1, "untouched", nullptr, true, true};
    CHECK_FALSE((GetGeneralSystemInfo(&info) || GetGeneralSystemInfo(nullptr)));
    CHECK((std::string(info.pszOsVersion) == "untouched" && info.pszIeVersion == nullptr));
    info.cbSize = sizeof info;
    REQUIRE(GetGeneralSystemInfo(&info));
    CHECK(info.pszOsVersion == CKivSystem::GetOsVersionString());  // the caches, not copies
    CHECK(info.pszIeVersion == CKivSystem::GetIeVersionString());
    CHECK(info.bIsLocalAdmin == (CKivSystem::IsCurrentUserLocalAdmin() == kOk));
    CHECK(log.Lines().empty());
}
