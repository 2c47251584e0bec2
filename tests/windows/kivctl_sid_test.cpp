#include "support/windows_api.h"

#include <string>

#include <nlohmann/json.hpp>

#include "support/check.h"
#include "support/run_program.h"
#include "tavkivut/security.h"

using kiv::test::ProgramResult;

namespace {

ProgramResult Kivctl(const std::string& arguments) {
    return kiv::test::RunProgram("..\\bin\\kivctl.exe " + arguments);
}

}  // namespace

TEST_CASE("kivctl shows accounts as they were read") {
    CKivSid user = CKivSid::FromProcessUser(::GetCurrentProcess());
    const std::string shown = std::string(user) + "  " + user.GetDomain() + "\\" + user.GetName() + "\n";
    const struct {
        std::string arguments;
        unsigned long exitCode;
        std::string output;
    } rows[] = {
        {"sid Administrators S-1-5-18", 0, "S-1-5-32-544  BUILTIN\\Administrators\nS-1-5-18  NT AUTHORITY\\SYSTEM\n"},
        {"sid S-1-9-x", 0, "kivctl: 'S-1-9-x' reads as S-1-9-0\nS-1-9-0\n"},
        {"sid S-1-1-0 --json", 0, "[{\"sid\":\"S-1-1-0\",\"domain\":\"\",\"name\":\"Everyone\"}]\n"},
        {"sid --of process", 0, shown},
        {"sid --of thread", 0, shown},
        {"sid --of token", 0, shown},
        {"right --dry-run .\\" + std::string(user.GetName()) + " SeAny", 0, "would grant SeAny to " + shown},
        {"right --dry-run S-1-9-7 SeAny", 1, "kivctl: S-1-9-7 stands for no account of this machine\n"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.arguments);
        const ProgramResult result = Kivctl(row.arguments);
        CHECK(result.exitCode == row.exitCode);
        CHECK(result.output == row.output);
    }
    CHECK(Kivctl("sid").exitCode == 2);
    const ProgramResult one = Kivctl("sid nobody S-1-9");
    CHECK(one.exitCode == 1);
    CHECK(one.output.find("kivctl: no account 'nobody': ") == 0);
    CHECK(one.output.find("(1332)\nS-1-9\n") != std::string::npos);

    const nlohmann::json token = nlohmann::json::parse(Kivctl("token --json").output);
    CHECK(token["user"]["sid"] == std::string(user));
    CHECK(token["type"] == "primary");
    CHECK_FALSE(token["groups"].empty());
    CHECK(token["privileges"] == nlohmann::json::parse(Kivctl("privilege --json").output));
    CHECK(Kivctl("privilege").output.find("SeShutdownPrivilege  disabled\n") != std::string::npos);
}
