// Executes the examples of the page about notifications, each of which takes two programs.

#include <string>

#include "support/check.h"
#include "support/document_page.h"
#include "support/run_program.h"
#include "support/temp_directory.h"

using kiv::test::BuiltProgram;
using kiv::test::StartedProgram;

TEST_CASE("two windows show what the page says") {
    const kiv::test::DocumentPage page("ipc.md");
    const kiv::test::TempDirectory folder;
    const std::string listening = page.BlockBehind("With this running in one window");
    const std::size_t arguments = listening.find(" ipc");
    const std::size_t end = listening.find('\n');
    StartedProgram listener(BuiltProgram("bin\\kivctl.exe") + listening.substr(arguments, end - arguments));
    kiv::test::RunKivctlExamples(page.BlockBehind("another one shows"), folder.Path());
    CHECK(listener.Finish().output == listening.substr(end + 1));
}

TEST_CASE("a program without the library joins in as the page says") {
    StartedProgram listener(BuiltProgram("tests\\ipc_example.exe"));
    CHECK(kiv::test::RunProgram(BuiltProgram("tests\\ipc_protocol_example.exe")).output == "4\n");
    CHECK(listener.Finish().output == "Install: stop\n");
}
