// A program that uses the installation server, for the transcripts tests/data/transcripts/server_*.txt: each of their
// commands is a process of its own. See child_program.h; parts of an argument are separated by "|".

#include <string>
#include <utility>

#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "tavkivut/config.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/registry.h"
#include "tavkivut/tools.h"
#include "windows/child_program.h"

namespace {

using Text = std::string;

constexpr bool kQuiet = true;

std::size_t g_threads;  // before any probe
char g_buffer[kKivServerPathSize];

// What stands before and behind the first "|".
std::pair<Text, Text> Parts(const Text& argument) {
    const std::size_t end = argument.find('|');
    return {argument.substr(0, end), end == Text::npos ? "" : argument.substr(end + 1)};
}

Text List(const Text&) {
    struct Server : CKivInstServer {
        using CKivInstServer::FreePathList;
        using CKivInstServer::MallocPathList;
    };
    int isFallback = -1;
    char* const list = Server::MallocPathList(&isFallback);
    const Text text = (isFallback != 0 ? "fallback " : "configured ") + Text(list);
    Server::FreePathList(list);
    return text;
}

Text Choose(const Text&) {
    const int chosen = CKivInstServer::GetMostResponsiveServer(g_buffer, sizeof g_buffer, nullptr, -1);
    return std::to_string(chosen) + " " + g_buffer;
}

// Makes a choice twice and tells whether the second one left something behind.
Text ChooseTwice(const Text& argument) {
    const bool leavesNothing = kiv::test::LeavesNothing([&] {
        Choose(argument);
        KivRecordingClear();
        kiv::test::WaitForThreads(g_threads);
    });
    return g_buffer + Text(leavesNothing ? "" : " left something behind");
}

// Unloads a copy of the library while a probe of it waits for 127.0.1.5, which is silent.
Text Unload(const Text& directory) {
    const Text path = directory + "\\late.dll";
    ::CopyFileA((directory + "\\tavkivut.dll").c_str(), path.c_str(), FALSE);
    const HMODULE library = ::LoadLibraryA(path.c_str());
    using Choice = int(char*, unsigned, const char**, int);
    const auto choose = reinterpret_cast<Choice*>(
        reinterpret_cast<void*>(::GetProcAddress(library, "_ZN14CKivInstServer23GetMostResponsiveServerEPcjPPKci")));
    const char* list[] = {"\\\\127.0.1.5\\apps", "\\\\127.0.1.2\\apps"};
    choose(g_buffer, sizeof g_buffer, list, 2);
    ::FreeLibrary(library);
    const bool held = ::GetModuleHandleA("late.dll") != nullptr;
    kiv::test::WaitForThreads(g_threads);
    const bool gone = ::GetModuleHandleA("late.dll") == nullptr;
    return g_buffer + Text(held ? " held" : " not held") + (gone ? ", then gone" : " for ever");
}

Text AskAll(const Text&) {
    char path[kKivServerPathSize];
    CKivInstServer::GetPath(path, 0);
    const char* const share = CKivInstServer::GetServerShare();
    return path + Text(" ") + CKivInstServer::GetServerHost() + " " + (share == nullptr ? "(null)" : share);
}

Text Policy(const Text& name) {
    char value[8] = "unset";
    const unsigned length = CKivInstServer::GetServerPolicy(name.c_str(), value, sizeof value);
    return std::to_string(length) + " " + value;
}

Text SetPolicy(const Text& argument) {
    const auto [name, value] = Parts(argument);
    return std::to_string(CKivInstServer::SetServerPolicy(name.c_str(), value.c_str()));
}

constexpr const char* kSettings = "HKLM\\Software\\TAV\\TAVSetup";

Text WriteText(const Text& argument) {
    const auto [subkey, rest] = Parts(argument);
    const auto [name, text] = Parts(rest);
    CKivRegKey key;
    key.create(kSettings, subkey.c_str());
    key[name.c_str()] = text.c_str();
    return "";
}

Text ReadText(const Text& argument) {
    const auto [subkey, name] = Parts(argument);
    CKivRegValue value(nullptr, (Text(kSettings) + "\\" + subkey).c_str(), name.c_str(), KEY_READ);
    const char* const text = value;
    return text == nullptr ? "(none)" : text;
}

Text WriteFile(const Text& argument) {
    const auto [path, bytes] = Parts(argument);
    CKivTools::CreateDirectoryRecursive(path.substr(0, path.rfind('\\')).c_str());
    const kiv::ScopedFile file(::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    DWORD written = 0;
    ::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    return "";
}

Text SetEverywhere(const Text& argument) {
    const auto [section, rest] = Parts(argument);
    const auto [key, value] = Parts(rest);
    return CKivConfigMgr().SetCfgString(section.c_str(), key.c_str(), value.c_str(), true) ? "true" : "false";
}

// How many of so many sections, after the first call of this process has refreshed them, lack their last setting.
Text Missing(const Text& sections) {
    CKivConfigMgr config;
    unsigned long value = 0;
    int missing = 0;
    for (int i = 1; i <= std::stoi(sections); ++i)
        missing += !config.GetCfgDword(("Section " + std::to_string(i)).c_str(), "last", value);
    return std::to_string(missing);
}

// "folder", "file", "hidden folder", "hidden file" or "none".
Text Kind(const Text& path) {
    const DWORD attributes = ::GetFileAttributesA(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return "none";
    return Text((attributes & FILE_ATTRIBUTE_HIDDEN) != 0 ? "hidden " : "") +
           ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? "folder" : "file");
}

unsigned Index(const Text& text) {
    return static_cast<unsigned>(std::stoul(text));
}

Text Answer(int answer) {
    return std::to_string(answer);
}

constexpr ChildOperation kOperations[] = {
    {"list", List},
    {"count", [](const Text&) { return std::to_string(CKivInstServer::GetCount()); }, kQuiet},
    {"entry", [](const Text& index) { return CKivInstServer::GetPath(Index(index), g_buffer), Text(g_buffer); },
     kQuiet},
    {"path", [](const Text&) { return KivGetServerPath(g_buffer), Text(g_buffer); }},
    {"random", [](const Text&) { return CKivInstServer::GetRandomPath(g_buffer), Text(g_buffer); }, kQuiet},
    {"choose", Choose, kQuiet},
    {"choosetwice", ChooseTwice, kQuiet},
    {"unload", Unload, kQuiet},
    {"alive", [](const Text& host) { return Answer(KivIsHostAlive(host.c_str(), 0)); }},
    {"session", [](const Text& path) { return CKivInstServer::SetSessionServerPath(path.c_str()), Text(); }, kQuiet},
    {"persist", [](const Text& on) { return CKivInstServer::SetSessionRegPersistence(on == "1"), Text(); }, kQuiet},
    {"setup", [](const Text& base) { return CKivInstServer::GetSetupPath(g_buffer, base.c_str()), Text(g_buffer); },
     kQuiet},
    {"ownsetup", [](const Text&) { return CKivInstServer::GetSetupPath(g_buffer, nullptr), Text(g_buffer); }, kQuiet},
    {"available", [](const Text& path) { return Answer(CKivInstServer::IsAvailable(path.c_str())); }},
    {"fallback", [](const Text& path) { return Answer(CKivInstServer::IsFallbackServer(path.c_str())); }},
    {"add", [](const Text& path) { return CKivInstServer::AddPath(path.c_str()), Text(); }, kQuiet},
    {"remove", [](const Text& index) { return CKivInstServer::RemovePath(Index(index)), Text(); }, kQuiet},
    {"all", AskAll, kQuiet},
    {"policy", Policy},
    {"setpolicy", SetPolicy},
    {"wksta", [](const Text& base) { return Text(KivGetTavWkstaPath(nullptr, base.c_str())); }},
    {"text", WriteText},
    {"read", ReadText},
    {"file", WriteFile},
    {"init", [](const Text&) { return Text(CKivConfigMgr().Initialize() ? "true" : "false"); }},
    {"set", SetEverywhere},
    {"missing", Missing, kQuiet},
    {"kind", Kind},
    {"forget", [](const Text&) { return Answer(CKivRegKey(nullptr, "HKLM\\Software", "TAV").remove()); }},
};

}  // namespace

int main(int argc, char** argv) {
    g_threads = kiv::test::CountResources().threads;
    const int result = RunChildProgram(argc, argv, kOperations);
    // A process that ends with echoes outstanding can keep later ones from being answered under Wine.
    return kiv::test::WaitForThreads(g_threads) ? result : 4;
}
