// The server list, the session server and what is asked about it, each in a process of its own.

#include <string>

#include "support/check.h"
#include "support/windows_api.h"
#include "windows/server_process.h"

using kiv::test::ServerProcess;
using Lines = ServerProcess::Lines;

namespace {

// Hosts of more than 15 characters are not asked, so these tests send nothing.
constexpr const char* kFar = "\\\\a-far-away-server\\apps";
constexpr const char* kNear = "\\\\a-nearby-server-x\\apps";

std::string Joined(const std::string& a, const std::string& b) {
    return a + ";" + b;
}

}  // namespace

TEST_CASE("the list comes from the file, else the registry, else it is the fallback") {
    ServerProcess process;
    const std::string parent = process.Path();
    CHECK(process.Run("list fallback=" + parent + "\\ fallback=C:\\") ==
          Lines{"1  NO Servers Read from Cfg file or registry", "= fallback " + parent, "= 1", "= 0"});

    process.WriteText("General", "InstServer", "");
    CHECK(process.Run("list") == Lines{"3  No Servers read from Registry",
                                       "1  NO Servers Read from Cfg file or registry", "= fallback " + parent});

    process.WriteText("General", "InstServer", kFar);
    CHECK(process.Run("list") ==
          Lines{std::string("1  Read Servers from Registry: ") + kFar, std::string("= configured ") + kFar});

    process.WriteConfig(std::string("\xEF\xBB\xBF[General]\r\nInstServer=") + kNear + "\r\n");
    CHECK(process.Run("list") == Lines{"1  Read Servers from Cfg File " + parent + "\\bin\\tavsetup.cfg: " + kNear,
                                       std::string("= configured ") + kNear});
}

TEST_CASE("entries are counted and read") {
    ServerProcess process;
    process.WriteText("General", "InstServer", "\\\\a\\s\\;\\\\b\\s;");
    CHECK(process.Results("count entry=0 entry=1 entry=5") == Lines{"2", "\\\\a\\s", "\\\\b\\s", "\\\\a\\s"});
    process.WriteText("General", "InstServer", "\\\\a\\s;;\\\\b\\s");
    CHECK(process.Results("count entry=1 entry=2") == Lines{"3", "", "\\\\b\\s"});
    process.WriteText("General", "InstServer", ("\\\\a\\" + std::string(255, 'x')).c_str());
    CHECK(process.Results("entry=0") == Lines{"\\\\a\\" + std::string(255, 'x')});
    process.WriteText("General", "InstServer", ("\\\\a\\" + std::string(256, 'x')).c_str());
    CHECK(process.Results("entry=0") == Lines{""});  // never a part of a path
}

TEST_CASE("servers are added and removed in the registry") {
    ServerProcess process;
    process.Run("add=\\\\a\\s");
    CHECK(process.ReadText("General", "InstServer") == "\\\\a\\s");
    process.Run("add=\\\\b\\s add=\\\\A\\S\\ add=\\\\c\\s");
    CHECK(process.ReadText("General", "InstServer") == "\\\\a\\s;\\\\b\\s;\\\\c\\s");
    process.Run("remove=3 remove=1");
    CHECK(process.ReadText("General", "InstServer") == "\\\\a\\s;\\\\c\\s");
    process.Run("remove=0 remove=0 add=\\\\d\\s");
    CHECK(process.ReadText("General", "InstServer") == "\\\\d\\s");

    // The index counts in the list in force, here that of the file.
    process.WriteConfig("[General]\r\nInstServer=\\\\x\\s;;\\\\y\\s;\\\\z\\s\r\n");
    process.Run("remove=2");
    CHECK(process.ReadText("General", "InstServer") == "\\\\x\\s;\\\\z\\s");
}

TEST_CASE("a server is available when it serves the product") {
    ServerProcess process;
    const std::string plain = process.MakeServer("plain", "");
    const std::string office = process.MakeServer("office", "[Products]\r\n"
                                                            "TAVFRONTEND=%tavsrcdir%\\setup\\TavSetup.cfg\r\n"
                                                            "Office=%TAVSrcDir%\\office.key\r\n"
                                                            "Office Two=C:\\no such file\r\n");
    const std::string key = office + "\\office.key";
    const std::string ask = "available=\"" + office + "\"";

    CHECK(process.Run("available=\"" + plain + "\" available=" + plain + "\\ available=C:\\none available=") ==
          Lines{"= 1", "= 1", "= 0", "= 0"});
    CHECK(process.Run(ask) == Lines{"3  Product 'TAVFRONTEND' supported on '" + office + "': key file '" + office +
                                        "\\setup\\TavSetup.cfg' found",
                                    "= 1"});
    CHECK(process.Run("/PRODUCT:Office " + ask) ==
          Lines{"3  Product 'Office' not supported on '" + office + "': key file '" + key + "' not found", "= 0"});
    kiv::test::WriteFileBytes(key, "");
    CHECK(process.Results("-product=Office " + ask) == Lines{"1"});
    CHECK(process.Results("/product:\"Office Two\" " + ask) == Lines{"0"});
    CHECK(process.Run("/product:Other " + ask) == Lines{"3  Product 'Other' not supported on '" + office + "'", "= 0"});
    CHECK(process.Results("/product:Office available=\"" + plain + "\"") == Lines{"0"});
}

TEST_CASE("without an answer the first available server is taken, and kept for the session") {
    ServerProcess process;
    const std::string second = process.MakeServer("second", "");
    process.WriteText("General", "InstServer", Joined(kFar, Joined(second + "\\", kNear)).c_str());
    CHECK(process.Results("path random path") == Lines{second, second, second});
    CHECK(process.Results("path session=\\\\b\\s\\ path random setup setup=C:\\x\\") ==
          Lines{second, "", "\\\\b\\s", second, "\\\\b\\s\\setup", "C:\\x\\setup"});
    CHECK(process.Results("session=C:\\own path session= path") == Lines{"", "C:\\own", "", second});
}

TEST_CASE("when no server is available the installer's own place is") {
    ServerProcess process;
    process.WriteText("General", "InstServer", kFar);
    const Lines lines = process.Run("path");
    REQUIRE(lines.size() >= 2);
    CHECK(lines[lines.size() - 2] == "1  No Server determined, using current dir");
    CHECK(lines.back() == "= " + process.Path());
    CHECK(process.ReadText("General", "InstServer") == kFar);
}

TEST_CASE("the fallback is written to the registry only when asked to") {
    ServerProcess process;
    process.Run("list persist=1 persist=0 list");
    CHECK(process.ReadText("General", "InstServer") == "(none)");
    process.Run("persist=1 list");
    CHECK(process.ReadText("General", "InstServer") == process.Path());
}

TEST_CASE("the Windows folder holds the workstation files themselves") {
    char windows[MAX_PATH];
    ::GetWindowsDirectoryA(windows, sizeof windows);
    ServerProcess process;
    ::CharUpperA(windows);
    CHECK(process.Results(std::string("setup=") + windows + "\\ setup=C:\\" + std::string(251, 'x') + " setup=C:\\" +
                          std::string(250, 'x')) ==
          Lines{std::string(windows) + "\\TAVwksta", "", "C:\\" + std::string(250, 'x') + "\\setup"});
}

TEST_CASE("host and share are kept from the first question on") {
    ServerProcess process;
    char computer[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = sizeof computer;
    ::GetComputerNameA(computer, &size);
    CHECK(process.Results("session=\\\\a\\s\\folder host share session=\\\\b\\t host share") ==
          Lines{"", "a", "s", "", "a", "s"});
    CHECK(process.Results("session=\\\\a share host") == Lines{"", "", "a"});
    CHECK(process.Results("session=C:\\x host share") == Lines{"", computer, "(null)"});
}

TEST_CASE("policies stand under the share's key, and are read from the plain one too") {
    ServerProcess process;
    char computer[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = sizeof computer;
    ::GetComputerNameA(computer, &size);
    const std::string unc = "session=\\\\" + std::string(computer) + "\\apps ";
    process.WriteText("Policies", "Plain", "p");
    CHECK(process.Results(unc + "policy=Plain policy=Missing") == Lines{"", "1 p", "0 "});
    CHECK(process.Results(unc + "setpolicy=Site:seven77 policy=Site policy=Plain") ==
          Lines{"", "1", "7 seven77", "0 "});
    CHECK(process.ReadText("Policies\\apps", "Site") == "seven77");
    CHECK(process.Results(unc + "setpolicy=Site:longer-text policy=Site") == Lines{"", "1", "7 longer-"});
    CHECK(process.Results("session=C:\\x setpolicy=Own:o policy=Own") == Lines{"", "1", "1 o"});
    CHECK(process.ReadText("Policies", "Own") == "o");
}

TEST_CASE("the workstation folder is made, hidden, marked and remembered") {
    ServerProcess process;
    const std::string base = process / "base";
    const std::string folder = base + "\\TAVwksta";
    CHECK(process.Results("wksta=" + base) == Lines{folder});
    CHECK(process.ReadText("General", "TAVwkstaPath") == folder);
    CHECK((::GetFileAttributesA(folder.c_str()) & FILE_ATTRIBUTE_HIDDEN) != 0);
    const std::string marker = folder + "\\__TAV.DIR";
    CHECK((::GetFileAttributesA(marker.c_str()) & FILE_ATTRIBUTE_HIDDEN) != 0);
    CHECK(kiv::test::ReadFileBytes(marker).empty());

    // The remembered path holds from then on; a configured folder is neither hidden nor marked.
    ::SetEnvironmentVariableA("KIV_BASE", base.c_str());
    process.WriteText("General", "TAVwkstaPath", "%KIV_BASE%\\deep\\er\\");
    CHECK(process.Results("wksta=C:\\elsewhere") == Lines{base + "\\deep\\er"});
    const DWORD attributes = ::GetFileAttributesA((base + "\\deep\\er").c_str());
    CHECK((attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN)) == FILE_ATTRIBUTE_DIRECTORY);
    CHECK(::GetFileAttributesA((base + "\\deep\\er\\__TAV.DIR").c_str()) == INVALID_FILE_ATTRIBUTES);
    CHECK(process.ReadText("General", "TAVwkstaPath") == "%KIV_BASE%\\deep\\er\\");
    CHECK(::GetFileAttributesA("C:\\elsewhere") == INVALID_FILE_ATTRIBUTES);

    process.WriteText("General", "TAVwkstaPath", ("C:\\" + std::string(300, 'x')).c_str());
    CHECK(process.Results("wksta=" + base) == Lines{""});
}
