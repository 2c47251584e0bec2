// A program that uses the installation server, for the transcripts tests/data/transcripts/server_*.txt: each of their
// commands is a process of its own. See child_program.h; parts of an argument are separated by "|".

#include <string>
#include <vector>

#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/registry.h"
#include "tavkivut/system.h"
#include "tavkivut/tools.h"
#include "windows/child_program.h"

namespace {

constexpr int kThreads = 8;
constexpr const char* kSettings = "HKLM\\Software\\TAV\\TAVSetup";

struct Server : CKivInstServer {
    using CKivInstServer::FreePathList;
    using CKivInstServer::MallocPathList;
};

std::size_t g_threads;  // before any probe
char g_buffer[kKivServerPathSize];

// Up to three parts.
struct Parts {
    explicit Parts(const std::string& argument) {
        const std::size_t one = argument.find('|');
        const std::size_t two = one == std::string::npos ? one : argument.find('|', one + 1);
        first = argument.substr(0, one);
        second = one == std::string::npos ? "" : argument.substr(one + 1, two - one - 1);
        third = two == std::string::npos ? "" : argument.substr(two + 1);
    }
    std::string first, second, third;
};

// The answer alone, where the log is of no interest.
std::string Quiet(const std::string& answer) {
    KivRecordingClear();
    return answer;
}

std::string List(const std::string&) {
    int isFallback = -1;
    char* const list = Server::MallocPathList(&isFallback);
    const std::string text = (isFallback != 0 ? "fallback " : "configured ") + std::string(list);
    Server::FreePathList(list);
    return text;
}

std::string Entry(const std::string& index) {
    CKivInstServer::GetPath(static_cast<unsigned>(std::stoul(index)), g_buffer);
    return Quiet(g_buffer);
}

std::string Path(const std::string&) {
    KivGetServerPath(g_buffer);
    return g_buffer;
}

std::string Choose(const std::string&) {
    const int chosen = CKivInstServer::GetMostResponsiveServer(g_buffer, sizeof g_buffer, nullptr, -1);
    return Quiet(std::to_string(chosen) + " " + g_buffer);
}

// Makes a choice twice and tells whether the second one left something behind.
std::string ChooseTwice(const std::string& argument) {
    kiv::test::ResourceCount counts[2]{};
    for (kiv::test::ResourceCount& count : counts) {
        Choose(argument);
        kiv::test::WaitForThreads(g_threads);
        count = kiv::test::CountResources();
    }
    return std::string(g_buffer) + (counts[0] == counts[1] ? "" : " left something behind");
}

// Unloads a copy of the library while a probe of it waits for 127.0.1.5, which is silent.
std::string Unload(const std::string& directory) {
    const std::string path = directory + "\\late.dll";
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
    return Quiet(std::string(g_buffer) + (held ? " held" : " not held") + (gone ? ", then gone" : " for ever"));
}

std::string AskAll() {
    char path[kKivServerPathSize];
    CKivInstServer::GetPath(path, 0);
    const char* const share = CKivInstServer::GetServerShare();
    return std::string(path) + " " + CKivInstServer::GetServerHost() + " " + (share == nullptr ? "(null)" : share);
}

DWORD WINAPI AskAllThread(LPVOID answer) {
    *static_cast<std::string*>(answer) = AskAll();
    return 0;
}

// First questions from several threads at once: one answer for all.
std::string Together(const std::string&) {
    std::string answers[kThreads];
    HANDLE threads[kThreads];
    for (int i = 0; i < kThreads; ++i)
        threads[i] = ::CreateThread(nullptr, 0, AskAllThread, &answers[i], 0, nullptr);
    ::WaitForMultipleObjects(kThreads, threads, TRUE, INFINITE);
    for (const HANDLE thread : threads)
        ::CloseHandle(thread);
    for (const std::string& answer : answers) {
        if (answer != AskAll())
            return Quiet("different answers");
    }
    return Quiet(AskAll());
}

std::string Policy(const std::string& name) {
    char value[8] = "unset";
    const unsigned length = CKivInstServer::GetServerPolicy(name.c_str(), value, sizeof value);
    return std::to_string(length) + " " + value;
}

std::string SetPolicy(const std::string& argument) {
    const Parts parts(argument);
    return std::to_string(CKivInstServer::SetServerPolicy(parts.first.c_str(), parts.second.c_str()));
}

std::string WriteText(const std::string& argument) {
    const Parts parts(argument);
    CKivRegKey key;
    key.create(kSettings, parts.first.c_str());
    key[parts.second.c_str()] = parts.third.c_str();
    return "";
}

std::string WriteNumber(const std::string& argument) {
    const Parts parts(argument);
    CKivRegKey key;
    key.create(kSettings, parts.first.c_str());
    key[parts.second.c_str()] = std::stoul(parts.third);
    return "";
}

std::string ReadText(const std::string& argument) {
    const Parts parts(argument);
    CKivRegKey key(nullptr, kSettings, parts.first.c_str(), KEY_READ);
    CKivRegValue value = key[parts.second.c_str()];
    const char* const text = value;
    return text == nullptr ? "(none)" : text;
}

std::string WriteFile(const std::string& argument) {
    const Parts parts(argument);
    CKivTools::CreateDirectoryRecursive(parts.first.substr(0, parts.first.rfind('\\')).c_str());
    const kiv::ScopedFile file(
        ::CreateFileA(parts.first.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    DWORD written = 0;
    ::WriteFile(file.Get(), parts.second.data(), static_cast<DWORD>(parts.second.size()), &written, nullptr);
    return "";
}

// "folder", "file", "hidden" or "none".
std::string Kind(const std::string& path) {
    const DWORD attributes = ::GetFileAttributesA(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return "none";
    return std::string((attributes & FILE_ATTRIBUTE_HIDDEN) != 0 ? "hidden " : "") +
           ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? "folder" : "file");
}

constexpr ChildOperation kOperations[] = {
    {"list", List},
    {"count", [](const std::string&) { return Quiet(std::to_string(CKivInstServer::GetCount())); }},
    {"entry", Entry},
    {"path", Path},
    {"random", [](const std::string&) { return CKivInstServer::GetRandomPath(g_buffer), Quiet(g_buffer); }},
    {"choose", Choose},
    {"choosetwice", ChooseTwice},
    {"unload", Unload},
    {"together", Together},
    {"alive", [](const std::string& host) { return std::to_string(KivIsHostAlive(host.c_str(), 0)); }},
    {"session", [](const std::string& path) { return CKivInstServer::SetSessionServerPath(path.c_str()), Quiet(""); }},
    {"persist", [](const std::string& on) { return CKivInstServer::SetSessionRegPersistence(on == "1"), Quiet(""); }},
    {"setup",
     [](const std::string& base) {
         return CKivInstServer::GetSetupPath(g_buffer, base.empty() ? nullptr : base.c_str()), Quiet(g_buffer);
     }},
    {"available", [](const std::string& path) { return std::to_string(CKivInstServer::IsAvailable(path.c_str())); }},
    {"fallback",
     [](const std::string& path) { return std::to_string(CKivInstServer::IsFallbackServer(path.c_str())); }},
    {"add", [](const std::string& path) { return CKivInstServer::AddPath(path.c_str()), Quiet(""); }},
    {"remove",
     [](const std::string& index) {
         return CKivInstServer::RemovePath(static_cast<unsigned>(std::stoul(index))), Quiet("");
     }},
    {"all", [](const std::string&) { return Quiet(AskAll()); }},
    {"policy", Policy},
    {"setpolicy", SetPolicy},
    {"wksta",
     [](const std::string& base) -> std::string {
         return KivGetTavWkstaPath(nullptr, base.empty() ? nullptr : base.c_str());
     }},
    {"text", WriteText},
    {"number", WriteNumber},
    {"read", ReadText},
    {"file", WriteFile},
    {"kind", Kind},
    {"forget",
     [](const std::string&) { return std::to_string(CKivRegKey(nullptr, "HKLM\\Software", "TAV").remove()); }},
};

}  // namespace

int main(int argc, char** argv) {
    g_threads = kiv::test::CountResources().threads;
    const int result = RunChildProgram(argc, argv, kOperations);
    // A process that ends with echoes outstanding can keep later ones from being answered under Wine.
    return kiv::test::WaitForThreads(g_threads) ? result : 4;
}
