// Executes the examples of the page about the services file. They write the system's own, so this runs in a Wine prefix
// of the build folder only.

#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/document_page.h"
#include "support/run_program.h"
#include "support/temp_directory.h"
#include "tavkivut/net_services.h"

namespace {

using kiv::test::BuiltProgram;
using kiv::test::DocumentPage;

struct Steps : CKivNetServiceConfig {
    static std::string Shown(const NETSERVICE& entry) {
        std::string shown;
        if (entry.name != nullptr)
            shown = "[" + std::string(entry.name) + "] " + std::to_string(entry.port) + " [" + entry.protocol + "]";
        for (int i = 0; i < entry.aliasCount; ++i)
            shown += " [" + std::string(entry.aliases[i]) + "]";
        const std::string comment = entry.comment == nullptr ? "" : std::string("#") + entry.comment;
        return shown + (shown.empty() || comment.empty() ? "" : " ") + comment;
    }

    static void CheckRow(const DocumentPage::Row& row) {
        CAPTURE(row[0]);
        NETSERVICE* entry = parseServiceConfigEntry(row[0].c_str());
        REQUIRE(entry != nullptr);
        CHECK(Shown(*entry) == row[1]);
        NETSERVICEWIDTHS widths{};
        getPrettyPrinterInfo({&entry, 1, 1}, widths);
        char line[200];
        CHECK(std::string(line, createServiceConfigEntry(entry, widths, line)) == row[2]);
    }
};

}  // namespace

TEST_CASE("the services file is what its page says") {
    const DocumentPage page("services-file.md");
    for (const DocumentPage::Row& row : page.Table({"Line"}))
        Steps::CheckRow(row);
    const std::string file = CKivNetServiceConfig::getFileName();
    kiv::test::WriteFileBytes(file, page.BlockBehind("With a file of these lines"));
    CHECK(kiv::test::RunProgram(BuiltProgram("tests\\services_file_example.exe")).output == "saved\n");
    kiv::test::RunKivctlExamples(page.BlockBehind("`kivctl` answers"), kiv::test::TempDirectory().Path());
}
