// Executes the examples of the page about notifications, each of which takes two programs.

#include <cstddef>
#include <string>

#include "support/check.h"
#include "support/document_page.h"
#include "support/run_program.h"
#include "support/temp_directory.h"
#include "system/ipc_block.h"

namespace {

using kiv::test::BuiltProgram;
using kiv::test::DocumentPage;
using kiv::test::ProgramResult;
using kiv::test::RunProgram;
using kiv::test::StartedProgram;
using kiv::test::TempDirectory;

std::string Kivctl(const std::string& arguments) {
    return "\"" + BuiltProgram("bin\\kivctl.exe") + "\" " + arguments;
}

}  // namespace

TEST_CASE("two windows show what the page says") {
    const DocumentPage page("ipc.md");
    const TempDirectory folder;
    const std::string listening = page.BlockBehind("With this running in one window");
    const std::size_t command = std::string("> kivctl ").size();
    const std::size_t end = listening.find('\n');
    StartedProgram listener(Kivctl(listening.substr(command, end - command)));
    kiv::test::RunKivctlExamples(page.BlockBehind("another one shows"), folder.Path());
    CHECK(listener.Finish().output == listening.substr(end + 1));
}

TEST_CASE("a program without the library joins in as the page says") {
    StartedProgram listener("\"" + BuiltProgram("tests\\ipc_example.exe") + "\"");
    CHECK(RunProgram("\"" + BuiltProgram("tests\\ipc_protocol_example.exe") + "\"").output == "4\n");
    const ProgramResult listened = listener.Finish();
    CHECK(listened.output == "Install: stop\n");
    CHECK(listened.exitCode == 0);
    const DocumentPage page("ipc.md");
    const char* const names[] = {kiv::kIpcLockName,          kiv::kIpcBlockName,        kiv::kIpcSourceAliveName,
                                 kiv::kIpcListenerAliveName, kiv::kIpcNotificationName, kiv::kIpcResponseName};
    const auto objects = page.Table({"Object", "Name"});
    REQUIRE(objects.size() == 6);
    for (std::size_t i = 0; i < objects.size(); ++i)
        CHECK(objects[i][1] == names[i]);
    std::size_t offset = 0;
    for (const DocumentPage::Row& row : page.Table({"Offset", "Bytes"})) {
        CHECK(std::stoul(row[0]) == offset);
        offset += std::stoul(row[1]);
    }
    CHECK(offset == sizeof(kiv::IpcBlock));
}

TEST_CASE("kivctl ipc listen runs a command for each notification") {
    const TempDirectory folder;
    const std::string script =
        folder.Write("run.cmd", "@if \"%KIVCTL_NAME%: %KIVCTL_TEXT%\"==\"Install: a & b\" exit 5\r\n@exit 6\r\n");
    StartedProgram listener(Kivctl("ipc listen --name Install --count 2 --json -- cmd /c " + script));
    CHECK(RunProgram(Kivctl("ipc send Other x")).exitCode == 1);
    CHECK(RunProgram(Kivctl("ipc send Install \"a & b\"")).output == "5\n");
    CHECK(RunProgram(Kivctl("ipc send Install other")).output == "6\n");
    const ProgramResult listened = listener.Finish();
    CHECK(listened.output == "{\"name\":\"Install\",\"text\":\"a & b\",\"response\":5}\n"
                             "{\"name\":\"Install\",\"text\":\"other\",\"response\":6}\n");
    CHECK(listened.exitCode == 0);
    CHECK(RunProgram(Kivctl("ipc listen --timeout 0")).exitCode == 1);
    CHECK(RunProgram(Kivctl("ipc send x --timeout 0")).exitCode == 1);
    CHECK(RunProgram(Kivctl("ipc send " + std::string(128, 'x'))).exitCode == 2);
}
