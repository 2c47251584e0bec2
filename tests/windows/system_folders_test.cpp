#include "support/windows_api.h"

#include <cstring>
#include <string>

#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/redirected_key.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "system/system_api.h"
#include "tavkivut/system.h"

using kiv::test::FreshSystemCaches;
using kiv::test::RedirectedKey;
using kiv::test::SwappedApi;
using kiv::test::TempDirectory;

namespace {

constexpr long kOk = 0;
constexpr long kFalse = 1;
constexpr long kFail = static_cast<long>(0x80004005UL);

UINT WINAPI NoFolder(LPSTR, UINT) {
    return 0;
}

UINT WINAPI LongFolder(LPSTR, UINT) {
    return MAX_PATH + 1;  // the room it would need
}

UINT WINAPI DeepFolder(LPSTR buffer, UINT size) {
    std::memset(buffer, 'x', size - 1);
    buffer[size - 1] = '\0';
    return size - 1;
}

// A value below a redirected root.
void SetValue(const RedirectedKey& root, const char* path, const char* name, DWORD type, const std::string& data) {
    HKEY key;
    REQUIRE(::RegCreateKeyExA(root.Handle(), path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) ==
            ERROR_SUCCESS);
    CHECK(::RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                           static_cast<DWORD>(data.size())) == ERROR_SUCCESS);
    ::RegCloseKey(key);
}

std::string PlatformsTempFolder() {
    char folder[MAX_PATH];
    std::string text(folder, ::GetTempPathA(sizeof folder, folder));
    text.pop_back();
    return text;
}

// What GetTempDir gives for values of that type in the user's environment; an empty one is not written.
std::string TempDirFor(const std::string& temp, const std::string& tmp, DWORD type = REG_SZ) {
    const FreshSystemCaches caches;
    const RedirectedKey user(HKEY_CURRENT_USER);
    if (!temp.empty())
        SetValue(user, "Environment", "Temp", type, temp);
    if (!tmp.empty())
        SetValue(user, "Environment", "Tmp", type, tmp);
    return CKivSystem::GetTempDir();
}

std::string ProgramFilesFor(const std::string& data, DWORD type = REG_SZ) {
    const FreshSystemCaches caches;
    const RedirectedKey machine(HKEY_LOCAL_MACHINE);
    SetValue(machine, "Software\\Microsoft\\Windows\\CurrentVersion", "ProgramFilesDir", type, data);
    return CKivSystem::GetProgramFilesDir();
}

HRESULT WINAPI NoFolderLocation(HWND, int, LPITEMIDLIST*) {
    return E_FAIL;
}

HRESULT WINAPI NullFolderLocation(HWND, int, LPITEMIDLIST* list) {
    *list = nullptr;
    return S_OK;
}

BOOL WINAPI NoPath(LPCITEMIDLIST, LPSTR) {
    return FALSE;
}

UINT g_driveType;
int g_driveQuestions;
std::string g_askedDrive;

UINT WINAPI GivenDriveType(LPCSTR root) {
    ++g_driveQuestions;
    g_askedDrive = root;
    return g_driveType;
}

}  // namespace

TEST_CASE("a folder that the system does not tell is null once and asked again") {
    const FreshSystemCaches caches;
    {
        SwappedApi<kiv::FolderApi> api;
        for (const auto call : {NoFolder, LongFolder}) {
            api->getSystemDirectory = call;
            api->getWindowsDirectory = call;
            CHECK(CKivSystem::GetSysDir() == nullptr);
            CHECK(CKivSystem::GetWinDir() == nullptr);
            CHECK(std::string(CKivSystem::GetSys16Dir()).empty());
            CHECK(CKivSystem::CheckIE(IE_600) == kFail);
            CHECK(std::string(CKivSystem::GetIeVersionString()).empty());
        }
    }
    REQUIRE(CKivSystem::GetWinDir() != nullptr);
    CHECK(std::string(CKivSystem::GetSys16Dir()) == std::string(CKivSystem::GetWinDir()) + "\\System");

    const FreshSystemCaches others;
    SwappedApi<kiv::FolderApi> api;
    api->getWindowsDirectory = DeepFolder;
    CHECK(std::strlen(CKivSystem::GetWinDir()) == MAX_PATH - 1);
    CHECK(std::string(CKivSystem::GetSys16Dir()).empty());  // no room left
}

TEST_CASE("fonts without the shell are glued to the Windows folder") {
    SwappedApi<kiv::ShellApi> shell;
    SUBCASE("no module") {
        *shell.operator->() = kiv::ShellApi{};
    }
    SUBCASE("no answer") {
        shell->getFolderLocation = NoFolderLocation;
    }
    SUBCASE("an answer without a list") {
        shell->getFolderLocation = NullFolderLocation;
    }
    SUBCASE("a list without a path") {
        shell->getPathFromIdList = NoPath;
    }
    const FreshSystemCaches caches;
    CHECK(std::string(CKivSystem::GetFontsDir()) == std::string(CKivSystem::GetWinDir()) + "Fonts");

    const FreshSystemCaches others;
    SwappedApi<kiv::FolderApi> folders;
    folders->getWindowsDirectory = NoFolder;
    CHECK(std::string(CKivSystem::GetFontsDir()).empty());
}

TEST_CASE("the temporary folder comes from the user's environment") {
    const std::string unterminated(260, 'x');
    const std::string longest = std::string(259, 'x') + '\0';
    CHECK(TempDirFor("C:\\Own", "C:\\Other") == "C:\\Own");
    CHECK(TempDirFor("C:\\Own\\", "") == "C:\\Own");
    CHECK(TempDirFor("C:\\Own\\\\", "") == "C:\\Own\\");
    CHECK(TempDirFor("C:\\Own/", "") == "C:\\Own/");
    CHECK(TempDirFor("", "C:\\Other\\") == "C:\\Other");
    CHECK(TempDirFor(std::string(1, '\0'), "C:\\Other") == "C:\\Other");
    CHECK(TempDirFor(longest, "C:\\Other") == longest.c_str());
    CHECK(TempDirFor(unterminated, "C:\\Other") == "C:\\Other");
    CHECK(TempDirFor(std::string(300, 'x'), "C:\\Other") == "C:\\Other");
    CHECK(TempDirFor("C:\\A", "C:\\B", REG_BINARY) == PlatformsTempFolder());
    CHECK(TempDirFor("", "") == PlatformsTempFolder());

    ::SetEnvironmentVariableA("KivTestFolder", "C:\\Expanded\\");
    CHECK(TempDirFor("%KivTestFolder%x\\", "", REG_EXPAND_SZ) == "C:\\Expanded\\x");
    CHECK(TempDirFor("%KivTestFolder%", "") == "C:\\Expanded");  // whatever the type
    ::SetEnvironmentVariableA("KivTestFolder", std::string(251, 'y').c_str());
    CHECK(TempDirFor("C:\\12345\\%KivTestFolder%", "C:\\Other") == PlatformsTempFolder());  // does not fit
    ::SetEnvironmentVariableA("KivTestFolder", nullptr);
}

TEST_CASE("program folders are taken as they stand") {
    CHECK(ProgramFilesFor("D:\\Programs") == "D:\\Programs");
    CHECK(ProgramFilesFor("%windir%", REG_EXPAND_SZ) == "%windir%");
    CHECK(ProgramFilesFor(std::string(259, 'x')) == std::string(259, 'x'));
    CHECK(ProgramFilesFor(std::string(260, 'x')).empty());
    CHECK(ProgramFilesFor(std::string("D:\\P\0junk", 9)) == "D:\\P");
    CHECK(ProgramFilesFor("").empty());
    CHECK(ProgramFilesFor("abcd", REG_DWORD).empty());

    const FreshSystemCaches caches;
    {
        const RedirectedKey machine(HKEY_LOCAL_MACHINE);
        CHECK(std::string(CKivSystem::GetProgramFilesDir()).empty());  // no key
    }
    CHECK_FALSE(std::string(CKivSystem::GetProgramFilesDir()).empty());  // asked again
}

TEST_CASE("a unique name that does not fit leaves no file behind") {
    const FreshSystemCaches caches;
    const TempDirectory folder;
    kiv::Caches().tempFolder.Keep(folder.Path().c_str());
    std::string buffer(MAX_PATH, 'x');
    REQUIRE(CKivSystem::GetUniqueTempFileName(buffer.data(), MAX_PATH) == kOk);
    const auto length = static_cast<unsigned long>(std::strlen(buffer.c_str()));
    REQUIRE(::DeleteFileA(buffer.c_str()));

    buffer.assign(MAX_PATH, 'x');
    CHECK(CKivSystem::GetUniqueTempFileName(buffer.data(), length - 5) == kFail);
    CHECK(buffer == std::string(MAX_PATH, 'x'));
    CHECK(::RemoveDirectoryA(folder.Path().c_str()));                            // it is empty
    CHECK(CKivSystem::GetUniqueTempFileName(buffer.data(), MAX_PATH) == kFail);  // no folder any more
    REQUIRE(::CreateDirectoryA(folder.Path().c_str(), nullptr));

    // The number in the name has one to four digits: ask until a name is as long as the first was.
    long status = kFail;
    for (int i = 0; i < 1000 && (status != kOk || std::strlen(buffer.c_str()) != length); ++i) {
        buffer.assign(MAX_PATH, 'x');
        status = CKivSystem::GetUniqueTempFileName(buffer.data(), length);
    }
    CHECK(status == kOk);
    CHECK(buffer[length] == '\0');  // one more than the size
    CHECK(buffer[length + 1] == 'x');
}

TEST_CASE("a drive is asked once and kept by its letter") {
    const FreshSystemCaches caches;
    SwappedApi<kiv::FolderApi> api;
    api->getDriveType = GivenDriveType;
    struct Row {
        UINT type;
        long first, then;
        int questions;
    };
    const Row rows[] = {
        {DRIVE_UNKNOWN, kFail, kOk, 1},       {DRIVE_NO_ROOT_DIR, kFail, kFail, 2},
        {DRIVE_REMOVABLE, kFalse, kFalse, 1}, {DRIVE_FIXED, kFalse, kFalse, 1},
        {DRIVE_REMOTE, kOk, kOk, 1},          {DRIVE_CDROM, kFalse, kFalse, 1},
        {DRIVE_RAMDISK, kFalse, kFalse, 1},   {7, kFail, kFail, 2},
        {0xFFFFFFFF, kFail, kFail, 2},
    };
    char path[] = "A:\\folder\\file";
    for (const Row& row : rows) {
        for (const char letter : {path[0], static_cast<char>(path[0] | 0x20)}) {  // "a" is another key than "A"
            CAPTURE(row.type);
            std::string asked(path);
            asked[0] = letter;
            g_driveType = row.type;
            g_driveQuestions = 0;
            CHECK(CKivSystem::IsNetworkDrive(asked.c_str()) == row.first);
            CHECK(g_askedDrive == asked.substr(0, 3));
            CHECK(CKivSystem::IsNetworkDrive(asked.substr(0, 2).c_str()) == row.then);
            CHECK(g_driveQuestions == row.questions);
        }
        ++path[0];
    }
    g_driveType = DRIVE_REMOTE;
    for (path[0] = 'K'; path[0] <= 'Z'; ++path[0])
        CHECK(CKivSystem::IsNetworkDrive(path) == kOk);
    g_driveQuestions = 0;
    CHECK(CKivSystem::IsNetworkDrive("\\\\server\\share") == kOk);
    CHECK(CKivSystem::IsNetworkDrive("") == kFail);
    CHECK(CKivSystem::IsNetworkDrive(nullptr) == kFail);
    CHECK(g_driveQuestions == 0);
}

TEST_CASE("the drive that the system runs from is local") {
    const FreshSystemCaches caches;
    CHECK(CKivSystem::IsNetworkDrive(CKivSystem::GetWinDir()) == kFalse);
    CHECK(CKivSystem::IsNetworkDrive("no drive") == kFail);
}
