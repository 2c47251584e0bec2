#include "support/windows_api.h"

#include "tavkivut/file.h"

#include <cstddef>
#include <cstring>
#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/temp_directory.h"
#include "support/version_block.h"

using kiv::test::ModuleWithVersion;
using kiv::test::StandardVersion;
using kiv::test::TempDirectory;
using kiv::test::VersionBlock;
using kiv::test::VersionNode;
using kiv::test::VersionShape;

namespace {

constexpr long kOk = 0;
constexpr long kFalse = 1;
constexpr long kFail = static_cast<long>(0x80004005UL);

constexpr long Status(unsigned long error) {
    return static_cast<long>(0x80070000UL | error);
}

const FILE_VERSION kVersion{5, 50, 4134, 600};

std::string WithVersion(const TempDirectory& folder, const VersionNode& root,
                        VersionShape shape = VersionShape::kWide) {
    return folder.Write("module.dll", ModuleWithVersion(VersionBlock(root, shape)));
}

// The file version as the system's own query tells it.
std::string SystemsVersion(const char* path) {
    char block[0x4000];
    REQUIRE(::GetFileVersionInfoA(path, 0, sizeof block, block));
    void* value = nullptr;
    UINT size = 0;
    REQUIRE(::VerQueryValueA(block, "\\", &value, &size));
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
    return CKivFileVersion(HIWORD(fixed->dwFileVersionMS), LOWORD(fixed->dwFileVersionMS),
                           HIWORD(fixed->dwFileVersionLS), LOWORD(fixed->dwFileVersionLS))
        .GetVersionString();
}

struct FoundString {
    long status;
    std::string text;
};

FoundString Company(const std::string& path, unsigned long size = 64, const char* name = "CompanyName") {
    char buffer[64];
    std::memset(buffer, 'x', sizeof buffer);
    const long status = CKivFile::GetVersionInfo(path.c_str(), name, buffer, size);
    CHECK(buffer[63] == (size < 64 ? 'x' : buffer[63]));
    buffer[63] = '\0';
    return {status, size == 0 ? "" : buffer};
}

bool operator==(const FoundString& left, const FoundString& right) {
    return left.status == right.status && left.text == right.text;
}

struct Handle {
    HANDLE handle;
    ~Handle() { ::CloseHandle(handle); }
};

}  // namespace

TEST_CASE("existence is that of anything a search finds") {
    const TempDirectory folder;
    const std::string file = folder.Write("a.ini", "x");
    CHECK(CKivFile::DoesExist(file.c_str()) == 1);
    CHECK(CKivFile::DoesExist((folder / "*.ini").c_str()) == 1);
    CHECK(CKivFile::DoesExist((folder / "*.txt").c_str()) == 0);
    CHECK(CKivFile::DoesExist(folder.Path().c_str()) == 1);
    CHECK(CKivFile::DoesExist("") == 0);
    CHECK(CKivFile::DoesExist(nullptr) == 0);
    CHECK(CKivFile::GetType(file.c_str()) == 6);
    CHECK(CKivFile::GetType("C:\\setup.EXE") == 0);
    CHECK(CKivFile::GetType(nullptr) == 6);
}

TEST_CASE("the size is the low 32 bits") {
    const TempDirectory folder;
    const std::string file = folder.Write("a", "12345");
    unsigned long size = 0;
    CHECK(CKivFile::GetSize(file.c_str(), size) == kOk);
    CHECK(size == 5);
    CHECK(CKivFile::GetSize(folder.Write("empty", "").c_str(), size) == kOk);
    CHECK(size == 0);

    const auto setEnd = [&](LONG low, LONG high) {
        const Handle open{::CreateFileA(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr)};
        ::SetFilePointer(open.handle, low, &high, FILE_BEGIN);
        REQUIRE(::SetEndOfFile(open.handle));
    };
    setEnd(7, 1);
    CHECK(CKivFile::GetSize(file.c_str(), size) == kOk);
    CHECK(size == 7);
    setEnd(-1, 0);
    CHECK(CKivFile::GetSize(file.c_str(), size) == kOk);
    CHECK(size == 0xFFFFFFFF);
}

TEST_CASE("a file that does not open gives the error and the initial values") {
    const TempDirectory folder;
    const std::string locked = folder.Write("locked", "x");
    const Handle lock{::CreateFileA(locked.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)};
    struct Row {
        std::string path;
        long status;
    };
    const Row rows[] = {{folder / "none", Status(ERROR_FILE_NOT_FOUND)},
                        {folder / "none\\x", Status(ERROR_PATH_NOT_FOUND)},
                        {locked, Status(ERROR_SHARING_VIOLATION)},
                        {folder.Path(), Status(ERROR_ACCESS_DENIED)}};
    for (const Row& row : rows) {
        CAPTURE(row.path);
        unsigned long size = 0;
        CHECK(CKivFile::GetSize(row.path.c_str(), size) == row.status);
        CHECK(size == 0xFFFFFFFF);
        FILETIME time{1, 1};
        CHECK(CKivFile::GetTimeStamp(row.path.c_str(), time, 2) == row.status);
        CHECK((time.dwLowDateTime == 0 && time.dwHighDateTime == 0));
        SYSTEMTIME calendar;
        std::memset(&calendar, 1, sizeof calendar);
        CHECK(CKivFile::GetTimeStamp(row.path.c_str(), calendar, 2) == row.status);
        CHECK((calendar.wYear == 0 && calendar.wMilliseconds == 0));
    }
    unsigned long size = 0;
    FILETIME time;
    CKivFileVersion version;
    CHECK(CKivFile::GetSize(nullptr, size) == Status(ERROR_INVALID_PARAMETER));
    CHECK(CKivFile::GetTimeStamp(nullptr, time, 0) == Status(ERROR_INVALID_PARAMETER));
    CHECK(CKivFile::GetVersion(nullptr, version) == Status(ERROR_INVALID_PARAMETER));
    CHECK(CKivFile::GetVersionInfo(nullptr, "CompanyName", nullptr, 0) == kFail);
}

TEST_CASE("time stamps are local") {
    const TempDirectory folder;
    const std::string file = folder.Write("a", "x");
    FILETIME stamps[3];
    {
        const Handle open{::CreateFileA(file.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr)};
        const SYSTEMTIME access{2003, 7, 0, 4, 23, 58, 12, 0};
        const SYSTEMTIME write{1999, 12, 0, 31, 23, 30, 40, 0};
        REQUIRE(::SystemTimeToFileTime(&access, &stamps[1]));
        REQUIRE(::SystemTimeToFileTime(&write, &stamps[2]));
        REQUIRE(::SetFileTime(open.handle, nullptr, &stamps[1], &stamps[2]));
    }
    {
        const Handle open{::CreateFileA(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)};
        REQUIRE(::GetFileTime(open.handle, &stamps[0], nullptr, nullptr));
    }
    for (const unsigned long which : {0UL, 1UL, 2UL}) {
        CAPTURE(which);
        FILETIME local;
        SYSTEMTIME fields;
        REQUIRE(::FileTimeToLocalFileTime(&stamps[which], &local));
        REQUIRE(::FileTimeToSystemTime(&local, &fields));
        FILETIME time;
        SYSTEMTIME calendar;
        CHECK(CKivFile::GetTimeStamp(file.c_str(), time, which) == kOk);
        CHECK(CKivFile::GetTimeStamp(file.c_str(), calendar, which) == kOk);
        CHECK(::CompareFileTime(&time, &local) == 0);
        CHECK(std::memcmp(&calendar, &fields, sizeof fields) == 0);
    }
}

TEST_CASE("a time that does not exist is what the last error makes of it") {
    const TempDirectory folder;
    const std::string file = folder.Write("a", "x");
    ::SetLastError(ERROR_ACCESS_DENIED);  // opening sets its own
    FILETIME time{1, 1};
    CHECK(CKivFile::GetTimeStamp(file.c_str(), time, 3) == kOk);
    CHECK((time.dwLowDateTime == 0 && time.dwHighDateTime == 0));
    SYSTEMTIME calendar;
    CHECK(CKivFile::GetTimeStamp(file.c_str(), calendar, 0xFFFFFFFF) == kOk);
    CHECK((calendar.wYear == 1601 && calendar.wMonth == 1 && calendar.wDay == 1));
}

TEST_CASE("the file version is the one that the system's query tells") {
    const TempDirectory folder;
    const std::string module = WithVersion(folder, StandardVersion(kVersion, {}));
    CHECK(SystemsVersion(module.c_str()) == "5.50.4134.600");
    for (const char* path : {module.c_str(), "tavkivut.dll", "kernel32.dll", "shdocvw.dll"}) {
        CAPTURE(path);
        CKivFileVersion version;
        CHECK(CKivFile::GetVersion(path, version) == kOk);
        CHECK(version.GetVersionString() == SystemsVersion(path));
    }
}

TEST_CASE("a file is compared with a required version") {
    const TempDirectory folder;
    const std::string module = WithVersion(folder, StandardVersion(kVersion, {}));
    struct Row {
        CKivFileVersion required;
        int isAtLeast;
    };
    const Row rows[] = {{kVersion, 1}, {{5, 50, 4134, 601}, 0}, {{5, 49, 9999, 9999}, 1}, {CKivFileVersion(), 0}};
    for (Row row : rows) {
        int isAtLeast = 7;
        CHECK(CKivFile::VerifyVersion(module.c_str(), row.required, isAtLeast) == kOk);
        CHECK(isAtLeast == row.isAtLeast);
    }
    int isAtLeast = 7;
    CKivFileVersion required(0, 0, 0, 0);
    CHECK(CKivFile::VerifyVersion(folder.Write("a.txt", "text").c_str(), required, isAtLeast) < 0);
    CHECK(isAtLeast == 0);
}

TEST_CASE("without a sound version resource the version stays as it was") {
    const TempDirectory folder;
    VersionNode noFixed = StandardVersion(kVersion, {});
    noFixed.value.clear();
    VersionNode shortFixed = StandardVersion(kVersion, {});
    shortFixed.claimedValueLength = std::uint16_t{12};
    VersionNode unsignedFixed = StandardVersion(kVersion, {});
    unsignedFixed.value[0] = 'x';
    const std::string sound = ModuleWithVersion(VersionBlock(StandardVersion(kVersion, {})));
    const std::string paths[] = {
        folder / "none.dll",
        folder.Write("text.dll", "no module"),
        folder.Write("empty.dll", ""),
        folder.Write("no_fixed.dll", ModuleWithVersion(VersionBlock(noFixed))),
        folder.Write("short.dll", ModuleWithVersion(VersionBlock(shortFixed))),
        folder.Write("unsigned.dll", ModuleWithVersion(VersionBlock(unsignedFixed))),
        folder.Write("cut.dll", sound.substr(0, sound.size() / 2)),
    };
    for (const std::string& path : paths) {
        CAPTURE(path);
        CKivFileVersion version(kVersion);
        CHECK(CKivFile::GetVersion(path.c_str(), version) < 0);
        CHECK(version == kVersion);
    }
    CKivFileVersion version;
    CHECK(CKivFile::GetVersion(paths[0].c_str(), version) == Status(ERROR_FILE_NOT_FOUND));
    CHECK(CKivFile::GetVersion(paths[3].c_str(), version) == Status(ERROR_RESOURCE_TYPE_NOT_FOUND));
}

TEST_CASE("a resource tree that leads outside the file is a failure, not a fault") {
    const TempDirectory folder;
    const std::string block = VersionBlock(StandardVersion(kVersion, {}));
    for (const std::uint32_t offset : {0xFFFFFFFFU, 0xF0000000U, 0x80400000U, 0x400000U, 0x80000000U}) {
        CAPTURE(offset);
        const std::string path = folder.Write("astray.dll", ModuleWithVersion(block, offset));
        CKivFileVersion version;
        CHECK(CKivFile::GetVersion(path.c_str(), version) < 0);
        CHECK(CKivFile::GetVersionInfo(path.c_str(), "CompanyName", nullptr, 0) == kFail);
    }
}

TEST_CASE("a string is found in the system's language first") {
    const TempDirectory folder;
    const auto own = static_cast<std::uint16_t>(::GetSystemDefaultLangID());
    const auto french = std::uint16_t{0x40C};
    const auto german = std::uint16_t{0x407};
    REQUIRE((own != french && own != german));
    const std::string all = WithVersion(
        folder, StandardVersion(kVersion, {{french, 1252, {{"CompanyName", "societe"}}},
                                           {own, 1200, {{"CompanyName", "own"}, {"OriginalFilename", "x.dll"}}},
                                           {german, 1252, {{"CompanyName", "Firma"}, {"Comments", "gut"}}}}));
    CHECK(Company(all) == FoundString{kOk, "own"});
    CHECK(Company(all, 64, "originalfilename") == FoundString{kOk, "x.dll"});
    CHECK(Company(all, 64, "Comments") == FoundString{kFalse, "gut"});
    CHECK(Company(all, 64, "Missing") == FoundString{kFalse, ""});
    CHECK(CKivFile::GetVersionInfo(all.c_str(), "CompanyName", nullptr, 0) == kOk);
    char buffer[4] = "abc";
    CHECK(CKivFile::GetVersionInfo(all.c_str(), nullptr, buffer, sizeof buffer) == kFail);
    CHECK(std::string(buffer).empty());

    const std::string foreign =
        WithVersion(folder, StandardVersion(kVersion, {{french, 1252, {{"CompanyName", "societe"}}},
                                                       {german, 1252, {{"CompanyName", "Firma"}}}}));
    CHECK(Company(foreign) == FoundString{kFalse, "Firma"});
    CHECK(Company(foreign, 6) == FoundString{kFalse, "Firma"});
    CHECK(Company(foreign, 5) == FoundString{kFalse, "Firm"});
    CHECK(Company(foreign, 1) == FoundString{kFalse, ""});
    CHECK(Company(foreign, 0) == FoundString{kFalse, ""});
}

TEST_CASE("strings of a 16-bit resource are read as they are") {
    const TempDirectory folder;
    const auto own = static_cast<std::uint16_t>(::GetSystemDefaultLangID());
    const std::string path =
        WithVersion(folder, StandardVersion(kVersion, {{own, 1252, {{"CompanyName", "old"}}}}), VersionShape::kNarrow);
    CHECK(Company(path) == FoundString{kOk, "old"});
    CKivFileVersion version;
    CHECK(CKivFile::GetVersion(path.c_str(), version) == kOk);
    CHECK(version == kVersion);
}

TEST_CASE("a resource without languages or strings") {
    const TempDirectory folder;
    const auto own = static_cast<std::uint16_t>(::GetSystemDefaultLangID());
    VersionNode root = StandardVersion(kVersion, {{own, 1200, {{"CompanyName", "own"}}}});
    const VersionNode strings = root.children[0];
    root.children.erase(root.children.begin());
    CHECK(Company(WithVersion(folder, root)) == FoundString{kFalse, ""});
    root.children = {strings};
    CHECK(Company(WithVersion(folder, root)) == FoundString{Status(ERROR_RESOURCE_TYPE_NOT_FOUND), ""});
    CHECK(Company(folder.Write("text", "x")) == FoundString{kFail, ""});
    CHECK(Company(folder / "none") == FoundString{kFail, ""});
}

TEST_CASE("no query writes a log line") {
    const kiv::test::RecordingLog log;
    unsigned long size;
    CKivFileVersion version;
    CKivFile::GetSize("none", size);
    CKivFile::GetVersion("none", version);
    CKivFile::GetVersion("kernel32.dll", version);
    CHECK(log.Lines().empty());
}
