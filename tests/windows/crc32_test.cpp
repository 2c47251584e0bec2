#include "tavkivut/crc32.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/temp_directory.h"
#include "support/windows_api.h"

namespace {

using Lines = std::vector<std::string>;
using kiv::test::RecordingLog;
using kiv::test::TempDirectory;

constexpr unsigned long kDigits = 0xCBF43926;  // of "123456789"

// What derived classes can call.
struct Repository : CKivCrc32 {
    using CKivCrc32::GetRepositoryNameFromFileName;
    using CKivCrc32::LoadFileCrcFromRepository;
    using CKivCrc32::SaveFileCrcToRepository;

    static unsigned long Recorded(const std::string& path) {
        unsigned long crc = 1;
        const unsigned long result = LoadFileCrcFromRepository(path.c_str(), crc);
        CHECK((result == 0 || crc == 0xFFFFFFFF));
        return result == 0 ? crc : result;
    }
};

struct Checksum {
    explicit Checksum(const std::string& path) : result(CKivCrc32::FromFile(path.c_str(), crc)) {}
    unsigned long crc = 1;
    unsigned long result;
};

// The line of the log that tells the verdict.
std::string Verdict(const std::string& path) {
    const RecordingLog log;
    CHECK(CKivCrc32::AuthenticateFile(path.c_str()) == 1);
    const Lines lines = log.Lines();
    REQUIRE(lines.size() == 1);
    return lines[0];
}

std::string NoSignature(const std::string& path) {
    return "3  Security : no previous CRC32 checksum available for '" + path + "'";
}

bool IsHidden(const std::string& path) {
    const DWORD attributes = ::GetFileAttributesA(path.c_str());
    REQUIRE(attributes != INVALID_FILE_ATTRIBUTES);
    return (attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
}

class FileInUse {
public:
    FileInUse(const std::string& path, DWORD access, DWORD share)
        : m_file(::CreateFileA(path.c_str(), access, share, nullptr, OPEN_ALWAYS, 0, nullptr)) {
        REQUIRE(m_file != INVALID_HANDLE_VALUE);
    }
    ~FileInUse() { ::CloseHandle(m_file); }
    FileInUse(const FileInUse&) = delete;
    FileInUse& operator=(const FileInUse&) = delete;
    HANDLE Get() const { return m_file; }

private:
    HANDLE m_file;
};

}  // namespace

TEST_CASE("the table is exported") {
    CHECK(CKivCrc32::s_dwCrc32[0] == 0);
    CHECK(CKivCrc32::s_dwCrc32[1] == 0x77073096);
    unsigned long crc = 0xFFFFFFFF;
    for (const char c : std::string("123456789"))
        crc = CKivCrc32::s_dwCrc32[(crc ^ static_cast<unsigned char>(c)) & 0xFF] ^ crc >> 8;
    CHECK(~crc == kDigits);
}

TEST_CASE("checksums of texts") {
    unsigned long crc = 1;
    CHECK(CKivCrc32::FromString("123456789", crc) == 0);
    CHECK(crc == kDigits);
    CHECK(CKivCrc32::FromString("", crc) == 0);
    CHECK(crc == 0);
    CHECK(CKivCrc32::FromString(nullptr, crc) == 0);
    CHECK(crc == 0);
}

TEST_CASE("checksums of files") {
    const TempDirectory folder;
    const std::string file = folder.Write("digits", "123456789");
    CHECK(Checksum(file).crc == kDigits);
    CHECK(Checksum(folder.Write("empty", "")).crc == 0);
    const std::string big = folder.Write("long", std::string(100000, 'x') + "\n");
    CHECK(Checksum(big).crc == 0x152B4028);
    ::SetFileAttributesA(big.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    CHECK(Checksum(big).crc == 0x152B4028);
}

TEST_CASE("a file that cannot be opened has no checksum but the system's error") {
    const TempDirectory folder;
    const std::string file = folder.Write("digits", "123456789");
    CHECK(Checksum(folder / "missing").result == ERROR_FILE_NOT_FOUND);
    CHECK(Checksum(folder / "missing").crc == 0);
    CHECK(Checksum(folder.Path()).result == ERROR_ACCESS_DENIED);
    const FileInUse writer(file, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    CHECK(Checksum(file).result == ERROR_SHARING_VIOLATION);
    CHECK(CKivCrc32::UpdateAuthentication(file.c_str()) == ERROR_CRC);
    unsigned long crc = 1;
    CHECK(CKivCrc32::FromFile(nullptr, crc) == ERROR_INVALID_PARAMETER);
    CHECK(crc == 0);
}

TEST_CASE("a read that fails on the way ends the file") {
    const std::string unreadable = "Z:\\sys\\class\\net\\lo\\speed";  // a host of Wine's: opens, fails to read
    if (::GetFileAttributesA(unreadable.c_str()) != INVALID_FILE_ATTRIBUTES) {
        CHECK(Checksum(unreadable).result == 0);
        CHECK(Checksum(unreadable).crc == 0);
        return;
    }
    const TempDirectory folder;
    const std::string file = folder.Write("file", std::string(4096, 'x') + std::string(4096, 'y'));
    const FileInUse locker(file, GENERIC_READ, FILE_SHARE_READ);
    REQUIRE(::LockFile(locker.Get(), 4096, 0, 4096, 0));
    CHECK(Checksum(file).result == 0);
    CHECK(Checksum(file).crc == Checksum(folder.Write("half", std::string(4096, 'x'))).crc);
}

TEST_CASE("a signature tells whether its file was changed") {
    const TempDirectory folder;
    const std::string file = folder.Write("app.cfg", "123456789");
    CHECK(Verdict(file) == NoSignature(file));
    CHECK(CKivCrc32::UpdateAuthentication(file.c_str()) == 0);
    CHECK(Verdict(file) == "3  Security : '" + file + "' is original (CRC32 0xcbf43926)");
    folder.Write("app.cfg", "123456780");
    CHECK(Verdict(file) == "3  Security : '" + file + "' has been modified (CRC32 0xcbf43926 -> 0xb2288182)");
    CHECK(Repository::SaveFileCrcToRepository(file.c_str()) == 0);
    CHECK(Verdict(file) == "3  Security : '" + file + "' is original (CRC32 0xb2288182)");
    ::DeleteFileA(file.c_str());
    CHECK(Verdict(file) == "3  Security : failed to calculate CRC32 checksum for '" + file + "'");
    const RecordingLog log;
    CHECK(CKivCrc32::AuthenticateFile(nullptr) == 1);
    CHECK(log.Lines() == Lines{"3  Security : failed to calculate CRC32 checksum for ''"});
}

TEST_CASE("signatures lie in a folder that is hidden whenever it is used") {
    const TempDirectory folder;
    const std::string file = folder.Write("app.cfg", "123456789");
    const std::string signatures = folder / "signatures";
    CHECK(Verdict(file) == NoSignature(file));
    CHECK(::GetFileAttributesA(signatures.c_str()) == INVALID_FILE_ATTRIBUTES);  // a check alone makes none
    CHECK(CKivCrc32::UpdateAuthentication(file.c_str()) == 0);
    CHECK(IsHidden(signatures));
    ::SetFileAttributesA(signatures.c_str(), FILE_ATTRIBUTE_NORMAL);
    Verdict(file);
    CHECK(IsHidden(signatures));
    const std::string record = kiv::test::ReadFileBytes(signatures + "\\app.cfg.xig");
    CHECK(record.size() == 48);
    CHECK(record.substr(0, 8) == std::string("\x34\x36\0\0\x30\0\0\0", 8));
    CHECK(record.substr(28, 4) == "\x26\x39\xF4\xCB");
    ::SetFileAttributesA((signatures + "\\app.cfg.xig").c_str(), FILE_ATTRIBUTE_HIDDEN);
    CHECK(CKivCrc32::UpdateAuthentication(file.c_str()) == 0);
    CHECK(IsHidden(signatures + "\\app.cfg.xig"));
}

TEST_CASE("a damaged signature counts as none") {
    const TempDirectory folder;
    const std::string file = folder.Write("app.cfg", "123456789");
    REQUIRE(CKivCrc32::UpdateAuthentication(file.c_str()) == 0);
    const std::string good = kiv::test::ReadFileBytes(folder / "signatures\\app.cfg.xig");
    const auto recordedBy = [&](const std::string& bytes) {
        folder.Write("signatures\\app.cfg.xig", bytes);
        return Repository::Recorded(file);
    };
    CHECK(recordedBy(good + "more") == kDigits);
    CHECK(recordedBy(good.substr(0, 47)) == kDigits);
    CHECK(recordedBy(good.substr(0, 31)) == ERROR_CRC);
    CHECK(recordedBy("") == ERROR_CRC);
    std::string versionTwo = good;
    versionTwo[8] = 2;
    CHECK(recordedBy(versionTwo) == ERROR_CRC);
    CHECK(Verdict(file) == NoSignature(file));
}

TEST_CASE("what stands where the signature should be is left alone") {
    const TempDirectory folder;
    const std::string file = folder.Write("app.cfg", "123456789");
    SUBCASE("a folder in place of the file") {
        REQUIRE(::CreateDirectoryA((folder / "signatures").c_str(), nullptr));
        REQUIRE(::CreateDirectoryA((folder / "signatures\\app.cfg.xig").c_str(), nullptr));
    }
    SUBCASE("a file in place of the folder") {
        folder.Write("signatures", "mine");
    }
    CHECK(CKivCrc32::UpdateAuthentication(file.c_str()) == ERROR_CRC);
    CHECK(Repository::Recorded(file) == ERROR_FILE_NOT_FOUND);
    if (::GetFileAttributesA((folder / "signatures\\app.cfg.xig").c_str()) == INVALID_FILE_ATTRIBUTES) {
        CHECK(kiv::test::ReadFileBytes(folder / "signatures") == "mine");
        CHECK_FALSE(IsHidden(folder / "signatures"));
    }
}

TEST_CASE("a signature that someone else has open cannot be replaced") {
    const TempDirectory folder;
    const std::string file = folder.Write("app.cfg", "123456789");
    REQUIRE(CKivCrc32::UpdateAuthentication(file.c_str()) == 0);
    const FileInUse reader(folder / "signatures\\app.cfg.xig", GENERIC_READ, FILE_SHARE_READ);
    CHECK(CKivCrc32::UpdateAuthentication(file.c_str()) == ERROR_CRC);
    CHECK(Repository::Recorded(file) == kDigits);
}

TEST_CASE("a folder that cannot be written to gets no signatures") {
    const std::string file = "Z:\\proc\\version";
    if (::GetFileAttributesA(file.c_str()) == INVALID_FILE_ATTRIBUTES) {
        MESSAGE("only where the host has a folder that nobody can write to");
        return;
    }
    CHECK(Checksum(file).result == 0);
    CHECK(CKivCrc32::UpdateAuthentication(file.c_str()) == ERROR_CRC);
    CHECK(Verdict(file) == NoSignature(file));
}

TEST_CASE("a path without a backslash has no signature, yet the folder is made") {
    const TempDirectory folder;
    folder.Write("app.cfg", "123456789");
    char before[MAX_PATH];
    REQUIRE(::GetCurrentDirectoryA(sizeof before, before) != 0);
    REQUIRE(::SetCurrentDirectoryA(folder.Path().c_str()));
    const unsigned long result = CKivCrc32::UpdateAuthentication("app.cfg");
    const unsigned long recorded = Repository::Recorded("app.cfg");
    REQUIRE(::SetCurrentDirectoryA(before));
    CHECK(result == ERROR_CRC);
    CHECK(recorded == ERROR_FILE_NOT_FOUND);
    CHECK(IsHidden(folder / "signatures"));
}

TEST_CASE("a path is signed as long as its signature's path fits") {
    const TempDirectory folder;
    const std::string deep = folder / std::string(100, 'd');
    REQUIRE(::CreateDirectoryA(deep.c_str(), nullptr));
    const auto pathOf = [&deep](std::size_t length) {
        return deep + "\\" + std::string(length - deep.size() - 1, 'f');
    };
    for (const std::size_t length : {244u, 245u, 259u}) {
        const std::string file = pathOf(length);
        kiv::test::WriteFileBytes(file, "123456789");
        char name[MAX_PATH] = "untouched";
        Repository::GetRepositoryNameFromFileName(file.c_str(), name, 0);
        if (length == 244) {
            CHECK(name == deep + "\\signatures" + file.substr(deep.size()) + ".xig");
            CHECK(CKivCrc32::UpdateAuthentication(file.c_str()) == 0);
            CHECK(Repository::Recorded(file) == kDigits);
        } else {
            CHECK(std::string(name).empty());
            CHECK(CKivCrc32::UpdateAuthentication(file.c_str()) == ERROR_CRC);
            CHECK(Verdict(file) == NoSignature(file));
        }
    }
}

TEST_CASE("files above 4 GB have checksums of all their bytes") {
    const char* const asked = std::getenv("KIV_TEST_LONG");
    if (asked == nullptr || std::strcmp(asked, "1") != 0) {
        MESSAGE("only where KIV_TEST_LONG is 1: it reads 4 GB");
        return;
    }
    const TempDirectory folder;
    const std::string path = folder / "big";
    {
        const FileInUse file(path, GENERIC_WRITE, 0);
        LONG high = 1;
        REQUIRE(::SetFilePointer(file.Get(), 0, &high, FILE_BEGIN) == 0);
        DWORD written = 0;
        REQUIRE(::WriteFile(file.Get(), "behind 4 GB", 11, &written, nullptr));
    }
    CHECK(Checksum(path).crc == 0x857F3B16);
}
