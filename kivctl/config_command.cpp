#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "kivctl/command.h"
#include "kivctl/late_probes.h"
#include "tavkivut/config.h"
#include "tavkivut/crypt.h"
#include "tavkivut/registry.h"

namespace kivctl {
namespace {

constexpr char kRootKey[] = "HKLM\\Software\\TAV\\TAVSetup";

struct Options {
    std::string section;
    std::string key;
    std::string value;
    bool encrypted = false;
    bool files = false;
    bool json = false;
};

// The settings of one section; released with the object.
class Section {
public:
    Section(CKivConfigMgr& config, const std::string& name) : m_config(config) {
        m_count = m_config.GetCfgStrings(name.c_str(), m_names, m_values);
    }
    ~Section() { m_config.ReleaseCfgStrings(m_names, m_values); }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;

    long Count() const { return m_count; }
    std::string Name(long i) const { return m_names[i]; }
    std::string Value(long i) const { return m_values[i] != nullptr ? m_values[i] : ""; }

private:
    CKivConfigMgr& m_config;
    char** m_names = nullptr;
    char** m_values = nullptr;
    long m_count = 0;
};

std::vector<std::string> SectionNames() {
    std::vector<std::string> names;
    CKivRegKey root(nullptr, kRootKey, nullptr, KEY_READ);
    const CKivRegKey::iterator end = root.end();
    for (CKivRegKey::iteratorKeys at = root.beginKeys(); at != end; ++at)
        names.emplace_back(at.getName());
    return names;
}

void Show(const Options& options) {
    const LateProbes probes;
    CKivConfigMgr config;
    config.Initialize();
    nlohmann::json answer = nlohmann::json::object();
    const std::vector<std::string> names =
        options.section.empty() ? SectionNames() : std::vector<std::string>{options.section};
    for (const std::string& name : names) {
        const Section section(config, name);
        nlohmann::json& shown = answer[Utf8(name)] = nlohmann::json::object();
        if (!options.json)
            std::cout << "[" << name << "]\n";
        for (long i = 0; i < section.Count(); ++i) {
            shown[Utf8(section.Name(i))] = Utf8(section.Value(i));
            if (!options.json)
                std::cout << section.Name(i) << "=" << section.Value(i) << "\n";
        }
    }
    if (options.json)
        std::cout << answer.dump(2) << "\n";
}

// The setting as text, however long; Failure when there is none.
std::string ReadSetting(CKivConfigMgr& config, const Options& options) {
    constexpr std::size_t kLongest = 1U << 24;
    const char* const section = options.section.c_str();
    const char* const key = options.key.c_str();
    unsigned long number = 0;
    for (std::size_t size = 1024; size < kLongest && config.GetCfgDword(section, key, number); size *= 2) {
        std::vector<char> buffer(size);
        if (config.GetCfgString(section, key, buffer.data(), static_cast<unsigned long>(size)))
            return buffer.data();
    }
    throw Failure("no setting [" + options.section + "] " + options.key);
}

std::string ReadEncrypted(CKivConfigMgr& config, const Options& options) {
    char clear[kKivClearTextLimit + 1];
    ReadSetting(config, options);
    if (!config.GetEncryptedCfgString(options.section.c_str(), options.key.c_str(), clear, sizeof clear))
        throw Failure("[" + options.section + "] " + options.key +
                      " is not encrypted, is damaged, or was encrypted under another key");
    return clear;
}

void Get(const Options& options) {
    const LateProbes probes;
    CKivConfigMgr config;
    const std::string value = options.encrypted ? ReadEncrypted(config, options) : ReadSetting(config, options);
    if (options.json)
        std::cout << nlohmann::json{{"value", Utf8(value)}}.dump() << "\n";
    else
        std::cout << value << "\n";
}

// What is to be kept secret can be given on the input instead of on the command line, which others can see.
std::string ValueToSet(const Options& options) {
    std::string line = options.value;
    if (line == "-" && std::getline(std::cin, line) && !line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

void Set(const Options& options) {
    const LateProbes probes;
    CKivConfigMgr config;
    const std::string value = ValueToSet(options);
    const char* const section = options.section.c_str();
    const char* const key = options.key.c_str();
    if (options.encrypted) {
        if (!config.SetEncryptedCfgString(section, key, value.c_str(), options.files))
            throw Failure("the value cannot be encrypted: " + ErrorText(::GetLastError()));
    } else if (!config.SetCfgString(section, key, value.c_str(), options.files)) {
        throw UsageError("a section needs a name");
    }
    // The library's answer does not tell whether the registry took it. Who may not write sees the old value.
    CKivRegKey stored;
    if (!stored.open(kRootKey, section, KEY_READ | KEY_SET_VALUE) || !stored[key].exist())
        throw Failure("the registry was not written: " + ErrorText(stored.getLastError()));
}

unsigned long long StoredTime() {
    CKivRegValue low(nullptr, kRootKey, "ConfigFileTimeLow", KEY_READ);
    CKivRegValue high(nullptr, kRootKey, "ConfigFileTimeHigh", KEY_READ);
    return static_cast<unsigned long long>(static_cast<unsigned long>(high)) << 32 | static_cast<unsigned long>(low);
}

void Refresh(const Options& options) {
    const LateProbes probes;
    const unsigned long long before = StoredTime();
    CKivConfigMgr().Initialize();
    const bool refreshed = StoredTime() != before;
    if (options.json)
        std::cout << nlohmann::json{{"refreshed", refreshed}}.dump() << "\n";
    else
        std::cout << (refreshed ? "refreshed" : "up to date, or no newer file") << "\n";
}

Command AddSettingCommand(Command config, const char* name, const char* help, const std::shared_ptr<Options>& options,
                          void (*run)(const Options&)) {
    Command command = config.AddCommand(name, help, options, run);
    command.AddOption("SECTION", options->section).Required();
    command.AddOption("KEY", options->key).Required();
    command.AddFlag("--encrypted", options->encrypted, "the setting is kept encrypted");
    return command;
}

}  // namespace

void AddConfigCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command config = program.AddGroup("config", "Reads and writes the installer's settings.");

    Command show = config.AddCommand("show", "Shows all settings, or those of one section.", options, Show);
    show.AddOption("SECTION", options->section);
    show.AddFlag("--json", options->json, "answer as JSON");

    AddSettingCommand(config, "get", "Shows one setting.", options, Get)
        .AddFlag("--json", options->json, "answer as JSON");
    Command set = AddSettingCommand(config, "set", "Writes one setting to the registry.", options, Set);
    set.AddOption("VALUE", options->value, "the new value; - reads it from the input").Required();
    set.AddFlag("--files", options->files, "also into the local file and the files of all installation servers");

    Command refresh =
        config.AddCommand("refresh", "Brings the registry in step with the configuration file.", options, Refresh);
    refresh.AddFlag("--json", options->json, "answer as JSON");
}

}  // namespace kivctl
