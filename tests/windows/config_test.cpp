// Settings in the registry: reading, writing, encryption; the refresh from the files, and settings on their way back
// into them. No file stands beside this program; what needs one happens in processes of their own.

#include "tavkivut/config.h"

#include <memory>
#include <sstream>
#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/resource_count.h"
#include "support/run_program.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"
#include "support/this_release.h"
#include "tavkivut/file.h"
#include "tavkivut/inst_server.h"

struct CKivConfigMgrState {
    static void SetInitialized(bool initialized) { CKivConfigMgr::m_bInitialized = initialized; }
    static CRITICAL_SECTION& Section() { return CKivConfigMgr::m_cs; }
};

namespace {

using kiv::ScopedKernelObject;
using kiv::test::ReadFileBytes;
using kiv::test::RecordingLog;
using kiv::test::TempDirectory;
using Lines = std::vector<std::string>;
using Text = std::string;

const Text kStart = "1  initializing configuration managment";
const Text kUpToDate = "1  config information is uptodate";
const Text kUpdate = "1  update config information from ";
constexpr DWORD kGuarded = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;

Text SettingsPath(const Text& section) {
    return "Software\\TAV\\TAVSetup" + (section.empty() ? "" : "\\" + section);
}

// An empty registry; with `filled` no refresh comes before the first operation.
struct Settings {
    explicit Settings(bool filled = true) { CKivConfigMgrState::SetInitialized(filled); }
    Text Read(const Text& section, const char* name) const {
        return kiv::test::ShownData(machine.Handle(), name, SettingsPath(section));
    }
    void Write(const Text& section, const char* name, DWORD type, const Text& bytes) const {
        kiv::test::SetData(machine.Handle(), name, type, bytes, SettingsPath(section));
    }
    kiv::test::RedirectedKey machine{HKEY_LOCAL_MACHINE};
};

// Makes a file that was written so many seconds after a fixed moment.
void WriteFileAt(const Text& path, int seconds, const Text& bytes) {
    kiv::test::WriteFileBytes(path, bytes);
    const kiv::ScopedFile file(::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const long long ticks = 127000000000000000LL + seconds * 10000000LL;
    const FILETIME time = {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
    REQUIRE(::SetFileTime(file.Get(), nullptr, nullptr, &time));
}

// The session server's folder, without the file as yet.
struct Server {
    Server() {
        ::CreateDirectoryA((folder / "Setup").c_str(), nullptr);
        CKivInstServer::SetSessionServerPath(folder.Path().c_str());
    }
    TempDirectory folder;
    Text file = folder / "Setup\\TavSetup.cfg";
};

Lines Initialize() {
    const RecordingLog log;
    CHECK(CKivConfigMgr().Initialize());
    return log.Lines();
}

// An installer's folder with config_child.exe and the libraries in "bin", run as the release that the test runs as,
// with a session server beside it and a registry key that stands for HKLM.
class Installer : public Server {
public:
    Installer() {
        REQUIRE(::CreateDirectoryA((folder / "bin").c_str(), nullptr));
        REQUIRE(::CopyFileA("config_child.exe", m_program.c_str(), TRUE));
        for (const char* library : {"tavkivut.dll", "tavkivlg.dll"})
            REQUIRE(::CopyFileA(library, (folder / "bin\\" + library).c_str(), TRUE));
        ::SetEnvironmentVariableA("KIV_LOCAL_MACHINE", m_machine.Path().c_str() + sizeof "HKCU");
    }

    // What an operation logs and gives, with the session server chosen; without the lines of the server list.
    Lines Do(const Text& operation) const {
        const kiv::test::ProgramResult result = kiv::test::RunProgram(CommandLine("\"" + operation + "\""));
        CHECK(result.exitCode == 0);
        Lines kept;
        std::istringstream lines(result.output);
        for (Text line; std::getline(lines, line);) {
            if (line.find("Server") == Text::npos && line != "= ")
                kept.push_back(line);
        }
        return kept;
    }

    Text Read(const char* section, const char* name) const {
        return kiv::test::ShownData(m_machine.Handle(), name, SettingsPath(section));
    }
    void WriteServers(const Text& list) const {
        kiv::test::SetText(m_machine.Handle(), "InstServer", list, SettingsPath("General"));
    }

    Text CommandLine(const Text& operations) const {
        return "\"" + m_program + "\" \"server=" + folder.Path() + "\" " + operations;
    }

    Text local = folder / "bin\\TavSetup.cfg";

private:
    kiv::test::ScratchKey m_machine;
    Text m_program = folder / ("bin\\config_child" +
                               (kiv::test::ThisRelease().empty() ? "" : "_" + kiv::test::ThisRelease()) + ".exe");
};

}  // namespace

TEST_CASE("a setting is kept as number or text and read as either") {
    const Settings settings;
    const RecordingLog log;
    CKivConfigMgr config;
    const struct {
        const char *written, *kept;
        Text text;
        unsigned long number;
    } rows[] = {
        {"007", "4:7", "7", 7},
        {"4294967294", "4:4294967294", "-2", 4294967294},
        {"12abc", "1:12abc", "12abc", 12},
        {"", "1:", "", 0},
    };
    for (const auto& row : rows) {
        CAPTURE(row.written);
        char buffer[16] = "untouched";
        unsigned long number = 99;
        const auto room = static_cast<unsigned long>(row.text.size());
        CHECK((config.SetCfgString("S", "k", row.written, false) && settings.Read("S", "k") == row.kept));
        CHECK((!config.GetCfgString("S", "k", buffer, room) && buffer == Text("untouched")));
        CHECK((config.GetCfgString("S", "k", buffer, room + 1) && buffer == row.text));
        CHECK((config.GetCfgDword("S", "k", number) && number == row.number));
    }
    CHECK((config.SetCfgDword("S", "n", 0xFFFFFFFF, false) && settings.Read("S", "n") == "1:0xffffffff"));
    CHECK(log.Lines().empty());
}

TEST_CASE("what is missing, null or has no section name is refused and nothing is touched") {
    const Settings settings;
    settings.Write("", "k", REG_SZ, "bookkeeping");
    CKivConfigMgr config;
    char buffer[16] = "untouched";
    unsigned long number = 99;
    for (const char* const section : {static_cast<const char*>(nullptr), "", "Missing"}) {
        CHECK_FALSE((config.GetCfgString(section, "k", buffer, 16) || config.GetCfgDword(section, "k", number)));
        CHECK_FALSE(config.GetEncryptedCfgString(section, "k", buffer, sizeof buffer));
        CHECK_FALSE(
            (config.SetCfgString(section, nullptr, "1", true) || config.SetCfgString(section, "k", nullptr, true)));
        char** names = nullptr;
        char** values = nullptr;
        CHECK((config.GetCfgStrings(section, names, values) == 0 && names[0] == nullptr && values[0] == nullptr));
        config.ReleaseCfgStrings(names, values);
        CHECK((names == nullptr && values == nullptr));
    }
    CHECK_FALSE((config.SetCfgString("", "k", "1", true) || config.SetCfgDword(nullptr, "k", 1, true)));
    CHECK((buffer == Text("untouched") && number == 99 && settings.Read("", "k") == "1:bookkeeping"));
}

TEST_CASE("a newer file refreshes the sections that it names, once") {
    const Settings settings(false);
    const Server server;
    const Lines updated = {kStart, kUpdate + server.file};
    const Lines upToDate = {kStart, kUpToDate};
    const Lines nothing = {kStart, "1W No configuration info available", kUpToDate};
    CHECK(Initialize() == nothing);
    WriteFileAt(server.file, 3, "[S]\r\na=9\r\n");
    {  // another process keeps it to itself
        const kiv::ScopedFile locked(
            ::CreateFileA(server.file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        CHECK(Initialize() == nothing);
    }
    CHECK(settings.Read("S", "a").empty());
    for (const char* section : {"", "Other", "S"})
        settings.Write(section, "old", REG_SZ, "kept");
    settings.Write("", "ConfigFileTimeHigh", REG_DWORD, Text(4, '\x7F'));  // half a time counts as none
    WriteFileAt(server.file, 0, "[S]\r\na=10\r\n[" + Text(300, 'n') + "]\r\nb=2\r\n[ConfigFileTimeLow]\r\nc=3\r\n");
    CHECK(Initialize() == updated);
    CHECK((settings.Read("", "old") == "1:kept" && settings.Read("Other", "old") == "1:kept"));
    CHECK((settings.Read("S", "old").empty() && settings.Read("S", "a") == "4:10"));
    CHECK(settings.Read("ConfigFileTimeLow", "c") == "4:3");
    FILETIME time{};
    CHECK(CKivFile::GetTimeStamp(server.file.c_str(), time, 2) == 0);
    CHECK(settings.Read("", "ConfigFileTimeLow") == "4:" + std::to_string(time.dwLowDateTime));
    CHECK(settings.Read("", "ConfigFileTimeHigh") == "4:" + std::to_string(time.dwHighDateTime));

    CHECK(Initialize() == upToDate);
    WriteFileAt(server.file, -1, "[S]\r\na=11\r\n");
    CHECK(Initialize() == upToDate);
    WriteFileAt(server.file, 1, "");  // empty: the settings stay
    CHECK((Initialize() == updated && settings.Read("S", "a") == "4:10"));
    WriteFileAt(server.file, 2, "\xEF\xBB\xBF[S]\r\na=12\r\n");
    ::SetFileAttributesA(server.file.c_str(), kGuarded);
    CHECK((Initialize() == updated && settings.Read("S", "a") == "4:12"));
}

TEST_CASE("first calls of several threads refresh once, instances come and go") {
    const Settings settings(false);
    const Server server;
    WriteFileAt(server.file, 0, "[S]\r\na=10\r\n");
    const RecordingLog log;
    ScopedKernelObject threads[8];
    const auto read = [](LPVOID) WINAPI -> DWORD {
        unsigned long value = 10;
        for (int i = 0; i < 50 && value == 10; ++i)
            value = CKivConfigMgr().GetCfgDword("S", "a", value) ? value : 0;
        return value;
    };
    for (ScopedKernelObject& thread : threads)
        thread = ScopedKernelObject(::CreateThread(nullptr, 0, read, nullptr, 0, nullptr));
    for (const ScopedKernelObject& thread : threads) {
        DWORD value = 0;
        ::WaitForSingleObject(thread.Get(), INFINITE);
        ::GetExitCodeThread(thread.Get(), &value);
        CHECK(value == 10);
    }
    CHECK(log.Lines() == Lines{kStart, kUpdate + server.file});
}

TEST_CASE("the class-wide section lives as long as any instance, and nothing is left behind") {
    const Settings settings;
    CHECK(kiv::test::LeavesNothing([&] {
        const auto first = std::make_unique<CKivConfigMgr>();
        CKivConfigMgr config;
        char buffer[300];
        char** names = nullptr;
        char** values = nullptr;
        config.SetEncryptedCfgString("S", "k", "dopw", false);
        config.GetEncryptedCfgString("S", "k", buffer, sizeof buffer);
        config.GetCfgStrings("S", names, values);
        config.ReleaseCfgStrings(names, values);
    }));

    CKivConfigMgr second;
    CKivConfigMgr().SetCfgString("S", "k", "1", false);
    CHECK(::TryEnterCriticalSection(&CKivConfigMgrState::Section()));
    ::LeaveCriticalSection(&CKivConfigMgrState::Section());
}

TEST_CASE("the newer of the two files is taken, the local one when they are equally new") {
    const Installer installer;
    WriteFileAt(installer.local, 10, "[S]\r\nfrom=local\r\n");
    WriteFileAt(installer.file, 10, "[S]\r\nfrom=server\r\n");
    CHECK(installer.Do("init") == Lines{kStart, kUpdate + installer.local, "= true"});
    WriteFileAt(installer.file, 11, "[S]\r\nfrom=server\r\n");
    CHECK(installer.Do("init") == Lines{kStart, kUpdate + installer.file, "= true"});
    ::DeleteFileA(installer.file.c_str());
    CHECK(installer.Do("init") == Lines{kStart, kUpToDate, "= true"});
    CHECK(installer.Read("S", "from") == "1:server");
}

TEST_CASE("processes that refresh at once miss nothing") {
    const Installer installer;
    Text text;
    for (int section = 0; section < 40; ++section) {
        text += "[Section " + std::to_string(section) + "]\r\n";
        for (int entry = 0; entry < 25; ++entry)
            text += "e" + std::to_string(entry) + "=1\r\n";
        text += "last=1\r\n";
    }
    for (int round = 0; round < 2; ++round) {
        WriteFileAt(installer.local, round, text);
        std::unique_ptr<kiv::test::StartedProgram> racers[4];
        for (auto& racer : racers)
            racer = std::make_unique<kiv::test::StartedProgram>(installer.CommandLine("complete=40"));
        for (const auto& racer : racers)
            CHECK(racer->Finish().exitCode == 0);
        CHECK(installer.Do("init") == Lines{kStart, kUpToDate, "= true"});
    }
}

TEST_CASE("a setting is written into every copy of the file, each path once; a line break into none") {
    const Installer installer;
    const TempDirectory second;
    ::CreateDirectoryA((second / "setup").c_str(), nullptr);
    const Text guarded = second.Write("Setup\\TavSetup.cfg", "[S]\r\nk=old\r\n");
    ::SetFileAttributesA(guarded.c_str(), kGuarded);
    const Text path = installer.folder.Path();
    installer.WriteServers(path + ";" + path + "\\;;" + second.Path() + ";" + path + "\\gone");
    WriteFileAt(installer.local, 0, "[S]\r\nk=old\r\nl=kept\r\n");
    installer.Do("init");

    const Lines lines = installer.Do("update=S|k|0xff");
    REQUIRE(lines.size() == 9);
    const Text unread = "1E Could not read fileattributes of config file";
    CHECK(lines[2] == "1  updated config file " + installer.local + "; [S] k=0xff");
    CHECK(lines[3].find(unread) == 0);  // that server has no file yet: it is made
    CHECK(lines[4] == "1  updated config file " + installer.file + "; [S] k=0xff");
    CHECK(lines[5] == "1  updated config file " + guarded + "; [S] k=0xff");
    CHECK(lines[6].find(unread) == 0);
    CHECK(lines[7] == "1E failed to update config file " + path + "\\gone\\Setup\\TavSetup.cfg");
    CHECK(lines[8] == "= true");
    CHECK(ReadFileBytes(installer.local) == "[S]\r\nk=0xff\r\nl=kept\r\n");
    CHECK((ReadFileBytes(installer.file) == "[S]\r\nk=0xff\r\n" && ReadFileBytes(guarded) == "[S]\r\nk=0xff\r\n"));
    CHECK((::GetFileAttributesA(guarded.c_str()) & kGuarded) == kGuarded);
    CHECK((::GetFileAttributesA(installer.local.c_str()) & kGuarded) == 0);

    installer.WriteServers(path);
    ::DeleteFileA(installer.file.c_str());
    installer.Do("init");
    const Text failed = "1E failed to update config file ";
    for (const char* const operation : {"update=S|k|a~l=b", "update=S|k~x|a", "update=S~T|k|a"})
        CHECK(installer.Do(operation) ==
              Lines{kStart, kUpToDate, failed + installer.local, failed + installer.file, "= true"});
    CHECK(ReadFileBytes(installer.local) == "[S]\r\nk=0xff\r\nl=kept\r\n");
    CHECK(::GetFileAttributesA(installer.file.c_str()) == INVALID_FILE_ATTRIBUTES);
    CHECK(installer.Read("S", "k") == "1:a\nl=b");
}
