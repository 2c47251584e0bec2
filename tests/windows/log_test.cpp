#include <algorithm>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <process.h>

#include "support/check.h"
#include "support/real_log.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
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
    std::string texts;
    for (const std::string& path : paths)
        texts += ReadFileBytes(path);
    std::vector<Line> lines;
    std::istringstream file(texts);
    for (std::string text; std::getline(file, text);) {
        Line line = {};
        int at = 0;
        const int fields = std::sscanf(text.c_str(), "%*4d-%*2d-%*2d %*2d:%*2d:%*2d.%*3d %lu %lu %n", &line.process,
                                       &line.thread, &at);
        CAPTURE(text);
        REQUIRE((fields == 2 && at != 0 && text.back() == '\r'));
        line.shown = text.substr(static_cast<std::size_t>(at), text.size() - 1 - static_cast<std::size_t>(at));
        lines.push_back(line);
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

// Processes that log, each under its name, with this program's environment; waits for the end of all.
void RunWriters(const std::vector<const char*>& names, const char* lines) {
    std::vector<std::intptr_t> writers;
    for (const char* name : names)
        writers.push_back(::_spawnl(_P_NOWAIT, "real_log\\log_writer.exe", "log_writer", name, lines, nullptr));
    for (const std::intptr_t writer : writers) {
        int code = 1;
        CHECK((::_cwait(&code, writer, _WAIT_CHILD) == writer && code == 0));
    }
}

}  // namespace

TEST_CASE("a line tells who wrote it, and only the wanted levels are written") {
    const TempDirectory folder;
    const std::string path = folder / "a.log";
    const RealLog log(path.c_str(), "2");
    log.Write(1, 'E', "first");
    log.Write(3, ' ', "not shown");
    ::SetLastError(4711);
    log.writeWin32("failed to open", 5, 0, "Other", 'E', 1);
    log.initWin32(2000000000, 0, "Var", 1, 'W');
    log.writeInitialised("failed with '%s'", "x");
    CHECK(::GetLastError() == 4711);
    const auto lines = LinesOf({path});
    REQUIRE(lines.size() == 3);
    CHECK((lines[0].process == ::GetCurrentProcessId() && lines[0].thread == ::GetCurrentThreadId()));
    CHECK(lines[0].shown == "Test 1E first");
    CHECK(lines[1].shown.rfind("Other 1E failed to open: ", 0) == 0);
    CHECK(lines[1].shown.substr(lines[1].shown.size() - 4) == " (5)");
    CHECK(lines[2].shown == "Var 1W failed with 'x': (2000000000)");
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
    const std::string key = "Software\\TAV\\TAVSetup\\Log";
    kiv::test::SetData(machine.Handle(), "File", REG_SZ, "%TMP%\\registry.log", key);  // without a NUL in the data
    kiv::test::SetNumber(machine.Handle(), "Level", 3, key);
    kiv::test::SetData(machine.Handle(), "MaxSize", REG_DWORD, "xx", key);  // damaged: counts as not set
    RealLog(nullptr).Write(3, ' ', "registry");
    RealLog(nullptr, "0").Write(1, ' ', "off");
    RealLog((folder / "environment.log").c_str(), "x").Write(3, ' ', "environment");
    kiv::test::DeleteKeyTree(machine.Handle(), key.c_str());
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
    CHECK((ReadFileBytes(path).size() <= 300 && ReadFileBytes(path + ".old").size() <= 300));
    CheckNothingIsMissing(LinesOf({path + ".old", path}), 9);
    log.Write(1, ' ', std::string(1000, 'x'));  // longer than the limit: a file of its own
    log.Write(1, ' ', "after");
    CHECK((ReadFileBytes(path + ".old").size() > 1000 && ShownIn(path) == Shown{"Test 1- after"}));
    ::DeleteFileA((path + ".old").c_str());
    REQUIRE(::CreateDirectoryA((path + ".old").c_str(), nullptr));  // in the way of every old copy
    for (int i = 0; i < 20; ++i)
        log.Write(1, ' ', std::string(60, 'y'));
    CHECK(ReadFileBytes(path).size() < 3 * 300);
}

TEST_CASE("lines that cannot be written are counted, do no harm and cost their caller little") {
    const TempDirectory folder;
    const auto writeTwenty = [](const RealLog& log) {
        const DWORD start = ::GetTickCount();
        ::SetLastError(4711);
        for (int i = 0; i < 20; ++i)
            log.Write(1, 'E', "nowhere");
        CHECK((::GetLastError() == 4711 && ::GetTickCount() - start < 3000));
    };
    const std::string path = folder.Write("a.log", "");
    {
        const RealLog log(path.c_str());
        kiv::ScopedFile stuck(
            ::CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        REQUIRE(stuck);
        writeTwenty(log);
        stuck = kiv::ScopedFile();
        log.Write(1, ' ', "through");
    }
    CHECK(ShownIn(path) == Shown{"tavkivlg 1W 20 lines were lost", "Test 1- through"});
    const std::string linked = folder.Write("linked.log", "");
    const bool hasLink = ::CreateHardLinkA((folder / "other name").c_str(), linked.c_str(), nullptr) != FALSE;
    const std::string readOnly = folder.Write("read only.log", "");
    ::SetFileAttributesA(readOnly.c_str(), FILE_ATTRIBUTE_READONLY);
    for (const std::string& place : {std::string("Z:\\dev\\full"), folder / "missing\\a.log", folder.Path(), linked,
                                     readOnly, "C:\\" + std::string(250, 'x')})
        writeTwenty(RealLog(place.c_str()));
    CHECK((!hasLink || ReadFileBytes(linked).empty()));
}

TEST_CASE("each thread has its own environment; unloading gives back every TLS slot") {
    constexpr int kLines = 50;
    char names[][4] = {"one", "two", "tri", "qua"};
    const TempDirectory folder;
    const std::string path = folder / "a.log";
    static const RealLog* log;
    const auto nextSlot = [] {
        const DWORD slot = ::TlsAlloc();
        ::TlsFree(slot);
        return slot;
    };
    const DWORD slot = nextSlot();
    {
        const RealLog loaded(path.c_str());
        log = &loaded;
        const auto run = [](LPVOID name) WINAPI -> DWORD {
            log->setEnv(::GetCurrentThreadId(), static_cast<const char*>(name), 1, ' ');
            for (int i = 1; i <= kLines; ++i)
                log->write("line %d of %s", i, static_cast<const char*>(name));
            return 0;
        };
        kiv::ScopedKernelObject threads[4];
        for (int i = 0; i < 4; ++i)
            threads[i].Reset(::CreateThread(nullptr, 0, run, names[i], 0, nullptr));
        for (const auto& thread : threads)
            ::WaitForSingleObject(thread.Get(), INFINITE);
    }
    const auto lines = LinesOf({path});
    CHECK(lines.size() == 4 * kLines);
    CheckNothingIsMissing(lines, kLines);
    for (const Line& line : lines)
        CHECK(line.shown.substr(line.shown.rfind(' ') + 1) == line.shown.substr(0, line.shown.find(' ')));
    for (int i = 0; i < 70; ++i)  // more often than an old system has slots
        RealLog(path.c_str()).Write(1, ' ', "loaded and unloaded");
    CHECK((nextSlot() == slot && ShownIn(path).size() == 4 * kLines + 70));
}

TEST_CASE("processes that fill and rotate one log lose nothing but what rotation drops") {
    std::vector<Line> lines;
    // On a machine too busy for their lock the writers can keep each other from rotating.
    for (int attempt = 0; attempt < 5 && lines.empty(); ++attempt) {
        const TempDirectory folder;
        const std::string path = folder / "a.log";
        const RealLog log(path.c_str(), nullptr, "8000");
        RunWriters({"one", "two", "three", "four"}, "120");
        if (::GetFileAttributesA((path + ".old").c_str()) != INVALID_FILE_ATTRIBUTES)
            lines = LinesOf({path + ".old", path});
    }
    CHECK(lines.size() > 120);
    CheckNothingIsMissing(lines, 120);
}

TEST_CASE("lines are taken to the very end of a process, whoever is in the middle of one") {
    const Shown expected = {"TavKivUt 3- Utilities Library initialized (ANSI Release build)",
                            "writer 1- after the stop", "writer 1- static object destroyed",
                            "TavKivUt 3- Utilities Library shutdown"};
    Shown shown;
    // Now and then the writer is ended just where the system opens the file for it, which then stays shut.
    for (int attempt = 0; attempt < 5 && shown != expected; ++attempt) {
        const TempDirectory folder;
        const RealLog log((folder / "a.log").c_str(), "3");
        RunWriters({"x"}, "0");
        shown = ShownIn(folder / "a.log");
        shown.erase(std::remove(shown.begin(), shown.end(), "background 1- line"), shown.end());
    }
    CHECK(shown == expected);
}
