// Settings in the registry: reading, writing, encryption, and the refresh from the session server's file. No file
// stands beside this program.

#include "tavkivut/config.h"

#include <map>
#include <memory>
#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/redirected_key.h"
#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"
#include "tavkivut/file.h"
#include "tavkivut/inst_server.h"
#include "windows/server_process.h"

struct CKivConfigMgrState {
    static void SetInitialized(bool initialized) { CKivConfigMgr::m_bInitialized = initialized; }
    static CRITICAL_SECTION& Section() { return CKivConfigMgr::m_cs; }
};

namespace {

using kiv::test::RecordingLog;
using kiv::test::TempDirectory;
using Lines = std::vector<std::string>;

const Lines kUpToDate = {"1  initializing configuration managment", "1  config information is uptodate"};

// An empty registry; with `filled` no refresh comes before the first operation.
class Settings {
public:
    explicit Settings(bool filled = true) : m_machine(HKEY_LOCAL_MACHINE) {
        CKivConfigMgrState::SetInitialized(filled);
    }

    void Write(const char* section, const char* name, DWORD type, const std::string& bytes) const {
        HKEY key;
        REQUIRE(::RegCreateKeyA(m_machine.Handle(), Path(section).c_str(), &key) == ERROR_SUCCESS);
        ::RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                         static_cast<DWORD>(bytes.size()));
        ::RegCloseKey(key);
    }

    // "4:<number>" or "1:<text>", "(none)" when it is missing.
    std::string Read(const char* section, const char* name) const {
        kiv::ScopedRegistryKey key;
        char bytes[1024] = "";
        DWORD size = sizeof bytes;
        DWORD type = 0;
        if (::RegOpenKeyA(m_machine.Handle(), Path(section).c_str(), key.Receive()) != ERROR_SUCCESS ||
            ::RegQueryValueExA(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(bytes), &size) != ERROR_SUCCESS)
            return "(none)";
        return std::to_string(type) + ":" +
               (type == REG_DWORD ? std::to_string(*reinterpret_cast<const DWORD*>(bytes)) : std::string(bytes));
    }

private:
    static std::string Path(const std::string& section) {
        return "Software\\TAV\\TAVSetup" + (section.empty() ? "" : "\\" + section);
    }
    kiv::test::RedirectedKey m_machine;
};

// The session server's folder, whose file is written at so many seconds after a fixed moment.
class Server {
public:
    Server() {
        kiv::test::MakeServerFolder(m_folder.Path(), "");
        CKivInstServer::SetSessionServerPath(m_folder.Path().c_str());
        ::DeleteFileA(File().c_str());
    }
    std::string File() const { return m_folder.Path() + "\\Setup\\TavSetup.cfg"; }
    void Write(int seconds, const std::string& bytes) const { kiv::test::WriteFileAt(File(), seconds, bytes); }

private:
    TempDirectory m_folder;
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
        const char* written;
        const char* kept;
        const char* text;
        unsigned long number;
    } rows[] = {
        {"007", "4:7", "7", 7},
        {"4294967294", "4:4294967294", "-2", 4294967294},
        {"0xFFFFFFFF", "1:0xFFFFFFFF", "0xFFFFFFFF", 0},
        {"12abc", "1:12abc", "12abc", 12},
        {"-1", "1:-1", "-1", 4294967295},
        {"", "1:", "", 0},
    };
    for (const auto& row : rows) {
        CAPTURE(row.written);
        char buffer[16] = "untouched";
        unsigned long number = 99;
        CHECK(config.SetCfgString("S", "k", row.written, false));
        CHECK(settings.Read("S", "k") == row.kept);
        CHECK_FALSE(config.GetCfgString("S", "k", buffer, static_cast<unsigned long>(std::string(row.text).size())));
        CHECK(std::string(buffer) == "untouched");
        CHECK(config.GetCfgString("S", "k", buffer, static_cast<unsigned long>(std::string(row.text).size() + 1)));
        CHECK(std::string(buffer) == row.text);
        CHECK(config.GetCfgDword("S", "k", number));
        CHECK(number == row.number);
    }
    CHECK(config.SetCfgDword("S", "n", 255, false));
    CHECK(settings.Read("S", "n") == "4:255");
    CHECK(config.SetCfgDword("S", "n", 0xFFFFFFFF, false));
    CHECK(settings.Read("S", "n") == "1:0xffffffff");
    CHECK(log.Lines().empty());
}

TEST_CASE("what is missing, null or has no section name is refused and nothing is touched") {
    const Settings settings;
    settings.Write("", "k", REG_SZ, "bookkeeping");
    CKivConfigMgr config;
    char buffer[16] = "untouched";
    unsigned long number = 99;
    for (const char* const section : {static_cast<const char*>(nullptr), "", "Missing"}) {
        CHECK_FALSE(config.GetCfgString(section, "k", buffer, sizeof buffer));
        CHECK_FALSE(config.GetCfgDword(section, "k", number));
        CHECK_FALSE(config.GetEncryptedCfgString(section, "k", buffer, sizeof buffer));
        CHECK_FALSE(config.SetCfgString(section, nullptr, "1", true));
        CHECK_FALSE(config.SetCfgString(section, "k", nullptr, true));
        CHECK_FALSE(config.SetEncryptedCfgString(section, "k", nullptr, true));
        char** names = nullptr;
        char** values = nullptr;
        CHECK(config.GetCfgStrings(section, names, values) == 0);
        CHECK((names != nullptr && names[0] == nullptr && values != nullptr && values[0] == nullptr));
        config.ReleaseCfgStrings(names, values);
    }
    CHECK_FALSE(config.SetCfgString("", "k", "1", true));
    CHECK_FALSE(config.SetCfgDword(nullptr, "k", 1, true));
    CHECK_FALSE(config.GetCfgString("S", "k", nullptr, 16));
    CHECK(std::string(buffer) == "untouched");
    CHECK(number == 99);
    CHECK(settings.Read("", "k") == "1:bookkeeping");
}

TEST_CASE("all settings of a section come as two arrays") {
    const Settings settings;
    settings.Write("S", "number", REG_DWORD, std::string(4, '\xFF'));
    settings.Write("S", "text", REG_SZ, "no terminator");
    settings.Write("S\\deeper", "other", REG_SZ, "x");
    CKivConfigMgr config;
    char** names = nullptr;
    char** values = nullptr;
    REQUIRE(config.GetCfgStrings("S", names, values) == 2);
    const std::map<std::string, std::string> found = {{names[0], values[0]}, {names[1], values[1]}};
    CHECK(found == std::map<std::string, std::string>{{"number", "-1"}, {"text", "no terminator"}});
    CHECK((names[2] == nullptr && values[2] == nullptr));
    config.ReleaseCfgStrings(names, values);
    CHECK((names == nullptr && values == nullptr));
    config.ReleaseCfgStrings(names, values);
}

TEST_CASE("an encrypted setting is read back, and nothing else is read as one") {
    const Settings settings;
    CKivConfigMgr config;
    char buffer[300] = "untouched";
    CHECK(config.SetEncryptedCfgString("S", "k", "dopw", false));
    CHECK(settings.Read("S", "k").size() == 2 + 128);
    CHECK(settings.Read("S", "k").find("dopw") == std::string::npos);
    REQUIRE(config.SetCfgString("S", "plain", "dopw", false));
    CHECK_FALSE(config.GetEncryptedCfgString("S", "plain", buffer, sizeof buffer));
    CHECK_FALSE(config.GetEncryptedCfgString("S", "k", buffer, 4));
    CHECK(std::string(buffer) == "untouched");
    CHECK(config.GetEncryptedCfgString("S", "k", buffer, 5));
    CHECK(std::string(buffer) == "dopw");
    CHECK_FALSE(config.SetEncryptedCfgString("S", "new", std::string(257, 'x').c_str(), false));
    CHECK(settings.Read("S", "new") == "(none)");
}

TEST_CASE("a newer file refreshes the sections that it names, once") {
    const Settings settings(false);
    const Server server;
    const Lines updated = {kUpToDate[0], "1  update config information from " + server.File()};
    const Lines nothing = {kUpToDate[0], "1W No configuration info available", kUpToDate[1]};
    CHECK(Initialize() == nothing);
    server.Write(3, "[S]\r\na=9\r\n");
    {  // another process keeps it to itself
        const kiv::ScopedFile locked(
            ::CreateFileA(server.File().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        CHECK(Initialize() == nothing);
    }
    CHECK(settings.Read("S", "a") == "(none)");
    settings.Write("", "SiteKey", REG_SZ, "kept");
    settings.Write("Other", "k", REG_SZ, "kept");
    settings.Write("S", "old", REG_SZ, "x");
    settings.Write("", "ConfigFileTimeHigh", REG_DWORD, std::string(4, '\x7F'));  // half a time counts as none
    server.Write(0, "[S]\r\na=10\r\n[" + std::string(300, 'n') + "]\r\nb=2\r\n[ConfigFileTimeLow]\r\nc=3\r\n");
    CHECK(Initialize() == updated);
    CHECK(settings.Read("", "SiteKey") == "1:kept");
    CHECK(settings.Read("Other", "k") == "1:kept");
    CHECK(settings.Read("S", "old") == "(none)");
    CHECK(settings.Read("S", "a") == "4:10");
    CHECK(settings.Read("ConfigFileTimeLow", "c") == "4:3");
    FILETIME time{};
    CHECK(CKivFile::GetTimeStamp(server.File().c_str(), time, 2) == 0);
    CHECK(settings.Read("", "ConfigFileTimeLow") == "4:" + std::to_string(time.dwLowDateTime));
    CHECK(settings.Read("", "ConfigFileTimeHigh") == "4:" + std::to_string(time.dwHighDateTime));

    CHECK(Initialize() == kUpToDate);
    server.Write(-1, "[S]\r\na=11\r\n");
    CHECK(Initialize() == kUpToDate);
    server.Write(1, "");  // empty: the settings stay
    CHECK(Initialize() == updated);
    CHECK(settings.Read("S", "a") == "4:10");
    server.Write(2, "\xEF\xBB\xBF[S]\r\na=12\r\n");
    ::SetFileAttributesA(server.File().c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    CHECK(Initialize() == updated);
    CHECK(settings.Read("S", "a") == "4:12");
}

TEST_CASE("first calls of several threads refresh once, instances come and go") {
    const Settings settings(false);
    const Server server;
    server.Write(0, "[S]\r\na=10\r\n");
    const RecordingLog log;
    HANDLE threads[8];
    for (HANDLE& thread : threads)
        thread = ::CreateThread(
            nullptr, 0,
            [](LPVOID) WINAPI -> DWORD {
                unsigned long value = 10;
                for (int i = 0; i < 50 && value == 10; ++i)
                    value = CKivConfigMgr().GetCfgDword("S", "a", value) ? value : 0;
                return value;
            },
            nullptr, 0, nullptr);
    ::WaitForMultipleObjects(8, threads, TRUE, INFINITE);
    for (const HANDLE thread : threads) {
        DWORD value = 0;
        ::GetExitCodeThread(thread, &value);
        CHECK(value == 10);
        ::CloseHandle(thread);
    }
    CHECK(log.Lines() == Lines{kUpToDate[0], "1  update config information from " + server.File()});
}

TEST_CASE("the class-wide section lives as long as any instance, and nothing is left behind") {
    const Settings settings;
    const auto work = [] {
        const auto first = std::make_unique<CKivConfigMgr>();
        CKivConfigMgr config;
        char buffer[300];
        char** names = nullptr;
        char** values = nullptr;
        config.SetEncryptedCfgString("S", "k", "dopw", false);
        config.GetEncryptedCfgString("S", "k", buffer, sizeof buffer);
        config.GetCfgStrings("S", names, values);
        config.ReleaseCfgStrings(names, values);
    };
    work();
    const kiv::test::ResourceCount before = kiv::test::CountResources();
    work();
    CHECK(kiv::test::CountResources() == before);

    CKivConfigMgr second;
    CKivConfigMgr().SetCfgString("S", "k", "1", false);
    CHECK(::TryEnterCriticalSection(&CKivConfigMgrState::Section()));
    ::LeaveCriticalSection(&CKivConfigMgrState::Section());
}
