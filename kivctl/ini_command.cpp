#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "kivctl/command.h"
#include "tavkivut/file.h"
#include "tavkivut/ini.h"
#include "tavkivut/registry.h"

namespace kivctl {
namespace {

struct Options {
    std::string file;
    std::string section;
    std::string key;
    std::string value;
    std::string keyPath;
    bool json = false;
};

using SharedOptions = std::shared_ptr<Options>;

CIniKey Entry(const Options& options) {
    return CIniKey(FullPath(options.file).c_str(), options.section.c_str(), options.key.c_str());
}

void RequireEntry(const CIniKey& entry, const Options& options) {
    if (entry.Exist() == 0)
        throw Failure("no entry [" + options.section + "] " + options.key + " in '" + options.file + "'");
}

// The value, however long.
std::string WholeValue(const CIniKey& entry) {
    constexpr std::size_t kLongest = 1U << 20;
    std::vector<char> buffer(1024);
    while (entry.GetValue(buffer.data(), static_cast<unsigned>(buffer.size())) == 0 && buffer.size() < kLongest)
        buffer.resize(buffer.size() * 2);
    return buffer.data();
}

void Get(const Options& options) {
    const CIniKey entry = Entry(options);
    RequireEntry(entry, options);
    const std::string value = WholeValue(entry);
    if (options.json)
        std::cout << nlohmann::json{{"value", Utf8(value)}}.dump() << "\n";
    else
        std::cout << value << "\n";
}

void Set(const Options& options) {
    if (Entry(options).SetValue(options.value.c_str()) == 0)
        throw Failure("'" + options.file + "' was not written: " + ErrorText(::GetLastError()));
}

void Exist(const Options& options) {
    const bool exists = Entry(options).Exist() != 0;
    if (options.json)
        std::cout << nlohmann::json{{"exists", exists}}.dump() << "\n";
    else
        std::cout << (exists ? "yes" : "no") << "\n";
    SetExitCode(exists ? kExitDone : kExitFailed);
}

void Remove(const Options& options) {
    CIniKey entry = Entry(options);
    RequireEntry(entry, options);
    if (entry.Remove() == 0)
        throw Failure("'" + options.file + "' was not written: " + ErrorText(::GetLastError()));
}

void Import(const Options& options) {
    const std::string file = FullPath(options.file);
    unsigned long size = 0;
    if (CKivFile::GetSize(file.c_str(), size) < 0)
        throw Failure("'" + options.file + "' cannot be read: " + ErrorText(::GetLastError()));
    if (size == 0)
        throw Failure("'" + options.file + "' is empty");
    WriteInifileToHkey(options.keyPath.c_str(), file.c_str());
    CKivRegKey key(nullptr, options.keyPath.c_str());
    if (static_cast<HKEY>(key) == nullptr)
        throw Failure("'" + options.keyPath + "' was not written: " + ErrorText(key.getLastError()));
}

Command AddEntryCommand(Command ini, const char* name, const char* help, const SharedOptions& options,
                        void (*run)(const Options&)) {
    Command command = ini.AddCommand(name, help, options, run);
    command.AddOption("FILE", options->file, "the INI file").Required();
    command.AddOption("SECTION", options->section).Required();
    command.AddOption("KEY", options->key).Required();
    return command;
}

}  // namespace

void AddIniCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command ini = program.AddGroup("ini", "Reads and writes entries of INI files, imports a file.");
    AddEntryCommand(ini, "get", "Shows the value of an entry.", options, Get)
        .AddFlag("--json", options->json, "answer as JSON");
    AddEntryCommand(ini, "set", "Writes an entry, making file and section when they are missing.", options, Set)
        .AddOption("VALUE", options->value)
        .Required();
    AddEntryCommand(ini, "exist", "Tells whether an entry exists; exit code 1 when not.", options, Exist)
        .AddFlag("--json", options->json, "answer as JSON");
    AddEntryCommand(ini, "remove", "Deletes an entry, and its section when nothing is left in it.", options, Remove);

    // Not "import": that word makes the formatter take its lines for directives.
    Command copying =
        ini.AddCommand("import", "Copies a whole file into the registry, a subkey per section.", options, Import);
    copying.AddOption("KEY", options->keyPath, "the key above the sections, as HKLM\\Software\\TAV").Required();
    copying.AddOption("FILE", options->file, "the INI file").Required();
}

}  // namespace kivctl
