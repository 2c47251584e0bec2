// The rules of cabinets: which tables a decoder may follow, which names may become files.

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "files/cab_error.h"
#include "files/cab_name.h"
#include "support/cabinet_in_memory.h"
#include "support/check.h"
#include "support/document_table.h"

namespace {

using kiv::ReadingError;

std::string Load(const std::string& name) {
    std::ifstream file(std::string(std::getenv("KIV_TEST_DATA")) + "/cabinets/" + name, std::ios::binary);
    REQUIRE_MESSAGE(file, name);
    return {std::istreambuf_iterator<char>(file), {}};
}

ReadingError Check(const std::string& bytes) {
    kiv::test::CabinetInMemory cabinet(bytes);
    return kiv::CheckCabinet(cabinet);
}

bool NoLead(unsigned char) {
    return false;
}

bool JapaneseLead(unsigned char byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

}  // namespace

TEST_CASE("a cabinet is sound when everything its tables point to lies inside it") {
    std::istringstream verdicts(Load("verdicts.txt"));
    std::string line;
    std::getline(verdicts, line);  // the heading
    std::string name;
    int cabinets = 0;
    for (int error = 0; verdicts >> name >> error && std::getline(verdicts, line); ++cabinets) {
        CAPTURE(name);
        CHECK(static_cast<int>(Check(Load(name + ".cab"))) == error);
    }
    CHECK(cabinets > 40);
    const std::string whole = Load("sound_reserved_bytes.cab");
    for (std::size_t size = 0; size < whole.size(); ++size)
        CHECK(Check(whole.substr(0, size)) == (size < 36 ? ReadingError::kNotACabinet : ReadingError::kCorrupt));
}

TEST_CASE("a stored name becomes a file only where it stays below the folder and names no device") {
    for (const char* name : {"a", "a.txt", "sub\\a.txt", "sub/deep\\a b.c.d", ".hidden", "..a", "a..b", "nulls.txt",
                             "COM", "COM10", "com0", "lpt.x", "conout", "a\xE4.txt"}) {
        CAPTURE(name);
        CHECK(kiv::IsSafeStoredName(name, NoLead));
    }
    for (const char* name :
         {"",       ".",        "..",        "...",         "a.",        "a ",     " ",        "..\\a",
          "../a",   "a\\..\\b", "a/../../b", ".\\a",        "a\\.. \\b", "\\a",    "/a",       "\\\\host\\share\\a",
          "a\\\\b", "a\\",      "C:a",       "C:\\a",       "a:b",       "nul",    "NUL.txt",  "sub\\Con",
          "con .x", "aux\\a",   "com1",      "LPT9.tar.gz", "COM\xB9",   "CLOCK$", "conin$.x", "a*",
          "a?",     "a|b",      "a\"",       "a<b",         "a\tb"}) {
        CAPTURE(name);
        CHECK_FALSE(kiv::IsSafeStoredName(name, NoLead));
    }
    // A "\" in a two-byte character separates nothing; a lead byte in front of no second byte hides nothing.
    CHECK(kiv::IsSafeStoredName("\x95\x5C.txt", JapaneseLead));
    CHECK(kiv::IsSafeStoredName("\x95\x5C\x5C"
                                "a.txt",
                                JapaneseLead));
    CHECK_FALSE(kiv::IsSafeStoredName("\x95\x5C\x5C.txt", NoLead));
    CHECK_FALSE(kiv::IsSafeStoredName("a\x81/../b", JapaneseLead));
    CHECK_FALSE(kiv::IsSafeStoredName("a\x81:b", JapaneseLead));
}

TEST_CASE("a file is stored under its path behind the base, or under its name alone") {
    const struct {
        const char* file;
        const char* base;
        const char* name;
    } rows[] = {
        {"C:\\src\\bin\\a.dll", "C:\\src", "bin\\a.dll"},
        {"C:\\SRC\\bin\\a.dll", "c:\\src\\", "bin\\a.dll"},
        {"C:\\src\\bin\\a.dll", "C:\\sr", "c\\bin\\a.dll"},
        {"C:\\src\\bin\\a.dll", "", "a.dll"},
        {"C:\\src\\bin\\a.dll", "D:\\src", "a.dll"},
        {"C:\\src\\\\a.dll", "C:\\src", "\\a.dll"},
        {"a.dll", "", "a.dll"},
        {"C:/src/a.dll", "", "C:/src/a.dll"},
        {"C:\\a.dll", "C:\\a.dll", ""},
        {"C:\\x\\\x95\x5C.txt", "", "\x95\x5C.txt"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.file);
        CHECK(kiv::NameInArchive(row.file, row.base, JapaneseLead) == row.name);
    }
    for (const char* name : {"tavcab02.tmp", "TAVCAB99.TMP", "tavcabxy.tmp"})
        CHECK(kiv::IsContinuationName(name));
    for (const char* name : {"tavcab2.tmp", "tavcab.tmp", "tavcab100.tmp", "tavcab02.tmpx", "xavcab02.tmp"})
        CHECK_FALSE(kiv::IsContinuationName(name));
}

TEST_CASE("errors have the texts of their page") {
    for (const auto& row : kiv::test::DocumentTable("cabinets.md", "Number")) {
        CHECK(kiv::CabErrorText(std::stoi(row[0]), true) == row[1]);
        CHECK(kiv::CabErrorText(std::stoi(row[0]), false) == row[2]);
    }
    for (const int unknown : {-1, 12})
        CHECK(kiv::CabErrorText(unknown, false) == std::string("Unknown error"));
}
