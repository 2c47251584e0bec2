#include <algorithm>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "kivctl/command.h"
#include "support/ascii.h"
#include "tavkivut/file.h"

namespace kivctl {
namespace {

struct Options {
    std::string file;
    std::string atLeast;
    std::vector<std::string> names;
    bool json = false;
};

using SharedOptions = std::shared_ptr<Options>;
using Json = nlohmann::ordered_json;

// What a failed query says; without an error of the system it found no version resource that can be read.
std::string StatusText(long status) {
    constexpr unsigned long kWin32 = 0x80070000UL;
    const auto bits = static_cast<unsigned long>(status);
    return (bits & 0xFFFF0000UL) == kWin32 ? ErrorText(bits & 0xFFFFUL) : "no version resource that can be read";
}

void Require(long status, const Options& options, const char* what) {
    if (status < 0)
        throw Failure("'" + options.file + "' " + what + ": " + StatusText(status));
}

// One to four parts, "5.50" is 5.50.0.0.
CKivFileVersion ParseVersion(const std::string& text) {
    constexpr unsigned long kMost = 0xFFFF;
    unsigned short parts[4] = {};
    std::size_t used = 0;
    std::istringstream stream(text + '.');
    for (std::string part; std::getline(stream, part, '.'); ++used) {
        const bool isNumber = !part.empty() && part.size() <= 5 && std::all_of(part.begin(), part.end(), kiv::IsDigit);
        if (used == std::size(parts) || !isNumber || std::stoul(part) > kMost)
            throw UsageError("'" + text + "' is no version");
        parts[used] = static_cast<unsigned short>(std::stoul(part));
    }
    return CKivFileVersion(parts[0], parts[1], parts[2], parts[3]);
}

void Version(const Options& options) {
    CKivFileVersion required(0, 0, 0, 0);
    if (!options.atLeast.empty())
        required = ParseVersion(options.atLeast);
    CKivFileVersion version;
    Require(CKivFile::GetVersion(options.file.c_str(), version), options, "has no version");
    const bool enough = version.Verify(required);
    if (options.json) {
        Json answer{{"version", version.GetVersionString()}};
        if (!options.atLeast.empty())
            answer["atLeast"] = enough;
        std::cout << answer.dump() << "\n";
    } else {
        std::cout << version.GetVersionString() << "\n";
    }
    SetExitCode(enough ? kExitDone : kExitFailed);
}

// The strings that version resources hold as a rule.
const std::vector<std::string> kUsualNames = {
    "CompanyName",      "FileDescription", "FileVersion",    "InternalName", "LegalCopyright", "LegalTrademarks",
    "OriginalFilename", "ProductName",     "ProductVersion", "Comments",     "PrivateBuild",   "SpecialBuild",
};

void Strings(const Options& options) {
    if (CKivFile::DoesExist(options.file.c_str()) == 0)
        throw Failure("'" + options.file + "' does not exist");
    const bool asked = !options.names.empty();
    Json answer = Json::object();
    for (const std::string& name : asked ? options.names : kUsualNames) {
        std::vector<char> text(0x10000);
        Require(CKivFile::GetVersionInfo(options.file.c_str(), name.c_str(), text.data(), text.size()), options,
                "has no strings");
        if (text[0] == '\0') {
            if (asked)
                SetExitCode(kExitFailed);
            continue;
        }
        answer[Utf8(name)] = Utf8(text.data());
        if (!options.json)
            std::cout << name << ": " << text.data() << "\n";
    }
    if (options.json)
        std::cout << answer.dump() << "\n";
}

void Size(const Options& options) {
    unsigned long size = 0;
    Require(CKivFile::GetSize(options.file.c_str(), size), options, "cannot be read");
    if (options.json)
        std::cout << Json{{"size", size}}.dump() << "\n";
    else
        std::cout << size << "\n";
}

std::string TimeText(const SYSTEMTIME& time) {
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.wYear, time.wMonth, time.wDay, time.wHour,
                  time.wMinute, time.wSecond);
    return text;
}

void Times(const Options& options) {
    Json answer = Json::object();
    unsigned long which = 0;
    for (const char* name : {"created", "accessed", "written"}) {
        SYSTEMTIME time;
        Require(CKivFile::GetTimeStamp(options.file.c_str(), time, which++), options, "cannot be read");
        answer[name] = TimeText(time);
        if (!options.json)
            std::printf("%-9s %s\n", name, TimeText(time).c_str());
    }
    if (options.json)
        std::cout << answer.dump() << "\n";
}

void Type(const Options& options) {
    constexpr const char* kNames[] = {"program",     "library",         "type library", "TrueType font",
                                      "bitmap font", "registry script", "other"};
    const unsigned long type = CKivFile::GetType(options.file.c_str());
    if (options.json)
        std::cout << Json{{"type", type}, {"name", kNames[type]}}.dump() << "\n";
    else
        std::cout << type << " " << kNames[type] << "\n";
}

Command AddQuery(Command file, const char* name, const char* help, const SharedOptions& options,
                 void (*run)(const Options&)) {
    Command command = file.AddCommand(name, help, options, run);
    command.AddOption("FILE", options->file).Required();
    command.AddFlag("--json", options->json, "answer as JSON");
    return command;
}

}  // namespace

void AddFileCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command file = program.AddGroup("file", "Tells version, strings, size, times and kind of a file.");
    AddQuery(file, "version", "Shows the file version of a module.", options, Version)
        .AddOption("--at-least", options->atLeast, "exit code 1 when the version is older than this");
    AddQuery(file, "strings", "Shows strings of the version resource, in the system's language where there are any.",
             options, Strings)
        .AddOption("NAME", options->names, "which; exit code 1 when one is missing (default: the usual ones)");
    AddQuery(file, "size", "Shows the size in bytes, its low 32 bits.", options, Size);
    AddQuery(file, "times", "Shows when the file was created, last read and last written, in local time.", options,
             Times);
    AddQuery(file, "type", "Tells the kind of a file by its extension.", options, Type);
}

}  // namespace kivctl
