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
    kiv::test::SwappedApi<kiv::UniversalNameApi> api;
    const auto nameOf = [](const char* path, unsigned long size = MAX_PATH) {
        char text[MAX_PATH] = "untouched";
        ::SetLastError(NO_ERROR);
        const unsigned long length = CKivPath::NetGetUniversalName(path, text, size);
        CHECK(length == (::GetLastError() == NO_ERROR ? std::strlen(text) : 0));
        return length != 0 ? text : text + std::to_string(::GetLastError());
    };
    api->getConnection = ConnectionOfX;
    api->getUniversalName = [](LPCSTR path, DWORD, LPVOID buffer, LPDWORD) WINAPI -> DWORD {
        auto* info = static_cast<UNIVERSAL_NAME_INFOA*>(buffer);
        info->lpUniversalName = reinterpret_cast<LPSTR>(info + 1);
        std::strcpy(info->lpUniversalName, path + 2);
        return NO_ERROR;
    };
    CHECK(nameOf("X:\\\\whole\\path") == "\\\\whole\\path");
    // By the drive's connection where the call for whole paths fails, or is not there.
    api->getUniversalName = [](LPCSTR, DWORD, LPVOID, LPDWORD) WINAPI -> DWORD { return ERROR_GEN_FAILURE; };
    CHECK(nameOf("X:\\a\\b") == "\\\\host\\share\\a\\b");
    api->getUniversalName = nullptr;
    const std::string tooLong = "X:\\" + std::string(250, 'x');
    const std::pair<const char*, const char*> rows[] = {{"X:\\a\\b", "\\\\host\\share\\a\\b"},
                                                        {tooLong.c_str(), "untouched234"},
                                                        {"C:\\windows", "untouched2250"},
                                                        {"\\\\host\\share", "untouched1200"},
                                                        {"X:a", "untouched1200"},
                                                        {"", "untouched1200"},
                                                        {nullptr, "untouched87"}};
    kiv::test::CheckRows(rows, nameOf);
    CHECK((nameOf("X:", 12) == "untouched234" && nameOf("X:", 13) == "\\\\host\\share"));
    char path[MAX_PATH] = "X:\\a";
    CHECK((CKivPath::NetGetUniversalName(path, path, sizeof path) == 14 && path[13] == 'a'));
    api->getConnection = nullptr;
    CHECK(nameOf("X:\\a") == "untouched127");
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
