// The choice over real echoes: the servers of tests/support/network-test answer, lose and keep silent.

#include <string>

#include <nlohmann/json.hpp>

#include "support/check.h"
#include "support/run_program.h"
#include "support/windows_api.h"
#include "windows/server_process.h"

using kiv::test::ServerProcess;
using Lines = ServerProcess::Lines;

namespace {

constexpr const char* kFar = "\\\\127.0.1.1\\apps";
constexpr const char* kNear = "\\\\127.0.1.2\\apps";
constexpr const char* kNearest = "\\\\127.0.1.3\\apps";
constexpr const char* kLosing = "\\\\127.0.1.4\\apps";
constexpr const char* kSilent = "\\\\127.0.1.5\\apps";

// An installer whose list has these servers. The nearest serves another product only.
class Installer : public ServerProcess {
public:
    Installer(std::initializer_list<const char*> servers, bool evaluateAll) {
        for (const char* server : {kFar, kNear, kLosing, kSilent})
            kiv::test::MakeServerFolder(server, "[Products]\r\nOffice=%TAVSrcDir%\\setup\\TavSetup.cfg\r\n");
        kiv::test::MakeServerFolder(kNearest, "[Products]\r\nOther=%TAVSrcDir%\\setup\\TavSetup.cfg\r\n");
        std::string list;
        for (const char* server : servers)
            list += (list.empty() ? "" : ";") + std::string(server);
        WriteConfig("[General]\r\nInstServer=" + list + "\r\n");
        WriteNumber("Policies", "LbEvaluateAllResponses", evaluateAll ? 1 : 0);
    }
};

}  // namespace

TEST_CASE("waiting for all, the near server beats the far one; losing, silent and lacking ones never win") {
    const Installer process({kFar, kSilent, kLosing, kNearest, kNear}, true);
    CHECK(process.Results("/product:Office choosetwice") == Lines{kNear});
}

TEST_CASE("waiting for any, the first to finish is taken") {
    const Installer process({kFar, kSilent, kNear}, false);
    CHECK(process.Results("/product:Office choosetwice") == Lines{kNear});
}

TEST_CASE("waiting for any, a first finisher without the product leaves the choice to the list's order") {
    const Installer process({kNearest, kNearest, kFar}, false);
    CHECK(process.Results("/product:Office choose path") == Lines{"0 ", kFar});
}

TEST_CASE("a host that answers is alive, a name that does not resolve is not") {
    const Installer process({kFar}, false);
    CHECK(process.Results(std::string("alive=") + kFar + " alive=127.0.1.4 alive=no-such-host") ==
          Lines{"1", "1", "0"});
}

TEST_CASE("kivctl keeps the list, measures it and chooses from it") {
    const Installer servers({kFar}, false);  // for the servers' folders
    const auto kivctl = [](const std::string& arguments) {
        return kiv::test::RunProgram("..\\bin\\kivctl.exe server " + arguments);
    };
    const std::string nearby = kNear;
    CHECK(kivctl("add " + nearby).exitCode == 0);
    CHECK(kivctl("add " + nearby + "\\").output == "listed already\n");
    CHECK(kivctl("add " + std::string(kSilent)).output == "list in the registry: " + nearby + ";" + kSilent + "\n");
    CHECK(kivctl("list").output == "0  available      " + nearby + "\n1  available      " + kSilent + "\n");
    CHECK(kivctl("pick /product:Office").output == nearby + "\n");
    CHECK(kivctl("pick --product Office").exitCode == 2);

    const auto measured = nlohmann::json::parse(kivctl("probe --json --count 2 --timeout 300").output);
    REQUIRE(measured.size() == 2);
    CHECK(measured[0]["answered"] == 2);
    CHECK(measured[0]["averageMilliseconds"] >= 40);
    CHECK(measured[1]["answered"] == 0);
    CHECK(kivctl("probe --timeout 300 " + std::string(kSilent)).exitCode == 1);

    CHECK(kivctl("remove " + std::string(kSilent)).output == "list in the registry: " + nearby + "\n");
    CHECK(kivctl("remove 1").exitCode == 1);
    CHECK(kivctl("policy set Site here").exitCode == 1);  // 127.0.1.2 is no computer's name
}
