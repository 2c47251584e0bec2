// Settings in the registry: reading, writing, encryption.

#include "tavkivut/config.h"

#include <cstring>
#include <map>
#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/redirected_key.h"
#include "support/resource_count.h"
#include "support/windows_api.h"
#include "tavkivut/crypt.h"

struct CKivConfigMgrState {
    static void SetInitialized(bool initialized) { CKivConfigMgr::m_bInitialized = initialized; }
    static CRITICAL_SECTION& Section() { return CKivConfigMgr::m_cs; }
};

namespace {

using kiv::test::RecordingLog;
using kiv::test::RedirectedKey;

// An empty registry that counts as filled already.
class Settings {
public:
    Settings() : m_machine(HKEY_LOCAL_MACHINE) { CKivConfigMgrState::SetInitialized(true); }
    ~Settings() { CKivConfigMgrState::SetInitialized(false); }
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    // Data of any type in a section.
    void Write(const char* section, const char* name, DWORD type, const std::string& bytes) const {
        HKEY key;
        REQUIRE(::RegCreateKeyA(m_machine.Handle(), (std::string("Software\\TAV\\TAVSetup\\") + section).c_str(),
                                &key) == ERROR_SUCCESS);
        REQUIRE(::RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                                 static_cast<DWORD>(bytes.size())) == ERROR_SUCCESS);
        ::RegCloseKey(key);
    }

    // "4:<number>" or "1:<text>", "(none)" when it is missing.
    std::string Read(const char* section, const char* name) const {
        HKEY key;
        char bytes[1024];
        DWORD size = sizeof bytes;
        DWORD type = 0;
        if (::RegOpenKeyA(m_machine.Handle(), (std::string("Software\\TAV\\TAVSetup\\") + section).c_str(), &key) !=
            ERROR_SUCCESS)
            return "(none)";
        const LONG status = ::RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(bytes), &size);
        ::RegCloseKey(key);
        if (status != ERROR_SUCCESS)
            return "(none)";
        DWORD number = 0;
        std::memcpy(&number, bytes, sizeof number);
        return std::to_string(type) + ":" + (type == REG_DWORD ? std::to_string(number) : std::string(bytes));
    }

private:
    RedirectedKey m_machine;
};

std::string Get(const char* section, const char* key) {
    char buffer[64] = "untouched";
    const bool got = CKivConfigMgr().GetCfgString(section, key, buffer, sizeof buffer);
    CHECK((got || std::string(buffer) == "untouched"));
    return got ? buffer : "(none)";
}

}  // namespace

TEST_CASE("a setting is kept as number or text and read as either") {
    const Settings settings;
    CKivConfigMgr config;
    const struct {
        const char* written;
        const char* kept;
        const char* text;
        unsigned long number;
    } rows[] = {
        {"007", "4:7", "7", 7},
        {"0xff", "4:255", "255", 255},
        {"4294967294", "4:4294967294", "-2", 4294967294},
        {"0xFFFFFFFF", "1:0xFFFFFFFF", "0xFFFFFFFF", 0},
        {"12abc", "1:12abc", "12abc", 12},
        {"-1", "1:-1", "-1", 4294967295},
        {"", "1:", "", 0},
    };
    RecordingLog log;
    for (const auto& row : rows) {
        CAPTURE(row.written);
        CHECK(config.SetCfgString("S", "k", row.written, false));
        CHECK(settings.Read("S", "k") == row.kept);
        CHECK(Get("S", "k") == row.text);
        unsigned long number = 99;
        CHECK(config.GetCfgDword("S", "k", number));
        CHECK(number == row.number);
    }
    CHECK(config.SetCfgDword("S", "n", 255, false));
    CHECK(settings.Read("S", "n") == "4:255");
    CHECK(config.SetCfgDword("S", "n", 0xFFFFFFFF, false));
    CHECK(settings.Read("S", "n") == "1:0xffffffff");
    CHECK(log.Lines().empty());
}

TEST_CASE("what is missing or does not fit is refused and nothing is touched") {
    const Settings settings;
    CKivConfigMgr config;
    REQUIRE(config.SetCfgString("S", "k", "12345x", false));
    char buffer[16] = "untouched";
    CHECK_FALSE(config.GetCfgString("S", "k", buffer, 6));
    CHECK_FALSE(config.GetCfgString("S", "k", buffer, 0));
    CHECK(std::string(buffer) == "untouched");
    CHECK(config.GetCfgString("S", "k", buffer, 7));
    CHECK(std::string(buffer) == "12345x");

    unsigned long number = 99;
    CHECK_FALSE(config.GetCfgDword("S", "missing", number));
    CHECK_FALSE(config.GetCfgDword("Missing", "k", number));
    CHECK(number == 99);
    CHECK(Get("S", "missing") == "(none)");
    CHECK(Get("Missing", "k") == "(none)");
}

TEST_CASE("null arguments and an empty section do nothing") {
    const Settings settings;
    settings.Write("", "ConfigFileTimeLow", REG_DWORD, "abcd");
    CKivConfigMgr config;
    char buffer[16] = "untouched";
    unsigned long number = 99;
    for (const char* const section : {static_cast<const char*>(nullptr), ""}) {
        CHECK_FALSE(config.GetCfgString(section, "ConfigFileTimeLow", buffer, sizeof buffer));
        CHECK_FALSE(config.GetCfgDword(section, "ConfigFileTimeLow", number));
        CHECK_FALSE(config.SetCfgString(section, "ConfigFileTimeLow", "1", true));
        CHECK_FALSE(config.SetCfgDword(section, "ConfigFileTimeLow", 1, true));
        CHECK_FALSE(config.SetEncryptedCfgString(section, "ConfigFileTimeLow", "1", true));
    }
    CHECK_FALSE(config.GetCfgString("S", nullptr, buffer, sizeof buffer));
    CHECK_FALSE(config.GetCfgString("S", "k", nullptr, 16));
    CHECK_FALSE(config.SetCfgString("S", nullptr, "1", true));
    CHECK_FALSE(config.SetCfgString("S", "k", nullptr, true));
    CHECK_FALSE(config.SetEncryptedCfgString("S", "k", nullptr, true));
    CHECK_FALSE(config.GetEncryptedCfgString("S", "k", nullptr, 16));
    CHECK(std::string(buffer) == "untouched");
    CHECK(number == 99);
    CHECK(settings.Read("", "ConfigFileTimeLow") == "4:1684234849");
    CHECK(settings.Read("S", "k") == "(none)");
}

TEST_CASE("all settings of a section come as two arrays") {
    const Settings settings;
    settings.Write("S", "number", REG_DWORD, std::string("\xFF\xFF\xFF\xFF", 4));
    settings.Write("S", "text", REG_SZ, "no terminator");
    settings.Write("S", "empty", REG_SZ, "");
    settings.Write("S\\deeper", "other", REG_SZ, "x");
    CKivConfigMgr config;
    char** names = nullptr;
    char** values = nullptr;
    REQUIRE(config.GetCfgStrings("S", names, values) == 3);
    std::map<std::string, std::string> found;
    for (int i = 0; i < 3; ++i)
        found[names[i]] = values[i];
    CHECK(found == std::map<std::string, std::string>{{"number", "-1"}, {"text", "no terminator"}, {"empty", ""}});
    CHECK(names[3] == nullptr);
    CHECK(values[3] == nullptr);
    config.ReleaseCfgStrings(names, values);
    CHECK(names == nullptr);
    CHECK(values == nullptr);
    config.ReleaseCfgStrings(names, values);
}

TEST_CASE("a missing section has no settings, but arrays") {
    const Settings settings;
    CKivConfigMgr config;
    for (const char* const section : {static_cast<const char*>(nullptr), "", "Missing"}) {
        char** names = nullptr;
        char** values = nullptr;
        CHECK(config.GetCfgStrings(section, names, values) == 0);
        REQUIRE(names != nullptr);
        REQUIRE(values != nullptr);
        CHECK(names[0] == nullptr);
        CHECK(values[0] == nullptr);
        config.ReleaseCfgStrings(names, values);
    }
}

TEST_CASE("an encrypted setting is read back, and nothing else is read as one") {
    const Settings settings;
    CKivConfigMgr config;
    char buffer[300] = "untouched";
    CHECK(config.SetEncryptedCfgString("S", "k", "dopw", false));
    const std::string kept = settings.Read("S", "k");
    CHECK(kept.size() == 2 + 128);
    CHECK(kept.find("dopw") == std::string::npos);
    CHECK_FALSE(config.GetEncryptedCfgString("S", "k", buffer, 4));
    CHECK_FALSE(config.GetEncryptedCfgString("S", "missing", buffer, sizeof buffer));
    REQUIRE(config.SetCfgString("S", "plain", "dopw", false));
    CHECK_FALSE(config.GetEncryptedCfgString("S", "plain", buffer, sizeof buffer));
    CHECK(std::string(buffer) == "untouched");
    CHECK(config.GetEncryptedCfgString("S", "k", buffer, 5));
    CHECK(std::string(buffer) == "dopw");

    const std::string longest(kKivClearTextLimit, 'x');
    CHECK(config.SetEncryptedCfgString("S", "k", longest.c_str(), false));
    CHECK(config.GetEncryptedCfgString("S", "k", buffer, sizeof buffer));
    CHECK(buffer == longest);
    CHECK_FALSE(config.SetEncryptedCfgString("S", "new", (longest + "x").c_str(), false));
    CHECK(settings.Read("S", "new") == "(none)");
}

TEST_CASE("the class-wide section lives as long as any instance") {
    const Settings settings;
    auto* const first = new CKivConfigMgr;
    CKivConfigMgr second;
    delete first;
    REQUIRE(second.SetCfgString("S", "k", "1", false));
    CHECK(::TryEnterCriticalSection(&CKivConfigMgrState::Section()));
    ::LeaveCriticalSection(&CKivConfigMgrState::Section());
}

TEST_CASE("reading and writing leave nothing behind") {
    const Settings settings;
    const auto work = [] {
        CKivConfigMgr config;
        char buffer[300];
        char** names = nullptr;
        char** values = nullptr;
        config.SetEncryptedCfgString("S", "k", "dopw", false);
        config.GetEncryptedCfgString("S", "k", buffer, sizeof buffer);
        config.SetCfgDword("S", "n", 1, false);
        config.GetCfgStrings("S", names, values);
        config.ReleaseCfgStrings(names, values);
    };
    work();
    const kiv::test::ResourceCount before = kiv::test::CountResources();
    for (int i = 0; i < 10; ++i)
        work();
    CHECK(kiv::test::CountResources() == before);
}
