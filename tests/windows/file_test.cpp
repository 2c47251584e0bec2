#include "support/windows_api.h"

#include "tavkivut/file.h"

#include <cstring>
#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/temp_directory.h"
#include "support/version_data.h"

using kiv::test::ReadFileBytes;
using kiv::test::TempDirectory;
using kiv::test::WithClaim;

namespace {

constexpr long kOk = 0;
constexpr long kFalse = 1;
constexpr long kFail = static_cast<long>(0x80004005UL);

constexpr long Status(unsigned long error) {
    return static_cast<long>(0x80070000UL | error);
}

// Status and text of a string, in a buffer of that size: "1 Firma".
std::string StringOf(const std::string& path, const char* name, unsigned long size = 64) {
    char buffer[64];
    std::memset(buffer, 'x', sizeof buffer);
    const long status = CKivFile::GetVersionInfo(path.c_str(), name, buffer, size);
    for (unsigned long i = size; i < sizeof buffer; ++i)
        CHECK(buffer[i] == 'x');
    return std::to_string(status) + " " + (size == 0 ? "" : buffer);
}

// Opens a file for a call and closes it at the end of the full expression.
struct Opened {
    Opened(const std::string& path, DWORD access)
        : handle(::CreateFileA(path.c_str(), access, 0, nullptr, OPEN_EXISTING, 0, nullptr)) {}
    ~Opened() { ::CloseHandle(handle); }
    HANDLE handle;
};

}  // namespace

TEST_CASE("a pattern exists when a file matches; a size is its low half") {
    const kiv::test::RecordingLog log;
    const TempDirectory folder;
    const std::string file = folder.Write("a.ini", "");
    CHECK((CKivFile::DoesExist((folder / "*.ini").c_str()) == 1 && CKivFile::DoesExist((folder / "*.x").c_str()) == 0));
    CHECK((CKivFile::DoesExist(folder.Path().c_str()) == 1 && CKivFile::DoesExist(nullptr) == 0));
    LONG high = 1;
    unsigned long size = 0;
    {
        const Opened open(file, GENERIC_WRITE);
        ::SetFilePointer(open.handle, -1, &high, FILE_BEGIN);
        REQUIRE(::SetEndOfFile(open.handle));
    }
    CHECK((CKivFile::GetSize(file.c_str(), size) == kOk && size == 0xFFFFFFFF && log.Lines().empty()));
}

TEST_CASE("a file that does not open gives the error and the initial values") {
    const TempDirectory folder;
    const std::string locked = folder.Write("locked", "x");
    const Opened lock(locked, GENERIC_READ);
    const std::pair<std::string, long> rows[] = {{folder / "none", Status(ERROR_FILE_NOT_FOUND)},
                                                 {locked, Status(ERROR_SHARING_VIOLATION)},
                                                 {folder.Path(), Status(ERROR_ACCESS_DENIED)},
                                                 {"", Status(ERROR_INVALID_PARAMETER)}};
    kiv::test::CheckRows(rows, [](const std::string& text) {
        const char* path = text.empty() ? nullptr : text.c_str();
        unsigned long size = 0;
        FILETIME time{1, 1};
        SYSTEMTIME calendar{1, 1, 1, 1, 1, 1, 1, 1};
        const long status = CKivFile::GetSize(path, size);
        CHECK(CKivFile::GetTimeStamp(path, time, 2) == status);
        CHECK(CKivFile::GetTimeStamp(path, calendar, 2) == status);
        CHECK((size == 0xFFFFFFFF && time.dwLowDateTime == 0 && time.dwHighDateTime == 0 && calendar.wDay == 0));
        return status;
    });
}

TEST_CASE("time stamps are local") {
    const TempDirectory folder;
    const std::string file = folder.Write("a", "x");
    FILETIME stamps[3];
    SYSTEMTIME newYear{1999, 12, 0, 31, 23, 30, 40, 0};
    REQUIRE(::SystemTimeToFileTime(&newYear, &stamps[2]));
    REQUIRE(::SetFileTime(Opened(file, FILE_WRITE_ATTRIBUTES).handle, nullptr, nullptr, &stamps[2]));
    REQUIRE(::GetFileTime(Opened(file, GENERIC_READ).handle, &stamps[0], &stamps[1], &stamps[2]));
    for (const unsigned long which : {0UL, 1UL, 2UL}) {
        FILETIME local, time;
        SYSTEMTIME fields, calendar;
        REQUIRE((::FileTimeToLocalFileTime(&stamps[which], &local) && ::FileTimeToSystemTime(&local, &fields)));
        CHECK(CKivFile::GetTimeStamp(file.c_str(), time, which) == kOk);
        CHECK(CKivFile::GetTimeStamp(file.c_str(), calendar, which) == kOk);
        CHECK((::CompareFileTime(&time, &local) == 0 && std::memcmp(&calendar, &fields, sizeof fields) == 0));
    }
    // Opening leaves 0 as last error, so a time that does not exist is zero and a success.
    FILETIME time{1, 1};
    ::SetLastError(ERROR_ACCESS_DENIED);
    CHECK((CKivFile::GetTimeStamp(file.c_str(), time, 3) == kOk && time.dwLowDateTime + time.dwHighDateTime == 0));
    CHECK((CKivFile::GetTimeStamp(file.c_str(), newYear, 3) == kOk && newYear.wYear == 1601));
}

TEST_CASE("without a sound version resource the version stays as it was") {
    const TempDirectory folder;
    const std::string sound = ReadFileBytes("version_wide.dll");
    const std::pair<std::string, long> rows[] = {
        {"version_wide.dll", kOk},
        {"version_narrow.dll", kOk},
        {folder / "none", Status(ERROR_FILE_NOT_FOUND)},
        {folder.Write("text", "no module"), kFail},
        {folder.Write("cut", sound.substr(0, sound.size() / 2)), kFail},
        {folder.Write("short", WithClaim(sound, "VS_VERSION_INFO", kiv::test::kValueLengthField, 12)),
         Status(ERROR_RESOURCE_TYPE_NOT_FOUND)},
    };
    for (const auto& [path, status] : rows) {
        CAPTURE(path);
        CKivFileVersion version(1, 2, 3, 4);
        CKivFileVersion required(5, 50, 4134, 600);
        int isAtLeast = 7;
        const long result = CKivFile::GetVersion(path.c_str(), version);
        CHECK((status == kFail ? result < 0 : result == status));  // kFail: the system decides which
        CHECK(version == (status == kOk ? required : CKivFileVersion(1, 2, 3, 4)));
        CHECK(CKivFile::VerifyVersion(path.c_str(), required, isAtLeast) == result);
        CHECK((isAtLeast == (status == kOk) && (status != kFail || StringOf(path, "CompanyName")[0] == '-')));
    }
}

TEST_CASE("a string is found in the system's language first") {
    REQUIRE(::GetSystemDefaultLangID() == 0x409);  // the second of the three in the resource
    for (const char* module : {"version_wide.dll", "version_narrow.dll"}) {
        CAPTURE(module);
        CHECK((StringOf(module, "companyname") == "0 the company" && StringOf(module, "CompanyName", 4) == "0 the"));
        CHECK((StringOf(module, "CompanyName", 0) == "0 " && StringOf(module, "Empty") == "0 "));
        CHECK((StringOf(module, "Comments") == "1 gut" && StringOf(module, "Missing") == "1 "));
        CHECK(StringOf(module, nullptr) == std::to_string(kFail) + " ");
        CHECK(CKivFile::GetVersionInfo(module, "Comments", nullptr, 64) == kFalse);
    }
    const TempDirectory folder;
    std::string module = ReadFileBytes("version_wide.dll");
    const std::size_t own = module.find(std::string("\x09\x04\xB0\x04", 4));
    kiv::test::SetWord(module, own, 0x809);  // no table of that language: the last of the others
    CHECK(StringOf(folder.Write("foreign", module), "CompanyName") == "1 Firma");
    module[module.find(std::string("T\0r\0a", 5))] = 'X';
    CHECK(StringOf(folder.Write("untold", module), "CompanyName") ==
          std::to_string(Status(ERROR_RESOURCE_TYPE_NOT_FOUND)) + " ");
}
