#include "support/windows_api.h"

#include <cstdio>
#include <string>

#include <nlohmann/json.hpp>

#include "support/check.h"
#include "support/run_program.h"
#include "support/temp_directory.h"
#include "support/version_block.h"
#include "tavkivut/file.h"
#include "tavkivut/system.h"

using kiv::test::ProgramResult;
using kiv::test::RunProgram;
using kiv::test::TempDirectory;

namespace {

ProgramResult Kivctl(const std::string& arguments) {
    return RunProgram("..\\bin\\kivctl.exe " + arguments);
}

struct Expected {
    std::string arguments;
    unsigned long exitCode;
    std::string output;
};

}  // namespace

TEST_CASE("kivctl file tells version, strings, size and type") {
    const TempDirectory folder;
    const auto own = static_cast<std::uint16_t>(::GetSystemDefaultLangID());
    const std::string block = kiv::test::VersionBlock(kiv::test::StandardVersion(
        {5, 50, 4134, 600}, {{own, 1200, {{"CompanyName", "the company"}, {"Comments", "a \"quoted\" one"}}}}));
    const std::string module = folder.Write("module.dll", kiv::test::ModuleWithVersion(block));
    const std::string text = folder.Write("a b.txt", "12345");
    const std::string quoted = "\"" + text + "\"";
    const Expected rows[] = {
        {"file version " + module, 0, "5.50.4134.600\n"},
        {"file version " + module + " --at-least 5.50", 0, "5.50.4134.600\n"},
        {"file version " + module + " --at-least 5.50.4134.601", 1, "5.50.4134.600\n"},
        {"file version --json --at-least 6 " + module, 1, "{\"version\":\"5.50.4134.600\",\"atLeast\":false}\n"},
        {"file strings " + module, 0, "CompanyName: the company\nComments: a \"quoted\" one\n"},
        {"file strings --json " + module + " Comments", 0, "{\"Comments\":\"a \\\"quoted\\\" one\"}\n"},
        {"file strings " + module + " Comments Other", 1, "Comments: a \"quoted\" one\n"},
        {"file size " + quoted, 0, "5\n"},
        {"file size --json " + quoted, 0, "{\"size\":5}\n"},
        {"file type " + module, 0, "1 library\n"},
        {"file type --json " + quoted, 0, "{\"type\":6,\"name\":\"other\"}\n"},
    };
    for (const Expected& row : rows) {
        CAPTURE(row.arguments);
        const ProgramResult result = Kivctl(row.arguments);
        CHECK(result.exitCode == row.exitCode);
        CHECK(result.output == row.output);
    }
}

TEST_CASE("kivctl file shows times as calendar fields") {
    const TempDirectory folder;
    const std::string path = folder.Write("a", "x");
    SYSTEMTIME time;
    REQUIRE(CKivFile::GetTimeStamp(path.c_str(), time, 2) == 0);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.wYear, time.wMonth, time.wDay, time.wHour,
                  time.wMinute, time.wSecond);
    CHECK(nlohmann::json::parse(Kivctl("file times --json " + path).output)["written"] == text);
    CHECK(Kivctl("file times " + path).output.find("written   " + std::string(text) + "\n") != std::string::npos);
}

TEST_CASE("kivctl file says what is wrong") {
    const ProgramResult missing = Kivctl("file size none");
    CHECK(missing.exitCode == 1);
    CHECK(missing.output.find("kivctl: 'none' cannot be read: ") == 0);
    CHECK(Kivctl("file strings none").output == "kivctl: 'none' does not exist\n");
    for (const char* arguments :
         {"file", "file version", "file version x --at-least 1x", "file version x --at-least 1.2.3.4.5", "system x"}) {
        CAPTURE(arguments);
        const ProgramResult result = Kivctl(arguments);
        CHECK(result.exitCode == 2);
        CHECK(result.output.find("Usage: ") != std::string::npos);
    }
}

TEST_CASE("kivctl system tells what the library knows") {
    const ProgramResult answer = Kivctl("system --json");
    CHECK(answer.exitCode == 0);
    const nlohmann::json facts = nlohmann::json::parse(answer.output);
    CHECK(facts["os"] == CKivSystem::GetOsVersionString());
    CHECK(facts["nt"] == (CKivSystem::IsNT() == 0));
    CHECK(facts["computer"] == CKivSystem::GetComputerNameA());
    CHECK(facts["session"] == KivGetSessionId(0));
    CHECK(facts["folders"]["temp"] == CKivSystem::GetTempDir());
    CHECK(facts["drives"]["C"] == "local");

    const std::string page = Kivctl("system").output;
    CHECK(page.find("Operating system  " + std::string(CKivSystem::GetOsVersionString()) + "\n") == 0);
    CHECK(page.find("\n  Windows         " + std::string(CKivSystem::GetWinDir()) + "\n") != std::string::npos);
}
