// Which file is taken, settings on their way back into the files, processes that refresh at once; each in processes of
// their own, with a file beside the program.

#include <string>

#include "support/check.h"
#include "support/scoped_resource.h"
#include "windows/server_process.h"

using kiv::test::ReadFileBytes;
using kiv::test::ServerProcess;
using kiv::test::WriteFileAt;
using Lines = ServerProcess::Lines;

namespace {

constexpr char kStart[] = "1  initializing configuration managment";
constexpr char kUpToDate[] = "1  config information is uptodate";
constexpr DWORD kGuarded = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;

class Installer : public ServerProcess {
public:
    Installer() : ServerProcess("config_child") {
        ::DeleteFileA((MakeServer("server", "") + "\\Setup\\TavSetup.cfg").c_str());
    }
    std::string Local() const { return Path() + "\\bin\\TavSetup.cfg"; }
    std::string Remote(const std::string& server = "server") const {
        return Path() + "\\" + server + "\\Setup\\TavSetup.cfg";
    }

    // What an operation logs and gives, with the session server chosen; without the lines of the server list.
    Lines Do(const std::string& operation) const {
        Lines kept;
        for (const std::string& line : Run("\"server=" + Path() + "\\server\" \"" + operation + "\"")) {
            if (line.find("Server") == std::string::npos && line != "= ")
                kept.push_back(line);
        }
        return kept;
    }

    // Starts an operation without waiting for its end.
    kiv::ScopedKernelObject Start(const std::string& operation) const {
        std::string line = "\"" + Program() + "\" \"server=" + Path() + "\\server\" " + operation;
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;  // none: nobody reads what it prints
        PROCESS_INFORMATION process{};
        REQUIRE(
            ::CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
        ::CloseHandle(process.hThread);
        return kiv::ScopedKernelObject(process.hProcess);
    }
};

}  // namespace

TEST_CASE("the newer of the two files is taken, the local one when they are equally new") {
    const Installer installer;
    WriteFileAt(installer.Local(), 10, "[S]\r\nfrom=local\r\n");
    WriteFileAt(installer.Remote(), 10, "[S]\r\nfrom=server\r\n");
    CHECK(installer.Do("init") == Lines{kStart, "1  update config information from " + installer.Local(), "= true"});
    WriteFileAt(installer.Remote(), 11, "[S]\r\nfrom=server\r\n");
    CHECK(installer.Do("init") == Lines{kStart, "1  update config information from " + installer.Remote(), "= true"});
    ::DeleteFileA(installer.Remote().c_str());
    CHECK(installer.Do("init") == Lines{kStart, kUpToDate, "= true"});
    CHECK(installer.ReadText("S", "from") == "server");
}

TEST_CASE("processes that refresh at once miss nothing") {
    const Installer installer;
    std::string text;
    for (int section = 0; section < 40; ++section) {
        text += "[Section " + std::to_string(section) + "]\r\n";
        for (int entry = 0; entry < 25; ++entry)
            text += "e" + std::to_string(entry) + "=1\r\n";
        text += "last=1\r\n";
    }
    installer.Do("init");
    const std::string gate = "tavkivut-test-" + std::to_string(::GetCurrentProcessId());
    const kiv::ScopedKernelObject ready(::CreateSemaphoreA(nullptr, 0, 4, (gate + "-ready").c_str()));
    const kiv::ScopedKernelObject start(::CreateEventA(nullptr, TRUE, FALSE, (gate + "-start").c_str()));
    for (int round = 0; round < 2; ++round) {
        WriteFileAt(installer.Local(), round, text);
        kiv::ScopedKernelObject racers[4];
        ::ResetEvent(start.Get());
        for (kiv::ScopedKernelObject& racer : racers)
            racer = installer.Start("gate=" + gate + " complete=40");
        for (int i = 0; i < 4; ++i)
            CHECK(::WaitForSingleObject(ready.Get(), 60000) == WAIT_OBJECT_0);
        ::SetEvent(start.Get());
        for (const kiv::ScopedKernelObject& racer : racers) {
            DWORD code = 1;
            ::WaitForSingleObject(racer.Get(), 60000);
            ::GetExitCodeProcess(racer.Get(), &code);
            CHECK(code == 0);
        }
        CHECK(installer.Do("init") == Lines{kStart, kUpToDate, "= true"});
    }
}

TEST_CASE("a setting is written into every copy of the file, each path once") {
    const Installer installer;
    installer.MakeServer("second", "[S]\r\nk=old\r\n");
    ::SetFileAttributesA(installer.Remote("second").c_str(), kGuarded);
    const std::string path = installer.Path();
    installer.WriteText("General", "InstServer",
                        (path + "\\server;" + path + "\\SERVER\\;;" + path + "\\second;" + path + "\\gone").c_str());
    WriteFileAt(installer.Local(), 0, "[S]\r\nk=old\r\nl=kept\r\n");
    installer.Do("init");

    const Lines lines = installer.Do("update=S|k|0xff");
    REQUIRE(lines.size() == 9);
    const std::string unread = "1E Could not read fileattributes of config file";
    CHECK(lines[2] == "1  updated config file " + installer.Local() + "; [S] k=0xff");
    CHECK(lines[3].find(unread) == 0);  // that server has no file yet: it is made
    CHECK(lines[4] == "1  updated config file " + installer.Remote() + "; [S] k=0xff");
    CHECK(lines[5] == "1  updated config file " + installer.Remote("second") + "; [S] k=0xff");
    CHECK(lines[6].find(unread) == 0);
    CHECK(lines[7] == "1E failed to update config file " + installer.Remote("gone"));
    CHECK(lines[8] == "= true");
    CHECK(ReadFileBytes(installer.Local()) == "[S]\r\nk=0xff\r\nl=kept\r\n");
    CHECK(ReadFileBytes(installer.Remote()) == "[S]\r\nk=0xff\r\n");
    CHECK(ReadFileBytes(installer.Remote("second")) == "[S]\r\nk=0xff\r\n");
    CHECK((::GetFileAttributesA(installer.Remote("second").c_str()) & kGuarded) == kGuarded);
    CHECK((::GetFileAttributesA(installer.Local().c_str()) & kGuarded) == 0);
}

TEST_CASE("a line break reaches the registry but no file") {
    const Installer installer;
    installer.WriteText("General", "InstServer", (installer.Path() + "\\server").c_str());
    WriteFileAt(installer.Local(), 0, "[S]\r\nk=old\r\n");
    installer.Do("init");
    for (const char* const operation : {"update=S|k|a~l=b", "update=S|k~x|a", "update=S~T|k|a"})
        CHECK(installer.Do(operation) == Lines{kStart, kUpToDate,
                                               "1E failed to update config file " + installer.Local(),
                                               "1E failed to update config file " + installer.Remote(), "= true"});
    CHECK(ReadFileBytes(installer.Local()) == "[S]\r\nk=old\r\n");
    CHECK(::GetFileAttributesA(installer.Remote().c_str()) == INVALID_FILE_ATTRIBUTES);
    CHECK(installer.ReadText("S", "k") == "a\nl=b");
}
