// Executes the examples of the page about the services file. They write the system's own, so this runs in a Wine prefix
// of the build folder only.

#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/document_page.h"
#include "support/parsed_services.h"
#include "support/run_program.h"
#include "support/temp_directory.h"
#include "tavkivut/net_services.h"

using kiv::test::BuiltProgram;
using kiv::test::DocumentPage;

TEST_CASE("the services file is what its page says") {
    const DocumentPage page("services-file.md");
    for (const DocumentPage::Row& row : page.Table({"Line"})) {
        CAPTURE(row[0]);
        CHECK((kiv::test::ParsedServices(row[0]).Shown() == row[1] + "\n" &&
               kiv::test::ParsedServices(row[0]).Written() == row[2] + "\r\n"));
    }
    const std::string file = CKivNetServiceConfig::getFileName();
    kiv::test::WriteFileBytes(file, page.BlockBehind("With a file of these lines"));
    CHECK(kiv::test::RunProgram(BuiltProgram("tests\\services_file_example.exe")).output == "saved\n");
    kiv::test::RunKivctlExamples(page.BlockBehind("`kivctl` answers"), kiv::test::TempDirectory().Path());
}
