#include "support/windows_api.h"

#include "tavkivut/system.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/this_release.h"
#include "tavkivut/file.h"

static_assert(sizeof(GENERAL_SYSTEM_INFO) == (sizeof(void*) == 4 ? 16 : 32));
static_assert(offsetof(GENERAL_SYSTEM_INFO, bIe401OrLater) == 3 * sizeof(void*) + 1);

namespace {

constexpr long kOk = 0;
constexpr long kFalse = 1;
constexpr long kFail = static_cast<long>(0x80004005UL);

constexpr std::pair<const char*, const char*> kReleases[] = {
    {"win95", "Windows 95 (Version 4.0 Build# 950)"},  {"win98", "Windows 98 (Version 4.10 Build# 2222)"},
    {"nt40", "Windows NT4 (Version 4.0 Build# 1381)"}, {"win2k", "Windows 2000 (Version 5.0 Build# 2195)"},
    {"winxp", "Windows XP (Version 5.1 Build# 2600)"}, {"win2003", "Windows Server 2003(Version 5.2 Build# 3790)"},
};

bool SystemIsNt() {
    return (::GetVersion() & 0x80000000) == 0;
}

}  // namespace

TEST_CASE("the release is told by family and text") {
    CHECK(CKivSystem::IsNT() == (SystemIsNt() ? kOk : kFalse));
    CHECK(CKivSystem::CheckOS(OS_ANY_NT) == CKivSystem::IsNT());
    CHECK(CKivSystem::CheckOS(OS_ANY_9X) == (SystemIsNt() ? kFalse : kOk));
    CHECK((CKivSystem::CheckOS(OS_W95) == kOk) == (kiv::test::ThisRelease() == "win95"));
    for (const auto& [release, text] : kReleases)
        CHECK((CKivSystem::GetOsVersionString() == std::string(text) || kiv::test::ThisRelease() != release));
}

TEST_CASE("a unique name is that of an empty file in the temporary folder") {
    char file[MAX_PATH + 1];
    unsigned long size = 1;
    REQUIRE(CKivSystem::GetUniqueTempFileName(file, MAX_PATH) == kOk);
    CHECK((CKivFile::GetSize(file, size) == kOk && size == 0));
    CHECK(std::string(file).find(CKivSystem::GetTempDir() + std::string("\\tav")) == 0);
    ::DeleteFileA(file);
}

TEST_CASE("user, session and summary are the system's own") {
    const kiv::test::RecordingLog log;
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
