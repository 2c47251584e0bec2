// The choice over real echoes: the servers of tests/support/network-test answer, lose and keep silent.

#include <string>

#include "support/check.h"
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
