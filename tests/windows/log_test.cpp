#include <cstdio>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/real_log.h"
#include "support/redirected_key.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"
#include "support/text_convert.h"

using kiv::test::LogVariables;
using kiv::test::ReadFileBytes;
using kiv::test::RealLog;
using kiv::test::ScopedVariable;
using kiv::test::TempDirectory;

namespace {

struct Line {
    unsigned long process;
    unsigned long thread;
    std::string shown;  // "component level-and-kind text"
};

// The lines of a log file; fails the test when one is not whole.
std::vector<Line> LinesOf(const std::string& path) {
    std::vector<Line> lines;
    const std::string bytes = ReadFileBytes(path);
    for (std::size_t start = 0; start < bytes.size();) {
        const std::size_t end = bytes.find("\r\n", start);
        REQUIRE(end != std::string::npos);
        std::istringstream words(bytes.substr(start, end - start));
        std::string date;
        std::string time;
        Line line = {};
        words >> date >> time >> line.process >> line.thread;
        std::getline(words >> std::ws, line.shown);
        const bool whole = date.size() == 10 && date[4] == '-' && time.size() == 12 && time[8] == '.' && words;
        CAPTURE(bytes.substr(start, end - start));
        REQUIRE(whole);
        lines.push_back(line);
        start = end + 2;
    }
    return lines;
}

std::vector<std::string> ShownIn(const std::string& path) {
    std::vector<std::string> shown;
    for (const Line& line : LinesOf(path))
        shown.push_back(line.shown);
    return shown;
}

using Shown = std::vector<std::string>;

bool Exists(const std::string& path) {
    return ::GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

kiv::ScopedKernelObject StartWriter(const std::string& arguments) {
    std::string command = "log_writer.exe " + arguments;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process;
    char folder[MAX_PATH];
    ::GetModuleFileNameA(nullptr, folder, sizeof folder);
    *std::strrchr(folder, '\\') = '\0';
    REQUIRE(::CreateProcessA((std::string(folder) + "\\log_writer.exe").c_str(), command.data(), nullptr, nullptr,
                             FALSE, 0, nullptr, folder, &startup, &process));
    ::CloseHandle(process.hThread);
    return kiv::ScopedKernelObject(process.hProcess);
}

void WaitForEnd(const kiv::ScopedKernelObject& process) {
    REQUIRE(::WaitForSingleObject(process.Get(), 60000) == WAIT_OBJECT_0);
    DWORD code = 1;
    ::GetExitCodeProcess(process.Get(), &code);
    CHECK(code == 0);
}

// Every writer's numbered lines, oldest first, must follow each other up to the last that it wrote.
void CheckNothingIsMissing(const std::vector<Line>& lines, int last) {
    std::map<std::string, int> reached;
    for (const Line& line : lines) {
        char writer[32];
        int number = 0;
        if (std::sscanf(line.shown.c_str(), "%31s 1- line %d", writer, &number) != 2)
            continue;
        int& before = reached[writer];
        if (before != 0)
            CHECK(number == before + 1);
        before = number;
    }
    for (const auto& [writer, number] : reached) {
        CAPTURE(writer);
        CHECK(number == last);
    }
}

}  // namespace

TEST_CASE("a line tells who wrote it, and only the wanted levels are written") {
    const TempDirectory folder;
    const LogVariables variables((folder / "a.log").c_str(), "2", nullptr);
    const RealLog log;
    log.Write(1, 'E', "first");
    log.Write(2, 'W', "second");
    log.Write(3, ' ', "not shown");
    ::SetLastError(4711);
    log.writeWin32("failed to open", 5, 0, "Other", 'E', 1);
    log.initWin32(2000000000, 0, "Var", 1, 'W');
    log.writeInitialised("failed with '%s'", "x");
    log.write("and on");
    CHECK(::GetLastError() == 4711);
    const auto lines = LinesOf(folder / "a.log");
    REQUIRE(lines.size() == 5);
    CHECK(lines[0].process == ::GetCurrentProcessId());
    CHECK(lines[0].thread == ::GetCurrentThreadId());
    CHECK(lines[0].shown == "Test 1E first");
    CHECK(lines[1].shown == "Test 2W second");
    CHECK(lines[2].shown.rfind("Other 1E failed to open: ", 0) == 0);
    CHECK(lines[2].shown.substr(lines[2].shown.size() - 4) == " (5)");
    CHECK(lines[3].shown == "Var 1W failed with 'x': (2000000000)");
    CHECK(lines[4].shown == "Var 1W and on");
}

TEST_CASE("a UTF-16 text is shown in the code page and never cuts a line") {
    const TempDirectory folder;
    const LogVariables variables((folder / "a.log").c_str(), nullptr, nullptr);
    const RealLog log;
    log.setEnv(0, "Test", 1, ' ');
    const wchar_t* none = nullptr;
    log.write("'%ls' %d '%S' '%ls'", L"a\u65E5\u672C", 7, L"b", none);
    log.write("%s", std::string(300000, 'x').c_str());
    const auto shown = ShownIn(folder / "a.log");
    REQUIRE(shown.size() == 2);
    CHECK(shown[0] == "Test 1- 'a" + kiv::AnsiFromWide(L"\u65E5\u672C") + "' 7 'b' '(null)'");
    CHECK(shown[1].size() == 300000 + std::strlen("Test 1- "));
}

TEST_CASE("a setting comes from the environment, else from the registry, else it is the default") {
    const TempDirectory folder;
    const kiv::test::RedirectedKey machine(HKEY_LOCAL_MACHINE);
    HKEY key;
    REQUIRE(::RegCreateKeyA(HKEY_LOCAL_MACHINE, "Software\\TAV\\TAVSetup\\Log", &key) == ERROR_SUCCESS);
    const std::string inRegistry = "%KIV_LOG_FOLDER%\\registry.log";  // without a NUL in the data
    const DWORD level = 3;
    ::RegSetValueExA(key, "File", 0, REG_SZ, reinterpret_cast<const BYTE*>(inRegistry.data()),
                     static_cast<DWORD>(inRegistry.size()));
    ::RegSetValueExA(key, "Level", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&level), sizeof level);
    ::RegSetValueExA(key, "MaxSize", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&level), 2);
    const ScopedVariable logFolder("KIV_LOG_FOLDER", folder.Path().c_str());
    const ScopedVariable tempFolder("TMP", folder.Path().c_str());
    {
        const LogVariables variables(nullptr, nullptr, nullptr);
        RealLog().Write(3, ' ', "registry");
    }
    {
        const LogVariables variables((folder / "environment.log").c_str(), "x", nullptr);
        RealLog().Write(3, ' ', "environment");
    }
    {
        const LogVariables variables(nullptr, "0", nullptr);
        RealLog().Write(1, ' ', "off");
    }
    ::RegDeleteValueA(key, "File");
    ::RegDeleteValueA(key, "Level");
    {
        const LogVariables variables(nullptr, nullptr, nullptr);
        const RealLog log;
        log.Write(1, ' ', "default");
        log.Write(2, ' ', "too detailed");
    }
    ::RegCloseKey(key);
    CHECK(ShownIn(folder / "registry.log") == Shown{"Test 3- registry"});
    CHECK(ShownIn(folder / "environment.log") == Shown{"Test 3- environment"});
    CHECK(ShownIn(folder / "tavkivlg.log") == Shown{"Test 1- default"});
}

TEST_CASE("a full log becomes the one old copy") {
    const TempDirectory folder;
    const std::string path = folder / "a.log";
    const LogVariables variables(path.c_str(), nullptr, "300");
    const RealLog log;
    for (int i = 1; i <= 9; ++i)
        log.Write(1, ' ', ("line " + std::to_string(i) + std::string(60, '.')).c_str());
    CHECK(ReadFileBytes(path).size() <= 300);
    CHECK(ReadFileBytes(path + ".old").size() <= 300);
    auto lines = LinesOf(path + ".old");
    for (const Line& line : LinesOf(path))
        lines.push_back(line);
    CHECK(lines.size() >= 3);
    CheckNothingIsMissing(lines, 9);

    log.Write(1, ' ', std::string(1000, 'x').c_str());  // longer than the limit: a file of its own
    CHECK(ReadFileBytes(path).size() > 1000);
    log.Write(1, ' ', "after");
    CHECK(ShownIn(path) == Shown{"Test 1- after"});

    // An old copy that cannot be replaced does not let the log grow for ever.
    ::DeleteFileA((path + ".old").c_str());
    REQUIRE(::CreateDirectoryA((path + ".old").c_str(), nullptr));
    for (int i = 0; i < 20; ++i)
        log.Write(1, ' ', std::string(60, 'y').c_str());
    CHECK(ReadFileBytes(path).size() <= 2 * 300 + 150);
}

TEST_CASE("lines that cannot be written are counted, and cost their caller little") {
    const TempDirectory folder;
    const std::string path = folder.Write("a.log", "");
    const LogVariables variables(path.c_str(), nullptr, nullptr);
    const RealLog log;
    {
        const kiv::ScopedFile stuck(
            ::CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        REQUIRE(stuck);
        const DWORD start = ::GetTickCount();
        for (int i = 0; i < 20; ++i)
            log.Write(1, ' ', "lost");
        CHECK(::GetTickCount() - start < 3000);
    }
    log.Write(1, ' ', "through");
    CHECK(ShownIn(path) == Shown{"tavkivlg 1W 20 lines were lost", "Test 1- through"});
}

TEST_CASE("a place that takes no lines does no harm") {
    const TempDirectory folder;
    const std::string readOnly = folder.Write("read only.log", "");
    REQUIRE(::SetFileAttributesA(readOnly.c_str(), FILE_ATTRIBUTE_READONLY));
    const std::string linked = folder.Write("linked.log", "");
    const bool isWritable = static_cast<bool>(kiv::ScopedFile(
        ::CreateFileA(readOnly.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr)));  // for the super-user
    const bool hasLink = ::CreateHardLinkA((folder / "other name").c_str(), linked.c_str(), nullptr) != FALSE;
    const std::string places[] = {"Z:\\dev\\full", folder / "missing\\a.log",     folder.Path(), readOnly,
                                  linked,          "C:\\" + std::string(250, 'x')};
    for (const std::string& place : places) {
        CAPTURE(place);
        const LogVariables variables(place.c_str(), nullptr, nullptr);
        const RealLog log;
        const DWORD start = ::GetTickCount();
        ::SetLastError(4711);
        for (int i = 0; i < 20; ++i)
            log.Write(1, 'E', "nowhere");
        CHECK(::GetLastError() == 4711);
        CHECK(::GetTickCount() - start < 3000);
    }
    CHECK((isWritable || ReadFileBytes(readOnly).empty()));
    if (hasLink)
        CHECK(ReadFileBytes(linked).empty());
}

TEST_CASE("each thread has its own environment and leaves nothing behind") {
    constexpr int kThreads = 8;
    constexpr int kLines = 100;
    struct Work {
        static DWORD WINAPI Run(LPVOID argument) {
            const auto& work = *static_cast<Work*>(argument);
            work.log->write("without an environment");
            work.log->setEnv(::GetCurrentThreadId(), work.name.c_str(), 1, ' ');
            for (int i = 1; i <= kLines; ++i)
                work.log->write("line %d of %s", i, work.name.c_str());
            return 0;
        }
        const RealLog* log;
        std::string name;
    };
    const TempDirectory folder;
    const LogVariables variables((folder / "a.log").c_str(), nullptr, "0");
    const RealLog log;
    std::vector<Work> work(kThreads);
    std::vector<HANDLE> threads;
    for (int i = 0; i < kThreads; ++i) {
        work[i] = {&log, "thread" + std::to_string(i)};
        threads.push_back(::CreateThread(nullptr, 0, Work::Run, &work[i], 0, nullptr));
    }
    ::WaitForMultipleObjects(kThreads, threads.data(), TRUE, INFINITE);
    for (const HANDLE thread : threads)
        ::CloseHandle(thread);
    const auto lines = LinesOf(folder / "a.log");
    CHECK(lines.size() == kThreads * (kLines + 1));
    CheckNothingIsMissing(lines, kLines);
    for (const Line& line : lines) {
        const std::string name = line.shown.substr(0, line.shown.find(' '));
        CHECK(line.shown.substr(line.shown.rfind(' ') + 1) == (name == "-" ? "environment" : name));
    }
}

TEST_CASE("unloading gives back every TLS slot and handle") {
    const TempDirectory folder;
    const LogVariables variables((folder / "a.log").c_str(), nullptr, nullptr);
    const auto next = [] {
        const DWORD slot = ::TlsAlloc();
        ::TlsFree(slot);
        const HANDLE event = ::CreateEventA(nullptr, FALSE, FALSE, nullptr);
        ::CloseHandle(event);
        return std::make_pair(slot, event);
    };
    RealLog().Write(1, ' ', "the static run-time keeps a little of its own for the first load");
    const DWORD slot = next().first;
    for (int i = 0; i < 70; ++i)
        RealLog().Write(1, ' ', "loaded and unloaded");
    CHECK(next().first == slot);
    CHECK(ShownIn(folder / "a.log").size() == 71);
}

TEST_CASE("processes that fill and rotate one log lose nothing but what rotation drops") {
    constexpr int kLines = 400;
    const TempDirectory folder;
    const std::string path = folder / "a.log";
    const LogVariables variables(path.c_str(), nullptr, "30000");
    std::vector<kiv::ScopedKernelObject> writers;
    for (int i = 0; i < 4; ++i)
        writers.push_back(StartWriter("writer" + std::to_string(i) + " " + std::to_string(kLines)));
    for (const auto& writer : writers)
        WaitForEnd(writer);
    REQUIRE(Exists(path + ".old"));
    auto lines = LinesOf(path + ".old");
    for (const Line& line : LinesOf(path))
        lines.push_back(line);
    CHECK(lines.size() > 400);
    CheckNothingIsMissing(lines, kLines);
    for (const Line& line : lines)
        CHECK(line.shown.find("lost") == std::string::npos);
}

TEST_CASE("lines are taken to the very end of a process, whoever is in the middle of one") {
    const TempDirectory folder;
    const LogVariables variables((folder / "a.log").c_str(), "3", nullptr);
    const DWORD start = ::GetTickCount();
    WaitForEnd(StartWriter("x 0"));
    CHECK(::GetTickCount() - start < 10000);
    Shown shown;
    for (const std::string& line : ShownIn(folder / "a.log")) {
        if (line != "background 1- line")
            shown.push_back(line);
    }
    CHECK(shown == Shown{"TavKivUt 3- Utilities Library initialized (ANSI Release build)", "writer 1- after the stop",
                         "writer 1- static object destroyed", "TavKivUt 3- Utilities Library shutdown"});
}
