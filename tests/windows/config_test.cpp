// Settings in the registry: reading, writing, encryption; the refresh from the files, and settings on their way back
// into them. No file stands beside this program; what needs one is in tests/data/transcripts/server_config.txt.

#include "tavkivut/config.h"

#include <memory>
#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"
#include "tavkivut/file.h"
#include "tavkivut/inst_server.h"

struct CKivConfigMgrState {
    static void SetInitialized(bool initialized) { CKivConfigMgr::m_bInitialized = initialized; }
    static CRITICAL_SECTION& Section() { return CKivConfigMgr::m_cs; }
};

namespace {

using kiv::ScopedKernelObject;
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

// Makes a file that was written so many seconds after a fixed moment; a size makes it longer, by a hole.
void WriteFileAt(const Text& path, int seconds, const Text& bytes, long size = 0) {
    kiv::test::WriteFileBytes(path, bytes);
    const kiv::ScopedFile file(::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    if (size != 0)
        REQUIRE((::SetFilePointer(file.Get(), size, nullptr, FILE_BEGIN) != 0 && ::SetEndOfFile(file.Get())));
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
    const Settings settings(false);
    settings.Write("", "k", REG_SZ, "bookkeeping");
    CKivConfigMgr config;
    char buffer[16] = "untouched";
    unsigned long number = 99;
    {  // not even the registry is refreshed
        const RecordingLog log;
        CHECK_FALSE((config.GetCfgString("S", "k", buffer, 0) || config.GetEncryptedCfgString("S", "k", buffer, 0)));
        CHECK(log.Lines().empty());
    }
    CKivConfigMgrState::SetInitialized(true);
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
    ::SetFileAttributesA(server.file.c_str(), FILE_ATTRIBUTE_NORMAL);
    WriteFileAt(server.file, 3, "\xEF\xBB\xBF[S]\r\na=13\r\n", 0x40000000);
    CHECK((Initialize() == updated && Initialize() == updated));  // too large to be read: tried again
    CHECK(settings.Read("S", "a") == "4:12");
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
