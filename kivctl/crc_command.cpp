#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "kivctl/command.h"
#include "tavkivut/crc32.h"

namespace kivctl {
namespace {

struct Options {
    std::vector<std::string> files;
    std::string text;
    bool json = false;
};

using SharedOptions = std::shared_ptr<Options>;
using Json = nlohmann::ordered_json;

// The signature of a file without the line in the log.
struct Signatures : CKivCrc32 {
    using CKivCrc32::LoadFileCrcFromRepository;
};

std::string Hex(unsigned long crc) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lx", crc);
    return text;
}

// What is told about one file: a sentence and the same in parts.
struct Answer {
    bool good;
    std::string sentence;
    Json parts;
};

Answer Unreadable(const std::string& file, unsigned long error) {
    return {false, file + ": cannot be read: " + ErrorText(error), {{"verdict", "unreadable"}, {"error", error}}};
}

Answer Checksum(const std::string& file, unsigned long crc) {
    return {true, Hex(crc) + "  " + file, {{"crc32", Hex(crc)}}};
}

Answer Sign(const std::string& file, unsigned long crc) {
    if (CKivCrc32::UpdateAuthentication(FullPath(file).c_str()) != NO_ERROR)
        return {false, file + ": the signature cannot be written", {{"verdict", "unsigned"}}};
    return {true, file + ": signed (CRC32 " + Hex(crc) + ")", {{"verdict", "signed"}, {"crc32", Hex(crc)}}};
}

Answer Verify(const std::string& file, unsigned long crc) {
    unsigned long recorded = 0;
    if (Signatures::LoadFileCrcFromRepository(FullPath(file).c_str(), recorded) != NO_ERROR)
        return {false, file + ": has no signature", {{"verdict", "unsigned"}, {"crc32", Hex(crc)}}};
    if (recorded != crc)
        return {false,
                file + ": modified (CRC32 " + Hex(recorded) + " -> " + Hex(crc) + ")",
                {{"verdict", "modified"}, {"recorded", Hex(recorded)}, {"crc32", Hex(crc)}}};
    return {true, file + ": original (CRC32 " + Hex(crc) + ")", {{"verdict", "original"}, {"crc32", Hex(crc)}}};
}

// Every file gets its answer; one that is not good makes the exit code 1.
void ForEachFile(const Options& options, Answer (*ask)(const std::string&, unsigned long)) {
    Json all = Json::array();
    for (const std::string& file : options.files) {
        unsigned long crc = 0;
        const unsigned long error = CKivCrc32::FromFile(FullPath(file).c_str(), crc);
        const Answer answer = error == NO_ERROR ? ask(file, crc) : Unreadable(file, error);
        if (!answer.good)
            SetExitCode(kExitFailed);
        Json entry{{"file", Utf8(file)}};
        entry.update(answer.parts);
        all.push_back(entry);
        if (!options.json)
            std::cout << answer.sentence << "\n";
    }
    if (options.json)
        std::cout << all.dump() << "\n";
}

void Text(const Options& options) {
    unsigned long crc = 0;
    CKivCrc32::FromString(options.text.c_str(), crc);
    if (options.json)
        std::cout << Json{{"crc32", Hex(crc)}}.dump() << "\n";
    else
        std::cout << Hex(crc) << "\n";
}

Command AddAction(Command crc, const char* name, const char* help, const SharedOptions& options) {
    Command command = crc.AddCommand(name, help);
    command.AddFlag("--json", options->json, "answer as JSON");
    return command;
}

void AddFileAction(Command crc, const char* name, const char* help, const SharedOptions& options,
                   Answer (*ask)(const std::string&, unsigned long)) {
    Command command = AddAction(crc, name, help, options);
    command.AddOption("FILE", options->files).Required();
    command.SetAction([options, ask] { ForEachFile(*options, ask); });
}

}  // namespace

void AddCrcCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command crc = program.AddGroup("crc", "Computes CRC-32 checksums; signs files and tells which were changed.");
    AddFileAction(crc, "file", "Shows the checksums of files.", options, Checksum);
    Command text = AddAction(crc, "text", "Shows the checksum of a text.", options);
    text.AddOption("TEXT", options->text).Required();
    text.SetAction([options] { Text(*options); });
    AddFileAction(crc, "sign", "Records checksums in the hidden folder \"signatures\" beside each file.", options,
                  Sign);
    AddFileAction(crc, "verify", "Compares files with their signatures; exit code 1 unless all are original.", options,
                  Verify);
}

}  // namespace kivctl
