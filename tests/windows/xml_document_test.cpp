// Executes the examples of the page about XML documents.

#include <string>

#include "support/check.h"
#include "support/document_page.h"
#include "support/run_program.h"
#include "support/temp_directory.h"
#include "support/windows_api.h"

namespace {

using kiv::test::BuiltProgram;
using kiv::test::DocumentPage;
using kiv::test::ReadFileBytes;
using kiv::test::RunProgram;
using kiv::test::TempDirectory;

std::string WithCr(const std::string& text) {
    std::string lines;
    for (const char c : text)
        lines += c == '\n' ? "\r\n" : std::string(1, c);
    return lines;
}

kiv::test::ProgramResult KivctlXml(const std::string& arguments) {
    return RunProgram(BuiltProgram("bin\\kivctl.exe") + " xml " + arguments);
}

}  // namespace

TEST_CASE("XML documents are what their page says") {
    const DocumentPage page("xml.md");
    const std::string document =
        WithCr(page.BlockBehind("Every document begins alike") + page.BlockBehind("Behind the beginning above"));
    const TempDirectory folder;
    const auto example = RunProgram(BuiltProgram("tests\\xml_example.exe") + " " + folder / "example.xml");
    CHECK(example.exitCode == 0);
    CHECK(ReadFileBytes(folder / "example.xml") == document);
    folder.Write("inventory.txt", "\xEF\xBB\xBF" + page.BlockBehind("With `inventory.txt` as"));
    folder.Write("inventory.json", page.BlockBehind("with `inventory.json` as"));
    folder.Write("wrong.txt", "inventory site=\"here\n");
    kiv::test::RunKivctlExamples(page.BlockBehind("and `wrong.txt` holding"), folder.Path());
    CHECK(ReadFileBytes(folder / "a.xml") == document);
    CHECK(ReadFileBytes(folder / "b.xml") == document);
    for (const DocumentPage::Row& row : page.Table({"Character", "Written as"})) {
        const bool isCode = row[0].compare(0, 5, "code ") == 0;
        const std::string character(1,
                                    isCode ? static_cast<char>(std::stoi(row[0].substr(5), nullptr, 16)) : row[0][0]);
        const std::string source = folder.Write("one.txt", "a | x" + character + "y");
        const std::string shown = KivctlXml(source).output;
        CHECK(shown.find("\t<a>x" + row[1] + "y</a>\n") != std::string::npos);
    }
}

TEST_CASE("kivctl xml writes nothing that a reader would not take") {
    const TempDirectory folder;
    const std::string target = folder.Write("a.xml", "before");
    const auto exitCode = [&](const std::string& name, const std::string& source) {
        const std::string file = folder.Write(name, source);
        return KivctlXml(file + " " + target).exitCode;
    };
    for (const char* source : {"", "a\nb", "| text", "1a", "a b", "a b=c", "a b=\"1\" b=\"2\"", "a b=\"1\t2\"",
                               "a\n # x--y", "a\n ! ]]>", "a | \x01", "a | \x80", "a/>"}) {
        CAPTURE(source);
        CHECK(exitCode("source.txt", source) == 1);
    }
    for (const char* source : {"{", "{}", "[]", "3", "{\"name\":\"a\",\"children\":[null]}", "{\"name\":\"a\",\"x\":1}",
                               "{\"name\":\"a\",\"children\":[\"\\u20ac\"]}"}) {
        CAPTURE(source);
        CHECK(exitCode("source.json", source) == 1);
    }
    CHECK(ReadFileBytes(target) == "before");
    REQUIRE(::SetFileAttributesA(target.c_str(), FILE_ATTRIBUTE_READONLY));
    CHECK(exitCode("source.txt", "# c\na\n  b\n c\n   | 1\n   | 2\n d k='\"' | 3\n") == 0);
    CHECK((::GetFileAttributesA(target.c_str()) & FILE_ATTRIBUTE_READONLY) != 0);
    const std::string written = ReadFileBytes(target);
    CHECK(written.substr(written.find(" ]>")) ==
          " ]>\r\n \r\n\t\t<!-- c -->\r\n\t<a>\r\n\t\t<b />\r\n\t\t<c>\r\n\t\t 1\r\n\t\t\t2\r\n"
          "\t\t</c>\r\n\t\t<d k=\"&quot;\">\r\n\t\t 3\r\n\t\t</d>\r\n\t</a>\r\n");
    CHECK(KivctlXml(folder / "source.txt" + " " + folder.Path()).exitCode == 1);
}
