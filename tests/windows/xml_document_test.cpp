// Executes the examples of the page about XML documents.

#include <string>

#include "support/check.h"
#include "support/document_page.h"
#include "support/run_program.h"
#include "support/temp_directory.h"

TEST_CASE("XML documents are what their page says") {
    const kiv::test::DocumentPage page("xml.md");
    std::string document;
    for (const char c :
         page.BlockBehind("Every document begins alike") + page.BlockBehind("Behind the beginning above"))
        document += c == '\n' ? "\r\n" : std::string(1, c);
    const kiv::test::TempDirectory folder;
    CHECK(kiv::test::RunProgram(kiv::test::BuiltProgram("tests\\xml_example.exe") + " " + folder / "c.xml").exitCode ==
          0);
    folder.Write("inventory.txt", "\xEF\xBB\xBF" + page.BlockBehind("With `inventory.txt` as"));
    folder.Write("inventory.json", page.BlockBehind("with `inventory.json` as"));
    folder.Write("wrong.txt", "inventory site=\"here\n");
    kiv::test::RunKivctlExamples(page.BlockBehind("and `wrong.txt` holding"), folder.Path());
    for (const char* name : {"a.xml", "b.xml", "c.xml"})
        CHECK(kiv::test::ReadFileBytes(folder / name) == document);
}
