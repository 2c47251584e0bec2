// A program that uses the configuration manager, for tests of what happens once in a process and between processes; see
// child_program.h. Arguments of operations are separated by "|"; "~n" in them stands for a line feed.

#include <cstdlib>
#include <string>
#include <vector>

#include "support/scoped_resource.h"
#include "tavkivut/config.h"
#include "tavkivut/inst_server.h"
#include "windows/child_program.h"

namespace {

using kiv::ScopedKernelObject;

constexpr int kRacers = 4;
constexpr int kThreads = 8;
constexpr int kRounds = 100;

std::vector<std::string> Parts(const std::string& argument) {
    std::vector<std::string> parts(1);
    for (std::size_t i = 0; i < argument.size(); ++i) {
        if (argument[i] == '|')
            parts.emplace_back();
        else if (argument.compare(i, 2, "~n") == 0)
            parts.back() += argument[++i] == 'n' ? '\n' : '~';
        else
            parts.back() += argument[i];
    }
    return parts;
}

std::string Get(const std::string& argument) {
    const std::vector<std::string> parts = Parts(argument);
    char buffer[1024];
    return CKivConfigMgr().GetCfgString(parts[0].c_str(), parts[1].c_str(), buffer, sizeof buffer) ? buffer : "(none)";
}

std::string SetText(const std::string& argument, bool updateFile) {
    const std::vector<std::string> parts = Parts(argument);
    return CKivConfigMgr().SetCfgString(parts[0].c_str(), parts[1].c_str(), parts[2].c_str(), updateFile) ? "true"
                                                                                                          : "false";
}

// How many threads out of all read the setting right, in their first call and in many later ones, with instances that
// come and go.
DWORD WINAPI ReadAgainAndAgain(LPVOID) {
    for (int i = 0; i < kRounds; ++i) {
        unsigned long value = 0;
        if (!CKivConfigMgr().GetCfgDword("S", "a", value) || value != 10)
            return 0;
    }
    return 1;
}

std::string Threads(const std::string&) {
    HANDLE threads[kThreads];
    for (HANDLE& thread : threads)
        thread = ::CreateThread(nullptr, 0, ReadAgainAndAgain, nullptr, 0, nullptr);
    int right = 0;
    for (const HANDLE thread : threads) {
        DWORD code = 0;
        ::WaitForSingleObject(thread, INFINITE);
        ::GetExitCodeThread(thread, &code);
        right += static_cast<int>(code);
        ::CloseHandle(thread);
    }
    return std::to_string(right) + " of " + std::to_string(kThreads);
}

std::string RaceName(const char* object) {
    return "tavkivut-config-race-" + std::string(std::getenv("KIV_LOCAL_MACHINE")).substr(9) + object;
}

// One of the racers: tells that it is there, waits for the start, refreshes, and then misses nothing.
std::string Racer(const std::string& sections) {
    const ScopedKernelObject ready(::OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, RaceName("ready").c_str()));
    const ScopedKernelObject start(::OpenEventA(SYNCHRONIZE, FALSE, RaceName("start").c_str()));
    CKivInstServer::SetSessionServerPath("Z:\\none");
    CKivConfigMgr config;
    ::ReleaseSemaphore(ready.Get(), 1, nullptr);
    ::WaitForSingleObject(start.Get(), INFINITE);
    for (int i = 0; i < std::stoi(sections); ++i) {
        unsigned long value = 0;
        if (!config.GetCfgDword(("Section " + std::to_string(i)).c_str(), "last", value))
            std::exit(4);
    }
    return {};
}

ScopedKernelObject StartRacer(const std::string& sections) {
    char path[MAX_PATH];
    ::GetModuleFileNameA(nullptr, path, sizeof path);
    std::string commandLine = "\"" + std::string(path) + "\" racer=" + sections;
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;  // none: what it prints belongs to nobody
    PROCESS_INFORMATION process{};
    ::CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
    ::CloseHandle(process.hThread);
    return ScopedKernelObject(process.hProcess);
}

// Lets several processes refresh at once; how many of them missed nothing.
std::string Race(const std::string& sections) {
    const ScopedKernelObject ready(::CreateSemaphoreA(nullptr, 0, kRacers, RaceName("ready").c_str()));
    const ScopedKernelObject start(::CreateEventA(nullptr, TRUE, FALSE, RaceName("start").c_str()));
    std::vector<ScopedKernelObject> racers;
    for (int i = 0; i < kRacers; ++i)
        racers.push_back(StartRacer(sections));
    for (int i = 0; i < kRacers; ++i)
        ::WaitForSingleObject(ready.Get(), 30000);
    ::SetEvent(start.Get());
    int complete = 0;
    for (const ScopedKernelObject& racer : racers) {
        DWORD code = 1;
        ::WaitForSingleObject(racer.Get(), 60000);
        ::GetExitCodeProcess(racer.Get(), &code);
        complete += code == 0 ? 1 : 0;
    }
    return std::to_string(complete) + " of " + std::to_string(kRacers);
}

constexpr ChildOperation kOperations[] = {
    {"server",
     [](const std::string& argument) {
         CKivInstServer::SetSessionServerPath(argument.c_str());
         return std::string();
     }},
    {"init", [](const std::string&) { return std::string(CKivConfigMgr().Initialize() ? "true" : "false"); }},
    {"get", Get},
    {"set", [](const std::string& argument) { return SetText(argument, false); }},
    {"update", [](const std::string& argument) { return SetText(argument, true); }},
    {"threads", Threads},
    {"racer", Racer},
    {"race", Race},
};

}  // namespace

int main(int argc, char** argv) {
    return RunChildProgram(argc, argv, kOperations);
}
