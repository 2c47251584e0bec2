// The configuration file and the registry, in processes of their own: which file is taken and when, what a refresh
// changes, how settings get back into the files.

#include <string>
#include <vector>

#include "support/check.h"
#include "support/scoped_resource.h"
#include "support/this_release.h"
#include "tavkivut/file.h"
#include "windows/server_process.h"

using kiv::ScopedFile;
using kiv::test::ReadFileBytes;
using kiv::test::ServerProcess;
using kiv::test::WriteFileBytes;
using Lines = ServerProcess::Lines;

namespace {

constexpr char kStart[] = "1  initializing configuration managment";
constexpr char kNothing[] = "1W No configuration info available";
constexpr char kUpToDate[] = "1  config information is uptodate";
constexpr char kNoAttributes[] = "1E Could not read fileattributes of config file";

class Installer : public ServerProcess {
public:
    Installer() : ServerProcess("config_child") {
        m_local = Path() + "\\bin\\TavSetup.cfg";
        m_server = MakeServer("server", "");
        m_remote = m_server + "\\Setup\\TavSetup.cfg";
        ::DeleteFileA(m_remote.c_str());
    }

    const std::string& Local() const { return m_local; }
    const std::string& Remote() const { return m_remote; }

    // What the operations log and give, with the session server chosen; without the lines of the server list.
    Lines Do(const std::string& operations) const {
        Lines kept;
        for (const std::string& line : Run("\"server=" + m_server + "\" " + operations)) {
            if (line.find("Server") == std::string::npos)
                kept.push_back(line);
        }
        kept.erase(kept.begin());  // the answer of "server"
        return kept;
    }

    std::string Update(const std::string& file) const { return "1  update config information from " + file; }

    // The two halves of the time that the registry was filled from, as one number; 0 when they are missing.
    unsigned long long StoredTime() const {
        return static_cast<unsigned long long>(ReadNumber("", "ConfigFileTimeHigh")) << 32 |
               ReadNumber("", "ConfigFileTimeLow");
    }

    DWORD ReadNumber(const std::string& section, const char* name) const {
        kiv::ScopedRegistryKey key;
        DWORD number = 0;
        DWORD size = sizeof number;
        DWORD type = 0;
        if (::RegOpenKeyA(Machine(), ("Software\\TAV\\TAVSetup\\" + section).c_str(), key.Receive()) == ERROR_SUCCESS &&
            ::RegQueryValueExA(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(&number), &size) ==
                ERROR_SUCCESS)
            CHECK(type == REG_DWORD);
        return number;
    }

private:
    std::string m_local;
    std::string m_server;
    std::string m_remote;
};

constexpr long long kSecond = 10000000;

// Makes a file that was written so many seconds after a fixed moment.
void WriteAt(const std::string& path, int seconds, const std::string& bytes) {
    WriteFileBytes(path, bytes);
    const ScopedFile file(::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const long long ticks = 127000000000000000LL + seconds * kSecond;
    const FILETIME time = {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
    REQUIRE(::SetFileTime(file.Get(), nullptr, nullptr, &time));
}

unsigned long long LocalTimeOf(const std::string& path) {
    FILETIME time{};
    REQUIRE(CKivFile::GetTimeStamp(path.c_str(), time, 2) == 0);
    return static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

}  // namespace

TEST_CASE("without a file nothing is touched") {
    const Installer installer;
    CHECK(installer.Do("init") == Lines{kStart, kNothing, kUpToDate, "= true"});
    HKEY key;
    CHECK(::RegOpenKeyA(installer.Machine(), "Software\\TAV", &key) == ERROR_FILE_NOT_FOUND);
}

TEST_CASE("the first operation fills a fresh registry, the next process finds it up to date") {
    const Installer installer;
    WriteAt(installer.Local(), 0, "[S]\r\na=10\r\nb=text\r\n[ConfigFileTimeLow]\r\nc=1\r\n");
    CHECK(installer.Do("\"get=S|b\" \"get=S|a\"") ==
          Lines{kStart, installer.Update(installer.Local()), "= text", "= 10"});
    CHECK(installer.StoredTime() == LocalTimeOf(installer.Local()));
    CHECK(installer.ReadNumber("ConfigFileTimeLow", "c") == 1);
    CHECK(installer.Do("init init") == Lines{kStart, kUpToDate, "= true", kStart, kUpToDate, "= true"});
}

TEST_CASE("the newer of the two files is taken, the local one when they are equally new") {
    const Installer installer;
    WriteAt(installer.Local(), 10, "[S]\r\nfrom=local\r\n");
    WriteAt(installer.Remote(), 10, "[S]\r\nfrom=server\r\n");
    CHECK(installer.Do("init") == Lines{kStart, installer.Update(installer.Local()), "= true"});
    WriteAt(installer.Remote(), 11, "[S]\r\nfrom=server\r\n");
    CHECK(installer.Do("init") == Lines{kStart, installer.Update(installer.Remote()), "= true"});
    CHECK(installer.ReadText("S", "from") == "server");
    // A file of another time that is not later never overwrites the registry.
    ::DeleteFileA(installer.Remote().c_str());
    CHECK(installer.Do("init") == Lines{kStart, kUpToDate, "= true"});
    WriteAt(installer.Local(), 11, "[S]\r\nfrom=elsewhere\r\n");
    CHECK(installer.Do("init") == Lines{kStart, kUpToDate, "= true"});
    CHECK(installer.ReadText("S", "from") == "server");
}

TEST_CASE("a refresh touches the sections that the file names and nothing else") {
    const Installer installer;
    installer.WriteText("", "SiteKey", "kept");
    installer.WriteText("Other", "k", "kept");
    installer.WriteText("S", "old", "x");
    installer.WriteNumber("", "ConfigFileTimeHigh", 0x7FFFFFFF);  // without the other half it counts as nothing
    WriteAt(installer.Local(), 0, "[S]\r\na=1\r\n[" + std::string(300, 'n') + "]\r\nb=2\r\n[T]\r\nc=3\r\n");
    CHECK(installer.Do("init") == Lines{kStart, installer.Update(installer.Local()), "= true"});
    CHECK(installer.ReadText("", "SiteKey") == "kept");
    CHECK(installer.ReadText("Other", "k") == "kept");
    CHECK(installer.ReadText("S", "old") == "(none)");
    CHECK(installer.ReadNumber("S", "a") == 1);
    CHECK(installer.ReadNumber("T", "c") == 3);
}

TEST_CASE("files of every kind") {
    const Installer installer;
    std::string text = "[S]\r\na=10\r\n";
    SUBCASE("read-only and hidden") {
        WriteAt(installer.Local(), 0, text);
        ::SetFileAttributesA(installer.Local().c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    }
    SUBCASE("UTF-8 with a mark") {
        WriteAt(installer.Local(), 0, "\xEF\xBB\xBF" + text);
    }
    SUBCASE("UTF-16 with a mark") {
        std::string wide = "\xFF\xFE";
        for (const char c : text)
            wide.append(1, c).push_back('\0');
        WriteAt(installer.Local(), 0, wide);
    }
    SUBCASE("5 MB") {
        WriteAt(installer.Local(), 0, "[Filler]\r\nx=;" + std::string(5 << 20, 'x') + "\r\n" + text);
    }
    CHECK(installer.Do("init") == Lines{kStart, installer.Update(installer.Local()), "= true"});
    CHECK(installer.ReadNumber("S", "a") == 10);
}

TEST_CASE("an empty file and one that another process keeps to itself") {
    const Installer installer;
    WriteAt(installer.Local(), 0, "");
    CHECK(installer.Do("init") == Lines{kStart, installer.Update(installer.Local()), "= true"});
    HKEY key;
    CHECK(::RegOpenKeyA(installer.Machine(), "Software\\TAV", &key) == ERROR_FILE_NOT_FOUND);

    WriteAt(installer.Local(), 0, "[S]\r\na=1\r\n");
    const ScopedFile locked(
        ::CreateFileA(installer.Local().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    REQUIRE(locked);
    CHECK(installer.Do("init") == Lines{kStart, kNothing, kUpToDate, "= true"});
    // The server's file takes its place.
    WriteAt(installer.Remote(), 0, "[S]\r\na=2\r\n");
    CHECK(installer.Do("init") == Lines{kStart, installer.Update(installer.Remote()), "= true"});
}

TEST_CASE("first calls of several threads refresh once") {
    const Installer installer;
    WriteAt(installer.Local(), 0, "[S]\r\na=10\r\n");
    CHECK(installer.Do("threads") == Lines{kStart, installer.Update(installer.Local()), "= 8 of 8"});
}

TEST_CASE("processes that refresh at once miss nothing") {
    const Installer installer;
    std::string text;
    for (int section = 0; section < 20; ++section) {
        text += "[Section " + std::to_string(section) + "]\r\n";
        for (int entry = 0; entry < 10; ++entry)
            text += "e" + std::to_string(entry) + "=1\r\n";
        text += "last=1\r\n";
    }
    for (int round = 0; round < 2; ++round) {
        WriteAt(installer.Local(), round, text);
        CHECK(installer.Do("race=20") == Lines{"= 4 of 4"});
    }
    CHECK(installer.StoredTime() == LocalTimeOf(installer.Local()));
}

TEST_CASE("a setting is written into every copy of the file, each path once") {
    const Installer installer;
    const std::string second = installer.MakeServer("second", "[S]\r\nk=old\r\n");
    const std::string gone = installer / "gone";
    std::string other = installer / "SERVER\\";
    installer.WriteText("General", "InstServer",
                        ((installer / "server") + ";" + other + ";;" + second + ";" + gone).c_str());
    WriteFileBytes(installer.Local(), "[S]\r\nk=old\r\nl=kept\r\n");
    const std::string secondFile = second + "\\Setup\\TavSetup.cfg";
    const DWORD attributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;
    REQUIRE(::SetFileAttributesA(secondFile.c_str(), attributes));
    installer.Do("init");

    const std::string goneFile = gone + "\\Setup\\TavSetup.cfg";
    const Lines lines = installer.Do("\"update=S|k|0xff\"");
    REQUIRE(lines.size() == 9);
    CHECK(lines[2] == "1  updated config file " + installer.Local() + "; [S] k=0xff");
    CHECK(lines[3].find(kNoAttributes) == 0);  // the session server's file does not exist: it is made
    CHECK(lines[4] == "1  updated config file " + installer.Remote() + "; [S] k=0xff");
    CHECK(lines[5] == "1  updated config file " + secondFile + "; [S] k=0xff");
    CHECK(lines[6].find(kNoAttributes) == 0);
    CHECK(lines[7] == "1E failed to update config file " + goneFile);
    CHECK(lines[8] == "= true");

    CHECK(ReadFileBytes(installer.Local()) == "[S]\r\nk=0xff\r\nl=kept\r\n");
    CHECK(ReadFileBytes(installer.Remote()) == "[S]\r\nk=0xff\r\n");
    CHECK(ReadFileBytes(secondFile) == "[S]\r\nk=0xff\r\n");
    CHECK((::GetFileAttributesA(secondFile.c_str()) & attributes) == attributes);
    CHECK((::GetFileAttributesA(installer.Local().c_str()) & attributes) == 0);
    CHECK(installer.ReadNumber("S", "k") == 255);
}

TEST_CASE("a line break reaches the registry but no file") {
    const Installer installer;
    installer.WriteText("General", "InstServer", (installer / "server").c_str());
    WriteFileBytes(installer.Local(), "[S]\r\nk=old\r\n");
    installer.Do("init");
    for (const char* const operation : {"\"update=S|k|a~nl=b\"", "\"update=S|k~nx|a\"", "\"update=S~nT|k|a\""}) {
        const Lines lines = installer.Do(operation);
        CHECK(lines == Lines{kStart, kUpToDate, "1E failed to update config file " + installer.Local(),
                             "1E failed to update config file " + installer.Remote(), "= true"});
    }
    CHECK(ReadFileBytes(installer.Local()) == "[S]\r\nk=old\r\n");
    CHECK(::GetFileAttributesA(installer.Remote().c_str()) == INVALID_FILE_ATTRIBUTES);
    CHECK(installer.ReadText("S", "k") == "a\nl=b");
}
