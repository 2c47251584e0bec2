// Executes the examples of the pages about formats.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/document_page.h"
#include "support/run_program.h"
#include "support/temp_directory.h"
#include "tavkivut/cabinet.h"
#include "tavkivut/crc32.h"
#include "tavkivut/line_file.h"
#include "tavkivut/reg_exp.h"
#include "tavkivut/security.h"

namespace {

using kiv::test::BuiltProgram;
using kiv::test::DocumentPage;
using kiv::test::RunProgram;
using kiv::test::TempDirectory;

std::string Replaced(CRegExp& compiled, const std::string& replacement) {
    std::vector<char> text(compiled.GetReplaceString(replacement.c_str(), nullptr, 0) + 1);
    compiled.GetReplaceString(replacement.c_str(), text.data(), static_cast<unsigned>(text.size()));
    return text.data();
}

std::string Hex(unsigned long crc) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lx", crc);
    return text;
}

// The text that a page writes with "\\r" and "\\n".
std::string Unescaped(std::string text) {
    for (std::size_t at = 0; (at = text.find('\\', at)) != std::string::npos; ++at)
        text.replace(at, 2, text[at + 1] == 'r' ? "\r" : "\n");
    return text;
}

std::string Lines(CKivIsamFile& file) {
    std::string lines;
    wchar_t line[16];
    for (long i = 0; i < file.lines(); ++i) {
        const long length = file.get(i, line, 16);
        lines += "[" + std::string(line, line + length) + "]";
    }
    return lines;
}

}  // namespace

TEST_CASE("regular expressions find what their page says") {
    const DocumentPage page("regular-expressions.md");
    const std::string brackets = "[&][\\1][\\2]";
    for (const DocumentPage::Row& row : page.Table({"Pattern", "Text"})) {
        CAPTURE(row[0]);
        const bool hasOffset = row[2].find_first_not_of("-0123456789") == std::string::npos;
        CRegExp compiled;
        REQUIRE(compiled.RegComp(row[0].c_str()) != nullptr);
        const int offset = compiled.RegFind(row[1].c_str());
        CHECK((hasOffset ? std::to_string(offset) == row[2] : offset >= 0));
        CHECK(Replaced(compiled, hasOffset ? brackets : row[2]) == row[3]);
    }
    for (const DocumentPage::Row& row : page.Table({"Wrong pattern"}))
        CHECK(CRegExp().RegComp(row[0].c_str()) == nullptr);
    CHECK(RunProgram(BuiltProgram("tests\\regular_expressions_example.exe")).output == page.BlockBehind("prints"));
    const TempDirectory folder;
    const std::string file = folder.Write("settings.txt", page.BlockBehind("With `settings.txt` as"));
    kiv::test::RunKivctlExamples(page.BlockBehind("`kivctl` answers"), folder.Path());
    CHECK(kiv::test::ReadFileBytes(file) == "Host=far\nProduct=Office\nHost=near\n");
}

TEST_CASE("access lists are read and written again as their page says") {
    for (const DocumentPage::Row& row : DocumentPage("acl-text.md").Table({"Text", "Written again"})) {
        CAPTURE(row[0]);
        CKivAcl acl;
        acl = row[0].c_str();
        const char* const text = acl;
        CHECK((text == nullptr ? "no list" : text) == row[1]);
    }
}

TEST_CASE("line files are what their page says") {
    const DocumentPage page("line-files.md");
    const TempDirectory folder;
    const std::string path = folder / "setup.txt";
    const std::wstring wide(path.begin(), path.end());
    for (const DocumentPage::Row& row : page.Table({"File", "Lines"})) {
        CAPTURE(row[0]);
        kiv::test::WriteFileBytes(path, Unescaped(row[0]));
        CKivIsamFile written(wide.c_str(), false);
        CHECK(Lines(written) == row[1]);
        written.close();
        CHECK(kiv::test::ReadFileBytes(path) == Unescaped(row[2]));
    }
    for (const DocumentPage::Row& row : page.Table({"Text"})) {
        CAPTURE(row[0]);
        const std::string text = Unescaped(row[0]);
        CKivIsamFile file(wide.c_str(), false);
        CHECK((file.empty() && file.append(text.c_str()) && Lines(file) == row[1]));
        CHECK((file.empty() && Lines(file << std::wstring(text.begin(), text.end()).c_str()) == row[2]));
    }
    folder.Write("setup.txt", "[App]\nSize=1");
    const std::string program = BuiltProgram("tests\\line_files_example.exe");
    CHECK(kiv::test::OutputIn(folder.Path(), program) == page.BlockBehind("it prints"));
    kiv::test::RunKivctlExamples(page.BlockBehind("as the program left it"), folder.Path());
}

TEST_CASE("checksums and signatures are what their page says") {
    const DocumentPage page("signatures.md");
    for (const DocumentPage::Row& row : page.Table({"Text", "CRC-32"})) {
        unsigned long crc = 0;
        CKivCrc32::FromString(row[0].c_str(), crc);
        CHECK(Hex(crc) == row[1]);
    }
    const TempDirectory folder;
    const std::string file = folder.Write("app.cfg", "123456789");
    kiv::test::RunKivctlExamples(page.BlockBehind("With `app.cfg` holding"), folder.Path());
    folder.Write("app.cfg", "12345678");
    const auto example = RunProgram(BuiltProgram("tests\\signatures_example.exe") + " " + file);
    CHECK((example.output == "0x9ae0daaf\n" && example.exitCode == 0));
    const std::string verify = BuiltProgram("bin\\kivctl.exe") + " crc verify " + file;
    CHECK(RunProgram(verify).exitCode == 0);
    folder.Write("app.cfg", "changed");
    CHECK(RunProgram(verify).exitCode == 1);
}

TEST_CASE("cabinets are what their page says") {
    struct Texts : CKivCabArchive {
        using CKivCabArchive::GetCabError;
    };
    const DocumentPage page("cabinets.md");
    for (const DocumentPage::Row& row : page.Table({"Number", "Making", "Reading"})) {
        CHECK(Texts().GetCabError(std::stoi(row[0]), 1) == row[1]);
        CHECK(Texts().GetCabError(std::stoi(row[0]), 0) == row[2]);
    }
    for (const int unknown : {-1, 12})
        CHECK(Texts().GetCabError(unknown, 0) == std::string("Unknown error"));
    const TempDirectory folder;
    const std::string file = folder.Write("readme.txt", "sixteen letters.");
    folder.Write("app.cab",
                 kiv::test::ReadFileBytes(std::string(std::getenv("KIV_TEST_DATA")) + "/cabinets/sound_mszip.cab"));
    kiv::test::RunKivctlExamples(page.BlockBehind("From the command line"), folder.Path());
    const std::string program = BuiltProgram("tests\\cabinets_example.exe");
    const auto example =
        RunProgram(program + " " + (folder / "example.cab") + " " + file + " " + (folder / "by_program"));
    CHECK(example.output == page.BlockBehind("prints, for a file"));
    CHECK(kiv::test::ReadFileBytes(folder / "by_program\\docs\\readme.txt") == "sixteen letters.");
}

TEST_CASE("kivctl regexp takes files line by line and leaves the rest alone") {
    const TempDirectory folder;
    const std::string mixed = "a1b22\r\n\r\n^3\nlast\rx44";
    const std::string file = folder.Write("mixed.txt", mixed);
    const auto kivctl = [](const std::string& arguments) {
        return RunProgram(BuiltProgram("bin\\kivctl.exe") + " regexp " + arguments);
    };
    const std::pair<const char*, const char*> rows[] = {
        {"[0-9]+ <&>", "a<1>b<22>\r\n\r\n^<3>\nlast\rx<44>"},
        {"x* -", "-a-1-b-2-2-\r\n-\r\n-^-3-\n-l-a-s-t-\r-4-4-"},
        {"$ .", "a1b22.\r\n.\r\n^3.\nlast.\rx44."},
        {"\"^.\" \"\"", "1b22\r\n\r\n3\nast\r44"},
    };
    kiv::test::CheckRows(rows, [&](const std::string& arguments) {
        kiv::test::WriteFileBytes(file, mixed);
        CHECK(kivctl("replace " + arguments + " " + file).exitCode == 0);
        return kiv::test::ReadFileBytes(file);
    });
    CHECK((kivctl("find y " + file).exitCode == 1 && kivctl("match \"(\" x").exitCode == 2));
    CHECK(kivctl("match --json \"(a|b)+\" xab").output ==
          "{\"offset\":1,\"length\":2,\"text\":\"ab\",\"groups\":[\"b\",\"\",\"\",\"\",\"\",\"\",\"\",\"\",\"\"]}\n");
    const std::string wide = folder.Write("wide.txt", std::string("a\0b\0", 4));
    CHECK((kivctl("replace b c " + wide).exitCode == 1 && kiv::test::ReadFileBytes(wide).size() == 4));
}
