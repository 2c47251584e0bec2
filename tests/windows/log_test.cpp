#include <cstdio>
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

using kiv::test::ReadFileBytes;
using kiv::test::RealLog;
using kiv::test::TempDirectory;

namespace {

struct Line {
    unsigned long process;
    unsigned long thread;
    std::string shown;  // "component level-and-kind text"
};

// The lines of log files; fails the test when one is not whole.
std::vector<Line> LinesOf(const std::vector<std::string>& paths) {
    std::vector<Line> lines;
    for (const std::string& path : paths) {
        std::istringstream file(ReadFileBytes(path));
        for (std::string text; std::getline(file, text);) {
            Line line = {};
            int at = 0;
            char end = 0;
            const int fields = std::sscanf(text.c_str(), "%*4d-%*2d-%*2d %*2d:%*2d:%*2d.%*3d %lu %lu %n%c",
                                           &line.process, &line.thread, &at, &end);
            CAPTURE(text);
            REQUIRE(fields == 3);
            REQUIRE(text.back() == '\r');
            line.shown.assign(text, static_cast<std::size_t>(at), text.size() - 1 - static_cast<std::size_t>(at));
            lines.push_back(line);
        }
    }
    return lines;
}

using Shown = std::vector<std::string>;

Shown ShownIn(const std::string& path) {
    Shown shown;
    for (const Line& line : LinesOf({path}))
        shown.push_back(line.shown);
    return shown;
}

// Every writer's numbered lines, oldest first, follow each other up to the last that it wrote.
void CheckNothingIsMissing(const std::vector<Line>& lines, int last) {
    std::map<std::string, int> reached;
    for (const Line& line : lines) {
        char writer[32];
        int number = 0;
        if (std::sscanf(line.shown.c_str(), "%31s 1- line %d", writer, &number) != 2)
            continue;
        int& before = reached[writer];
        CHECK((before == 0 || number == before + 1));
        before = number;
    }
    for (const auto& writer : reached)
        CHECK(writer.second == last);
}

// A process that logs, with this program's environment.
kiv::ScopedKernelObject StartWriter(std::string arguments) {
    std::string command = "real_log\\log_writer.exe " + arguments;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process;
    REQUIRE(
        ::CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
    ::CloseHandle(process.hThread);
    return kiv::ScopedKernelObject(process.hProcess);
}

void WaitForEnd(const kiv::ScopedKernelObject& process) {
    REQUIRE(::WaitForSingleObject(process.Get(), 60000) == WAIT_OBJECT_0);
    DWORD code = 1;
    ::GetExitCodeProcess(process.Get(), &code);
    CHECK(code == 0);
}

}  // namespace

TEST_CASE("a line tells who wrote it, and only the wanted levels are written") {
    const TempDirectory folder;
    const RealLog log((folder / "a.log").c_str(), "2");
    log.Write(1, 'E', "first");
    log.Write(2, 'W', "second");
    log.Write(3, ' ', "not shown");
    ::SetLastError(4711);
    log.writeWin32("failed to open", 5, 0, "Other", 'E', 1);
    log.initWin32(2000000000, 0, "Var", 1, 'W');
    log.writeInitialised("failed with '%s'", "x");
    CHECK(::GetLastError() == 4711);
    const auto lines = LinesOf({folder / "a.log"});
    REQUIRE(lines.size() == 4);
    CHECK(lines[0].process == ::GetCurrentProcessId());
    CHECK(lines[0].thread == ::GetCurrentThreadId());
    CHECK(lines[0].shown == "Test 1E first");
    CHECK(lines[1].shown == "Test 2W second");
    CHECK(lines[2].shown.rfind("Other 1E failed to open: ", 0) == 0);
    CHECK(lines[2].shown.substr(lines[2].shown.size() - 4) == " (5)");
    CHECK(lines[3].shown == "Var 1W failed with 'x': (2000000000)");
}

TEST_CASE("a UTF-16 text is shown in the code page and never cuts a line") {
    const TempDirectory folder;
    const RealLog log((folder / "a.log").c_str());
    log.write("'%ls' %d '%S'", L"a\u65E5\u672C", 7, L"b");
    log.write("%s", std::string(300000, 'x').c_str());
    CHECK(ShownIn(folder / "a.log") ==
          Shown{"- 1- 'a" + kiv::AnsiFromWide(L"\u65E5\u672C") + "' 7 'b'", "- 1- " + std::string(300000, 'x')});
}

TEST_CASE("a setting comes from the environment, else from the registry, else it is the default") {
    const TempDirectory folder;
    const kiv::test::ScopedVariable tempFolder("TMP", folder.Path().c_str());
    const kiv::test::RedirectedKey machine(HKEY_LOCAL_MACHINE);
    kiv::ScopedRegistryKey key;
    REQUIRE(::RegCreateKeyA(HKEY_LOCAL_MACHINE, "Software\\TAV\\TAVSetup\\Log", key.Receive()) == ERROR_SUCCESS);
    const std::string file = "%TMP%\\registry.log";  // without a NUL in the data
    const DWORD number = 3;
    const auto* bytes = reinterpret_cast<const BYTE*>(&number);
    ::RegSetValueExA(key.Get(), "File", 0, REG_SZ, reinterpret_cast<const BYTE*>(file.data()), file.size());
    ::RegSetValueExA(key.Get(), "Level", 0, REG_DWORD, bytes, sizeof number);
    ::RegSetValueExA(key.Get(), "MaxSize", 0, REG_DWORD, bytes, 2);  // damaged: counts as not set
    RealLog(nullptr).Write(3, ' ', "registry");
    RealLog(nullptr, "0").Write(1, ' ', "off");
    RealLog((folder / "environment.log").c_str(), "x").Write(3, ' ', "environment");
    ::RegDeleteValueA(key.Get(), "File");
    ::RegDeleteValueA(key.Get(), "Level");
    RealLog(nullptr).Write(1, ' ', "default");
    RealLog(nullptr).Write(2, ' ', "too detailed");
    CHECK(ShownIn(folder / "registry.log") == Shown{"Test 3- registry"});
    CHECK(ShownIn(folder / "environment.log") == Shown{"Test 3- environment"});
    CHECK(ShownIn(folder / "tavkivlg.log") == Shown{"Test 1- default"});
}

TEST_CASE("a full log becomes the one old copy") {
    const TempDirectory folder;
    const std::string path = folder / "a.log";
    const RealLog log(path.c_str(), nullptr, "300");
    for (int i = 1; i <= 9; ++i)
        log.Write(1, ' ', "line " + std::to_string(i) + std::string(60, '.'));
    CHECK(ReadFileBytes(path).size() <= 300);
    CHECK(ReadFileBytes(path + ".old").size() <= 300);
    CheckNothingIsMissing(LinesOf({path + ".old", path}), 9);
    log.Write(1, ' ', std::string(1000, 'x'));  // longer than the limit: a file of its own
    log.Write(1, ' ', "after");
    CHECK(ReadFileBytes(path + ".old").size() > 1000);
    CHECK(ShownIn(path) == Shown{"Test 1- after"});
    ::DeleteFileA((path + ".old").c_str());
    REQUIRE(::CreateDirectoryA((path + ".old").c_str(), nullptr));  // in the way of every old copy
    for (int i = 0; i < 20; ++i)
        log.Write(1, ' ', std::string(60, 'y'));
    CHECK(ReadFileBytes(path).size() < 3 * 300);
}

TEST_CASE("lines that cannot be written are counted, and cost their caller little") {
    const TempDirectory folder;
    const std::string path = folder.Write("a.log", "");
    const RealLog log(path.c_str());
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
    const std::string linked = folder.Write("linked.log", "");
    const bool hasLink = ::CreateHardLinkA((folder / "other name").c_str(), linked.c_str(), nullptr) != FALSE;
    const std::string readOnly = folder.Write("read only.log", "");
    ::SetFileAttributesA(readOnly.c_str(), FILE_ATTRIBUTE_READONLY);
    for (const std::string& place : {std::string("Z:\\dev\\full"), folder / "missing\\a.log", folder.Path(), linked,
                                     readOnly, "C:\\" + std::string(250, 'x')}) {
        const RealLog log(place.c_str());
        const DWORD start = ::GetTickCount();
        ::SetLastError(4711);
        for (int i = 0; i < 20; ++i)
            log.Write(1, 'E', "nowhere");
        CHECK(::GetLastError() == 4711);
        CHECK(::GetTickCount() - start < 3000);
    }
    CHECK((!hasLink || ReadFileBytes(linked).empty()));
}

TEST_CASE("each thread has its own environment") {
    constexpr int kLines = 50;
    struct Work {
        static DWORD WINAPI Run(LPVOID argument) {
            const auto& work = *static_cast<Work*>(argument);
            work.log->setEnv(::GetCurrentThreadId(), work.name.c_str(), 1, ' ');
            for (int i = 1; i <= kLines; ++i)
                work.log->write("line %d of %s", i, work.name.c_str());
            return 0;
        }
        const RealLog* log;
        std::string name;
    };
    const TempDirectory folder;
    const RealLog log((folder / "a.log").c_str());
    Work work[] = {{&log, "one"}, {&log, "two"}, {&log, "three"}, {&log, "four"}};
    std::vector<HANDLE> threads;
    for (Work& part : work)
        threads.push_back(::CreateThread(nullptr, 0, Work::Run, &part, 0, nullptr));
    ::WaitForMultipleObjects(static_cast<DWORD>(threads.size()), threads.data(), TRUE, INFINITE);
    for (const HANDLE thread : threads)
        ::CloseHandle(thread);
    const auto lines = LinesOf({folder / "a.log"});
    CHECK(lines.size() == threads.size() * kLines);
    CheckNothingIsMissing(lines, kLines);
    for (const Line& line : lines)
        CHECK(line.shown.substr(line.shown.rfind(' ') + 1) == line.shown.substr(0, line.shown.find(' ')));
}

TEST_CASE("unloading gives back every TLS slot") {
    const TempDirectory folder;
    const auto nextSlot = [] {
        const DWORD slot = ::TlsAlloc();
        ::TlsFree(slot);
        return slot;
    };
    const DWORD slot = nextSlot();
    for (int i = 0; i < 70; ++i)  // more often than an old system has slots
        RealLog((folder / "a.log").c_str()).Write(1, ' ', "loaded and unloaded");
    CHECK(nextSlot() == slot);
    CHECK(ShownIn(folder / "a.log").size() == 70);
}

TEST_CASE("processes that fill and rotate one log lose nothing but what rotation drops") {
    const TempDirectory folder;
    const std::string path = folder / "a.log";
    const RealLog log(path.c_str(), nullptr, "8000");
    std::vector<kiv::ScopedKernelObject> writers;
    for (const char* name : {"one", "two", "three", "four"})
        writers.push_back(StartWriter(name + std::string(" 120")));
    for (const auto& writer : writers)
        WaitForEnd(writer);
    const auto lines = LinesOf({path + ".old", path});
    CHECK(lines.size() > 120);
    CheckNothingIsMissing(lines, 120);
}

TEST_CASE("lines are taken to the very end of a process, whoever is in the middle of one") {
    const TempDirectory folder;
    const RealLog log((folder / "a.log").c_str(), "3");
    WaitForEnd(StartWriter("x 0"));
    Shown shown;
    for (const std::string& line : ShownIn(folder / "a.log")) {
        if (line != "background 1- line")
            shown.push_back(line);
    }
    CHECK(shown == Shown{"TavKivUt 3- Utilities Library initialized (ANSI Release build)", "writer 1- after the stop",
                         "writer 1- static object destroyed", "TavKivUt 3- Utilities Library shutdown"});
}
