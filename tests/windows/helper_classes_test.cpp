#include "tavkivut/path.h"
#include "tavkivut/tools.h"

#include <cstring>
#include <string>
#include <utility>

#include "files/universal_name_api.h"
#include "support/check.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"

namespace {

bool IsFolder(const std::string& path) {
    const DWORD attributes = ::GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

DWORD WINAPI ConnectionOfX(LPCSTR drive, LPSTR name, LPDWORD size) {
    if (std::strcmp(drive, "X:") != 0)
        return ERROR_NOT_CONNECTED;
    REQUIRE(*size > std::strlen("\\\\host\\share"));
    std::strcpy(name, "\\\\host\\share");
    return NO_ERROR;
}

DWORD WINAPI NoUniversalName(LPCSTR, DWORD, LPVOID, LPDWORD) {
    return ERROR_NOT_CONNECTED;
}

DWORD WINAPI UniversalNameOfAny(LPCSTR path, DWORD level, LPVOID buffer, LPDWORD size) {
    REQUIRE(level == UNIVERSAL_NAME_INFO_LEVEL);
    auto* info = static_cast<UNIVERSAL_NAME_INFOA*>(buffer);
    info->lpUniversalName = reinterpret_cast<LPSTR>(info + 1);
    const std::string name = std::string("\\\\whole\\path") + (path + 2);
    REQUIRE(*size >= sizeof *info + name.size() + 1);
    std::strcpy(info->lpUniversalName, name.c_str());
    return NO_ERROR;
}

struct UniversalName {
    explicit UniversalName(const char* path, unsigned long size = sizeof text) {
        ::SetLastError(NO_ERROR);
        length = CKivPath::NetGetUniversalName(path, text, size);
        error = ::GetLastError();
    }
    char text[MAX_PATH] = "untouched";
    unsigned long length;
    DWORD error;
};

}  // namespace

TEST_CASE("paths are equal in any spelling") {
    const kiv::test::TempDirectory folder;
    const std::string longForm = folder.Write("a name with blanks.txt", "");
    char shortForm[MAX_PATH];
    REQUIRE(::GetShortPathNameA(longForm.c_str(), shortForm, sizeof shortForm) != 0);
    REQUIRE(std::strchr(shortForm, '~') != nullptr);
    const std::string longPath = "C:\\" + std::string(400, 'x');
    const std::string rows[][2] = {{longForm, shortForm},
                                   {"\\\\HOST\\share\\", "//host/Share"},
                                   {"C:\\a\\..\\b\\.\\c", "C:\\b\\c"},
                                   {"C:\\", "c:"},
                                   {longPath, longPath + "/"}};
    for (const auto& row : rows)
        CHECK(CKivPath::PathIsEqual(row[0].c_str(), row[1].c_str()) == 1);
    if (::GetACP() == 1252)
        CHECK(CKivPath::PathIsEqual("C:\\B\xC4R", "C:\\b\xE4r") == 1);  // the code page's own letters
    CHECK(CKivPath::PathIsEqual(shortForm, (folder / "another name.txt").c_str()) == 0);
    CHECK((CKivPath::PathIsEqual("C:\\a", "D:\\a") == 0 && CKivPath::PathIsEqual("", "C:\\") == 0));
    CHECK(CKivPath::PathIsEqual(longPath.c_str(), (longPath + "x").c_str()) == 0);
    CHECK((CKivPath::PathIsEqual(nullptr, "C:\\") == 0 && ::GetLastError() == ERROR_INVALID_PARAMETER));
}

TEST_CASE("a path on a mapped drive has a network name; where there is none the buffer is left alone") {
    {
        const kiv::test::SwappedApi<kiv::UniversalNameApi> api({UniversalNameOfAny, nullptr});
        CHECK(std::string(UniversalName("X:\\a\\b").text) == "\\\\whole\\path\\a\\b");
    }
    // By the drive's connection where the call for whole paths fails, or is not there.
    for (const auto whole : {static_cast<decltype(&::WNetGetUniversalNameA)>(nullptr), &NoUniversalName}) {
        const kiv::test::SwappedApi<kiv::UniversalNameApi> api({whole, ConnectionOfX});
        CHECK(std::string(UniversalName("X:\\a\\b").text) == "\\\\host\\share\\a\\b");
        CHECK((UniversalName("X:", 12).error == ERROR_MORE_DATA && UniversalName("X:", 13).length == 12));
        CHECK(UniversalName(("X:\\" + std::string(250, 'x')).c_str()).length == 0);
        char path[MAX_PATH] = "X:\\a";
        CHECK(CKivPath::NetGetUniversalName(path, path, sizeof path) == 14);
        CHECK(std::string(path) == "\\\\host\\share\\a");
    }
    const UniversalName local("C:\\windows");
    CHECK((local.length == 0 && local.error == ERROR_NOT_CONNECTED && local.text == std::string("untouched")));
    for (const char* path : {"\\\\host\\share", "X:a", ""})
        CHECK(UniversalName(path).error == ERROR_BAD_DEVICE);
    CHECK(UniversalName(nullptr).error == ERROR_INVALID_PARAMETER);
    const kiv::test::SwappedApi<kiv::UniversalNameApi> api({nullptr, nullptr});
    CHECK(UniversalName("X:\\a").error == ERROR_PROC_NOT_FOUND);
}

TEST_CASE("a folder is made with all that is missing above it, or leaves the error of what is in the way") {
    const kiv::test::TempDirectory folder;
    folder.Write("file", "");
    const std::string share = "\\\\localhost\\" + folder.Path().substr(0, 1) + "$" + folder.Path().substr(2);
    const std::string made[] = {folder / "a\\b/c\\", folder / "a\\b\\d\\..\\e", share + "\\a\\f\\g", share, "C:\\"};
    for (const std::string& path : made)
        CHECK(CKivTools::CreateDirectoryRecursive(path.c_str()) == 1);
    CHECK((IsFolder(folder / "a\\b\\c") && IsFolder(folder / "a\\b\\e") && IsFolder(folder / "a\\f\\g")));
    CHECK_FALSE(IsFolder(folder / "a\\b\\d"));
    char buffer[9] = "C:\\a\\b\\c";  // the folder above is written whole or not at all
    CHECK((CKivTools::GetParentDirectory(buffer, buffer, 6) == 0 && ::GetLastError() == ERROR_INSUFFICIENT_BUFFER));
    CHECK((CKivTools::GetParentDirectory(buffer, buffer, 7) == 1 && buffer == std::string("C:\\a\\b")));
    const std::pair<std::string, DWORD> rows[] = {{folder / "file\\a\\b", ERROR_ALREADY_EXISTS},
                                                  {folder / std::string(300, 'x'), ERROR_FILENAME_EXCED_RANGE},
                                                  {"Q:\\", ERROR_PATH_NOT_FOUND},
                                                  {"", ERROR_INVALID_PARAMETER}};
    kiv::test::CheckRows(rows, [](const std::string& path) {
        CHECK(CKivTools::CreateDirectoryRecursive(path.c_str()) == 0);
        return ::GetLastError();
    });
}
