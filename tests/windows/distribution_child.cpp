// Both ends of the distribution service's pipe, for the transcript tests/data/transcripts/distribution.txt. See
// child_program.h; parts of an argument are separated by ";". The client's waits take no time, and its shares exist
// only in this process.
//
// As "/pipe EVENT STEP..." the program is the other end, with a script instead of jobs. It sets the event when the pipe
// is there; then each step tells what happens to a client:
//
//     text=T    gets the answer T               close     gets no answer
//     bytes=N   gets N bytes                    die       the program ends in the middle
//     echo      gets its request back           hold      gets nothing until it hangs up

#include <string>
#include <vector>

#include "network/net_api.h"
#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "support/scripted_clock.h"
#include "tavkivut/distribution.h"
#include "tavkivut/registry.h"
#include "windows/child_program.h"

namespace {

constexpr char kPipe[] = "\\\\.\\PIPE\\_tavkivds_is_pipe_";
constexpr DWORD kPatience = 10000;

using Parts = std::vector<std::string>;

Parts Split(const std::string& text) {
    Parts parts(1);
    for (const char c : text) {
        if (c == ';')
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

// --- The other end ---------------------------------------------------------------------------------------------------

void AnswerClient(HANDLE pipe, const std::string& step) {
    char request[1024];
    DWORD bytes = 0;
    ::ReadFile(pipe, request, sizeof request, &bytes, nullptr);
    std::string answer(request, bytes);
    if (step == "die")
        ::ExitProcess(0);
    if (step.compare(0, 5, "text=") == 0)
        answer = step.substr(5);
    if (step.compare(0, 6, "bytes=") == 0)
        answer.assign(std::stoul(step.substr(6)), 'x');
    if (step == "close" || step == "hold")
        return;
    ::WriteFile(pipe, answer.data(), static_cast<DWORD>(answer.size()), &bytes, nullptr);
    ::ReadFile(pipe, request, sizeof request, &bytes, nullptr);  // ends when the client hangs up
}

int PlayScript(const char* event, const Parts& steps) {
    // How long a client waits that finds another one there.
    const DWORD wait = steps[0] == "hold" ? 10 : kPatience;
    const kiv::ScopedFile pipe(::CreateNamedPipeA(kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE,
                                                  1, 1024, 1024, wait, nullptr));
    const kiv::ScopedKernelObject ready(::OpenEventA(EVENT_MODIFY_STATE, FALSE, event));
    if (!pipe || !::SetEvent(ready.Get()))
        return 3;
    for (const std::string& step : steps) {
        if (!::ConnectNamedPipe(pipe.Get(), nullptr) && ::GetLastError() != ERROR_PIPE_CONNECTED)
            return 4;
        AnswerClient(pipe.Get(), step);
        ::DisconnectNamedPipe(pipe.Get());
    }
    return 0;
}

// --- The program at the other end ------------------------------------------------------------------------------------

kiv::ScopedKernelObject g_input;  // of that program, which ends with it at the latest
kiv::ScopedKernelObject g_program;
kiv::ScopedFile g_otherClient;

void StartProgram(std::string commandLine) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    kiv::ScopedKernelObject input;
    ::CreatePipe(input.Receive(), g_input.Receive(), &inherited, 0);
    ::SetHandleInformation(g_input.Get(), HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.Get();
    PROCESS_INFORMATION process{};
    ::CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    g_program.Reset(process.hProcess);
    ::CloseHandle(process.hThread);
}

std::string StartScript(const std::string& steps) {
    const std::string name = "KivScriptedPipe" + std::to_string(::GetCurrentProcessId());
    const kiv::ScopedKernelObject ready(::CreateEventA(nullptr, TRUE, FALSE, name.c_str()));
    StartProgram("distribution_child.exe /pipe " + name + " \"" + steps + "\"");
    return ::WaitForSingleObject(ready.Get(), kPatience) == WAIT_OBJECT_0 ? "" : "no pipe";
}

std::string StartService(const std::string& commandLine) {
    StartProgram(commandLine);
    const DWORD start = ::GetTickCount();
    while (!::WaitNamedPipeA(kPipe, kPatience)) {
        if (::GetTickCount() - start > kPatience)
            return "no pipe";
        ::Sleep(5);
    }
    return "";
}

std::string End(const std::string&) {
    g_otherClient.Reset();
    g_input.Reset();
    DWORD exitCode = 0;
    const bool ended = ::WaitForSingleObject(g_program.Get(), kPatience) == WAIT_OBJECT_0;
    ::GetExitCodeProcess(g_program.Get(), &exitCode);
    if (!ended)
        ::TerminateProcess(g_program.Get(), 99);
    g_program.Reset();
    return ended ? std::to_string(exitCode) : "does not end";
}

// --- The client ------------------------------------------------------------------------------------------------------

kiv::test::ScriptedClock* g_clock;
std::string g_share;  // what was made last, and what of it was removed
std::string g_removed;
DWORD g_shareError;

DWORD WINAPI AddShare(LMSTR, DWORD, BYTE* record, DWORD*) {
    const auto* const share = reinterpret_cast<const SHARE_INFO_502*>(record);
    g_share = kiv::AnsiFromWide(share->shi502_netname) + " for " + kiv::AnsiFromWide(share->shi502_path);
    return g_shareError;
}

DWORD WINAPI RemoveShare(LMSTR, LMSTR name, DWORD) {
    g_removed = kiv::AnsiFromWide(name);
    return 0;
}

std::string Result(int result) {
    return std::to_string(result) + " " + std::to_string(::GetLastError());
}

std::string Call(const std::string& argument) {
    const Parts parts = Split(argument);
    char reply[300];
    std::snprintf(reply, sizeof reply, "%s", parts[2].c_str());
    unsigned long size = std::stoul(parts[1]);
    if (!CallDistributionService(parts[0].c_str(), reply, size))
        return Result(0);
    const std::string text = reply;
    return text.substr(0, 20) + (text.size() > 20 ? "... " + std::to_string(text.size()) : "") + " [" +
           std::to_string(size) + "]";
}

std::string Start(const std::string& argument) {
    Parts parts = Split(argument);
    g_share.clear();
    g_removed.clear();
    const std::string result = Result(KivDSJobInit(parts[0].data(), std::stoul(parts[1])));
    const bool gone = !g_removed.empty() && g_share.compare(0, g_removed.size(), g_removed) == 0;
    return result + ", " + g_share + (gone ? ", removed" : "");
}

std::string Name(const std::string&) {
    char name[kKivDsServerSize];
    const int result = GetDistributionServerName(name);
    return std::to_string(result) + " " + name;
}

std::string WriteServer(const std::string& server) {
    CKivRegKey key;
    key.create("HKLM\\Software\\TAV\\TAVSetup\\General");
    key["DsServer"] = (server == "long" ? std::string(300, 's') : server).c_str();
    return "";
}

// A file in the current folder, and its lines.
std::string WriteLines(const std::string& argument) {
    const Parts parts = Split(argument);
    std::FILE* const file = std::fopen(parts[0].c_str(), "wb");
    for (std::size_t i = 1; file != nullptr && i < parts.size(); ++i)
        std::fprintf(file, "%s\r\n", parts[i].c_str());
    return file != nullptr && std::fclose(file) == 0 ? "" : "not written";
}

std::string Slept(const std::string&) {
    DWORD sum = 0;
    for (const DWORD sleep : g_clock->Sleeps())
        sum += sleep;
    return std::to_string(g_clock->Sleeps().size()) + " times, " + std::to_string(sum) + " ms";
}

// Tells whether more is open than at the last call.
std::string Steady(const std::string&) {
    static kiv::test::ResourceCount before{};
    const kiv::test::ResourceCount now = kiv::test::CountResources();
    const bool same = now == before;
    before = now;
    return same ? "the same" : "changed";
}

std::string Hold(const std::string&) {
    g_otherClient.Reset(::CreateFileA(kPipe, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    return g_otherClient ? "" : "not held";
}

std::string RunCommand(const std::string& commandLine) {
    std::fflush(stdout);
    return std::to_string(std::system(commandLine.c_str()));
}

constexpr ChildOperation kOperations[] = {
    {"pipe", StartScript},
    {"service", StartService},
    {"end", End},
    {"call", Call},
    {"start", Start},
    {"cancel", [](const std::string&) { return Result(KivDSJobCancel()); }},
    {"name", Name},
    {"server", WriteServer},
    {"file", WriteLines},
    {"delete", [](const std::string& path) { return std::string(::DeleteFileA(path.c_str()) ? "" : "not deleted"); }},
    {"deny", [](const std::string& error) { return g_shareError = std::stoul(error), std::string(); }},
    {"slept", Slept},
    {"steady", Steady},
    {"hold", Hold},
    {"run", RunCommand},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc > 3 && std::string(argv[1]) == "/pipe")
        return PlayScript(argv[2], Split(argv[3]));
    kiv::test::ScriptedClock clock(0xFFFFFF00);  // wraps on the way
    g_clock = &clock;
    kiv::test::SwappedApi<kiv::NetApi> net;
    net->shareEnum = nullptr;
    net->shareAdd = AddShare;
    net->shareDel = RemoveShare;
    return RunChildProgram(argc, argv, kOperations);
}
