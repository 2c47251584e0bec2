#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "kivctl/command.h"
#include "support/scoped_resource.h"
#include "support/text_convert.h"
#include "tavkivut/system.h"

namespace kivctl {
namespace {

using Json = nlohmann::ordered_json;

// A fact as it is shown and as JSON names it. Texts are in the system code page.
struct Fact {
    const char* label;
    const char* name;
    Json value;
};

struct Section {
    const char* label;  // empty: at the top
    const char* name;
    std::vector<Fact> facts;
};

Json Text(const char* text) {
    return text == nullptr ? Json("") : Json(Utf8(text));
}

bool IsYes(long status) {
    return status == 0;
}

Json UserName(bool withDomain) {
    constexpr unsigned long kRoom = 300;  // more than the longest domain and name need
    unsigned short name[kRoom] = {};
    if (CKivSystem::GetUserNameA(name, kRoom, withDomain) < 0)
        return Json("");
    return Json(kiv::Utf8FromWide(reinterpret_cast<const wchar_t*>(name)));
}

Json ProfileFolder() {
    kiv::ScopedKernelObject token;
    ::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Receive());
    char folder[MAX_PATH] = {};
    unsigned long size = sizeof folder;
    return CKivSystem::GetUserProfileDir(token.Get(), folder, &size) < 0 ? Json("") : Text(folder);
}

// The letters that are drives, each with the answer to whether it is one on the network.
std::vector<Fact> Drives() {
    static constexpr char kLetters[26][2] = {"A", "B", "C", "D", "E", "F", "G", "H", "I", "J", "K", "L", "M",
                                             "N", "O", "P", "Q", "R", "S", "T", "U", "V", "W", "X", "Y", "Z"};
    std::vector<Fact> drives;
    for (const char* letter : kLetters) {
        const long network = CKivSystem::IsNetworkDrive((std::string(letter) + ":\\").c_str());
        if (network >= 0)
            drives.push_back({letter, letter, IsYes(network) ? "network" : "local"});
    }
    return drives;
}

std::vector<Section> Facts() {
    return {
        {"",
         "",
         {{"Operating system", "os", Text(CKivSystem::GetOsVersionString())},
          {"NT family", "nt", IsYes(CKivSystem::IsNT())},
          {"Browser", "browser", Text(CKivSystem::GetIeVersionString())},
          {"Computer", "computer", Text(CKivSystem::GetComputerNameA())},
          {"User", "user", UserName(false)},
          {"Logged on", "logon", UserName(true)},
          {"Administrator", "administrator", IsYes(CKivSystem::IsCurrentUserLocalAdmin())},
          {"Terminal server", "terminalServer", IsYes(CKivSystem::IsTerminalServer())},
          {"Session", "session", CKivSystem::GetSessionId(0)}}},
        {"Folders",
         "folders",
         {{"Windows", "windows", Text(CKivSystem::GetWinDir())},
          {"System", "system", Text(CKivSystem::GetSysDir())},
          {"16-bit system", "system16", Text(CKivSystem::GetSys16Dir())},
          {"Programs", "programFiles", Text(CKivSystem::GetProgramFilesDir())},
          {"Common files", "commonFiles", Text(CKivSystem::GetCommonFilesDir())},
          {"Temporary", "temp", Text(CKivSystem::GetTempDir())},
          {"Fonts", "fonts", Text(CKivSystem::GetFontsDir())},
          {"Profile", "profile", ProfileFolder()}}},
        {"Drives", "drives", Drives()},
    };
}

std::string Shown(const Json& value) {
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (!value.is_string())
        return value.dump();
    const std::string text = kiv::AnsiFromWide(kiv::WideFromUtf8(value.get<std::string>()));
    return text.empty() ? "(not known)" : text;
}

void ShowPage(const std::vector<Section>& sections) {
    for (const Section& section : sections) {
        const bool top = *section.label == '\0';
        if (!top)
            std::cout << "\n" << section.label << "\n";
        for (const Fact& fact : section.facts) {
            const std::string label = std::string(top ? "" : "  ") + fact.label;
            std::printf("%-18s%s\n", label.c_str(), Shown(fact.value).c_str());
        }
    }
}

void ShowJson(const std::vector<Section>& sections) {
    Json answer = Json::object();
    for (const Section& section : sections) {
        Json& target = *section.name == '\0' ? answer : answer[section.name] = Json::object();
        for (const Fact& fact : section.facts)
            target[fact.name] = fact.value;
    }
    std::cout << answer.dump(2) << "\n";
}

}  // namespace

void AddSystemCommand(Command program) {
    const auto json = std::make_shared<bool>(false);
    Command command = program.AddCommand("system", "Tells what is known about this machine, its user and folders.");
    command.AddFlag("--json", *json, "answer as JSON");
    command.SetAction([json] { *json ? ShowJson(Facts()) : ShowPage(Facts()); });
}

}  // namespace kivctl
