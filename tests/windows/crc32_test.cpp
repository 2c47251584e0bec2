#include "tavkivut/crc32.h"

#include <string>
#include <vector>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"
#include "tavkivut/tools.h"

namespace {

using kiv::test::ReadFileBytes;
using kiv::test::TempDirectory;

constexpr unsigned long kDigits = 0xCBF43926;  // of "123456789"

struct Checksum {
    explicit Checksum(const std::string& path) : result(CKivCrc32::FromFile(path.c_str(), crc)) {}
    unsigned long crc = 1;
    unsigned long result;
};

unsigned long Sign(const std::string& path) {
    return CKivCrc32::UpdateAuthentication(path.c_str());
}

// What derived classes can call.
struct Repository : CKivCrc32 {
    // The checksum that a signature holds, or why it holds none.
    static unsigned long Recorded(const std::string& path) {
        unsigned long crc = 1;
        const unsigned long result = LoadFileCrcFromRepository(path.c_str(), crc);
        CHECK((result == 0 || crc == 0xFFFFFFFF));
        return result == 0 ? crc : result;
    }
    static std::string NameOf(const std::string& path) {
        char name[MAX_PATH] = "untouched";
        GetRepositoryNameFromFileName(path.c_str(), name, 0);
        return name;
    }
};

// The line of the log that tells the verdict, with "*" for the path.
std::string Verdict(const std::string& path) {
    const kiv::test::RecordingLog log;
    CHECK(CKivCrc32::AuthenticateFile(path.c_str()) == 1);
    const std::vector<std::string> lines = log.Lines();
    REQUIRE(lines.size() == 1);
    const std::size_t at = lines[0].find("'" + path + "'");
    REQUIRE(at != std::string::npos);
    return std::string(lines[0]).replace(at, path.size() + 2, "*");
}

constexpr const char* kNone = "3  Security : no previous CRC32 checksum available for *";

bool IsHidden(const std::string& path) {
    const DWORD attributes = ::GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
}

kiv::ScopedFile InUse(const std::string& path, DWORD access, DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE) {
    kiv::ScopedFile file(::CreateFileA(path.c_str(), access, share, nullptr, OPEN_ALWAYS, 0, nullptr));
    REQUIRE(file);
    return file;
}

}  // namespace

TEST_CASE("texts have checksums, by the exported table too") {
    unsigned long crc = 1;
    CHECK((CKivCrc32::FromString(nullptr, crc) == 0 && crc == 0));
    crc = 0xFFFFFFFF;
    for (const char c : std::string("123456789"))
        crc = CKivCrc32::s_dwCrc32[(crc ^ static_cast<unsigned char>(c)) & 0xFF] ^ crc >> 8;
    CHECK(~crc == kDigits);
}

TEST_CASE("files have checksums, or the system's error where they cannot be opened") {
    const TempDirectory folder;
    const std::string file = folder.Write("file", std::string(100000, 'x') + "\n");
    ::SetFileAttributesA(file.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    CHECK((Checksum(file).crc == 0x152B4028 && Checksum(folder.Write("empty", "")).crc == 0));
    CHECK((Checksum(folder / "missing").result == ERROR_FILE_NOT_FOUND && Checksum(folder / "missing").crc == 0));
    CHECK(Checksum(folder.Path()).result == ERROR_ACCESS_DENIED);
    const kiv::ScopedFile writer = InUse(folder / "locked", GENERIC_WRITE);
    CHECK((Checksum(folder / "locked").result == ERROR_SHARING_VIOLATION && Sign(folder / "locked") == ERROR_CRC));
    unsigned long crc = 1;
    CHECK((CKivCrc32::FromFile(nullptr, crc) == ERROR_INVALID_PARAMETER && crc == 0));
}

TEST_CASE("a read that fails on the way ends the file") {
    const TempDirectory folder;
    const std::string file = folder.Write("file", std::string(8192, 'x'));
    const kiv::ScopedFile locker = InUse(file, GENERIC_READ, FILE_SHARE_READ);
    const std::string unreadable = "Z:\\sys\\class\\net\\lo\\speed";  // under Wine, which reads what is locked
    const bool isWine = ::GetFileAttributesA(unreadable.c_str()) != INVALID_FILE_ATTRIBUTES;
    REQUIRE(::LockFile(locker.Get(), 0, 0, 8192, 0));
    const Checksum read(isWine ? unreadable : file);
    CHECK((read.result == 0 && read.crc == 0));
}

TEST_CASE("a signature tells whether its file was changed, in a folder that is hidden whenever it is used") {
    const TempDirectory folder;
    const std::string signatures = folder / "signatures";
    const std::string file = folder.Write("app.cfg", "123456789");
    CHECK((Verdict(file) == kNone && ::GetFileAttributesA(signatures.c_str()) == INVALID_FILE_ATTRIBUTES));
    CHECK((Sign(file) == 0 && IsHidden(signatures)));
    const std::string record = ReadFileBytes(signatures + "\\app.cfg.xig");
    CHECK((record.size() == 48 && record.substr(28, 4) == "\x26\x39\xF4\xCB"));
    ::SetFileAttributesA(signatures.c_str(), FILE_ATTRIBUTE_NORMAL);
    CHECK((Verdict(file) == "3  Security : * is original (CRC32 0xcbf43926)" && IsHidden(signatures)));
    folder.Write("app.cfg", "123456780");
    CHECK(Verdict(file) == "3  Security : * has been modified (CRC32 0xcbf43926 -> 0xb2288182)");
    ::SetFileAttributesA((signatures + "\\app.cfg.xig").c_str(), FILE_ATTRIBUTE_HIDDEN);
    CHECK((Sign(file) == 0 && Repository::Recorded(file) == 0xB2288182));
    folder.Write("signatures\\app.cfg.xig", record.substr(0, 31));  // damaged
    CHECK((Repository::Recorded(file) == ERROR_CRC && Verdict(file) == kNone));
    const kiv::ScopedFile reader = InUse(signatures + "\\app.cfg.xig", GENERIC_READ, FILE_SHARE_READ);
    CHECK(Sign(file) == ERROR_CRC);
    ::DeleteFileA(file.c_str());
    CHECK(Verdict(file) == "3  Security : failed to calculate CRC32 checksum for *");
    CHECK(CKivCrc32::AuthenticateFile(nullptr) == 1);
}

TEST_CASE("what stands in a signature's place is left alone") {
    const TempDirectory folder;
    const std::string file = folder.Write("app.cfg", "123456789");
    folder.Write("signatures", "mine");  // a file in place of the folder
    CHECK((Sign(file) == ERROR_CRC && Verdict(file) == kNone && ReadFileBytes(folder / "signatures") == "mine"));
    REQUIRE(::DeleteFileA((folder / "signatures").c_str()));
    REQUIRE(CKivTools::CreateDirectoryRecursive((folder / "signatures\\app.cfg.xig").c_str()) == 1);
    CHECK((Sign(file) == ERROR_CRC && Verdict(file) == kNone));
}

TEST_CASE("a path is signed as long as its signature's path fits") {
    const TempDirectory folder;
    const std::string deep = folder / std::string(100, 'd');
    REQUIRE(::CreateDirectoryA(deep.c_str(), nullptr));
    for (const std::size_t length : {244u, 245u, 259u}) {
        CAPTURE(length);
        const std::string name = "\\" + std::string(length - deep.size() - 1, 'f');
        kiv::test::WriteFileBytes(deep + name, "123456789");
        const bool fits = length == 244;
        CHECK(Repository::NameOf(deep + name) == (fits ? deep + "\\signatures" + name + ".xig" : ""));
        CHECK(Sign(deep + name) == (fits ? 0 : ERROR_CRC));
        CHECK(Repository::Recorded(deep + name) == (fits ? kDigits : ERROR_FILE_NOT_FOUND));
    }
}
