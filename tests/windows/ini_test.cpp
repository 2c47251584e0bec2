#include "support/windows_api.h"

#include <set>
#include <string>

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"
#include "tavkivut/ini.h"
#include "tavkivut/registry.h"

using kiv::test::ReadFileBytes;
using kiv::test::ScratchKey;
using kiv::test::TempDirectory;

static_assert(sizeof(CIniKey) == 4 * sizeof(void*));  // the table of the virtual destructor, then the three texts

namespace {

// The values of a key by name: " name=10" for a number, " name:text" for a text; "none" when there is no such key.
std::string Values(const std::string& path) {
    CKivRegKey key(nullptr, path.c_str(), nullptr, KEY_READ);
    if (static_cast<HKEY>(key) == nullptr)
        return "none";
    std::set<std::string> values;
    for (auto at = key.beginValues(); at != key.end(); ++at) {
        CKivRegValue value = *at;
        values.insert(std::string(" ") + at.getName() + (value.getType() == REG_DWORD ? "=" : ":") +
                      static_cast<const char*>(value));
    }
    std::string shown;
    for (const std::string& value : values)
        shown += value;
    return shown;
}

// Imports a file with these bytes below a key that holds a few settings of its own; gives the values of one subkey.
std::string Imported(const std::string& bytes, const std::string& subkey, DWORD attributes = FILE_ATTRIBUTE_NORMAL) {
    const TempDirectory folder;
    const ScratchKey base;
    for (const char* const held : {"", "\\S", "\\S\\deep\\deeper", "\\t", "\\Other"}) {
        CKivRegKey key;
        REQUIRE(key.create((base.Path() + held).c_str()));
        key["old"] = "x";
    }
    const std::string file = folder.Write("a.ini", bytes);
    ::SetFileAttributesA(file.c_str(), attributes);
    WriteInifileToHkey(base.Path().c_str(), file.c_str());
    CHECK(Values(base.Path()) == " old:x");
    CHECK(Values(base.Path() + "\\Other") == " old:x");
    return Values(base.Path() + "\\" + subkey);
}

std::string Utf16(const std::string& text, bool bigEndian) {
    std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : text)
        bytes += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
    return bytes;
}

}  // namespace

TEST_CASE("an entry is read, tested, written and removed") {
    const TempDirectory folder;
    const std::string file = folder.Write("a.ini", "[A]\r\nx=1\r\n[S]\r\nk=\r\nv=quoted\r\nq=\"x\"\r\n");
    CIniKey key(file.c_str(), "S", "k");
    char buffer[16] = "x";
    // The result and the text, with room for so many characters.
    const auto read = [&](const char* name, unsigned long room) {
        key.SetKeyName(name);
        buffer[0] = 'x';
        const int result = key.GetValue(buffer, room);
        return std::to_string(result) + buffer;
    };
    CHECK((read("k", sizeof buffer) == "1" && read("q", sizeof buffer) == "1x" && read("missing", 16) == "1"));
    CHECK((read("v", 8) == "1quoted" && read("v", 7) == "0quoted"));  // may have been cut
    CHECK((read("v", 3) == "0qu" && read("v", 1) == "0"));
    CHECK((key.GetValue(nullptr, 0) == 1 && key.GetValue(nullptr, 10) == 0));

    key.SetKeyName("missing");
    CHECK((key.Remove() == 1 && key.SetValue("new") == 1 && key.SetValue(nullptr) == 1 && key.Exist() == 0));
    for (const char* const name : {"k", "q", "v"}) {  // the last entry takes the section with it
        CHECK(ReadFileBytes(file).find("[S]") != std::string::npos);
        key.SetKeyName(name);
        CHECK(key.Remove() == 1);
    }
    CHECK(ReadFileBytes(file).find("[S]") == std::string::npos);
    CHECK(ReadFileBytes(file).find("x=1") != std::string::npos);
}

TEST_CASE("an entry that is not named whole, or holds a line break, is never written; copies own their texts") {
    const TempDirectory folder;
    const std::string file = folder.Write("a.ini", "[S]\r\nk=1\r\n");
    const char* const path = file.c_str();
    char buffer[16];
    for (CIniKey key : {CIniKey(), CIniKey(nullptr, "S", "k"), CIniKey(path, nullptr, "k"), CIniKey(path, "S")}) {
        CHECK((key.Exist() == 0 && key.GetValue(buffer, sizeof buffer) == 0));
        CHECK((key.SetValue("x") == 0 && key.Remove() == 0));
    }
    CHECK((CIniKey(path, "S\n[T", "k").SetValue("x") == 0 && CIniKey(path, "S", "k\rl").Remove() == 0));
    CHECK(ReadFileBytes(file) == "[S]\r\nk=1\r\n");

    CIniKey first("file", "section", "key");
    CIniKey second(first);
    first.SetIniFile(nullptr);
    CHECK(first.GetIniFile() == nullptr);
    first = second;
    second.SetKeyName(second.GetSectionName() + 3);
    CHECK((second.GetKeyName() == std::string("tion") && first.GetKeyName() == std::string("key")));
    CHECK(std::string(first.GetIniFile()) == "file");
}

TEST_CASE("an import replaces the subkeys that a file names") {
    const std::string text = "stray=1\r\n[S]\r\na=10\r\nb=0x1F\r\nc=abc\r\nd=-1\r\ne=0xFFFFFFFF\r\n;f=1\r\nplain\r\n"
                             " g = x=y \r\nh=\r\ni=\"1\"\r\nj=007\r\n";
    const std::string values = " a=10 b=31 c:abc d:-1 e:0xFFFFFFFF g:x=y h: i:\"1\" j=7";
    CHECK(Imported(text, "S", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN) == values);
    CHECK(Imported("\xEF\xBB\xBF" + text, "S") == values);
    CHECK((Imported(Utf16(text, false), "S") == values && Imported(Utf16(text, true), "S") == values));
    CHECK(Imported(text, "S\\deep") == "none");
    CHECK(Imported("[T]\r\na=1\r\n", "t") == " a=1 old:x");  // another case: filled up
    CHECK(Imported("[E]\r\n", "E").empty());
    CHECK(Imported("[r]\r\nc=3\r\n[r]\r\nc=4\r\n", "r") == " c=3");
    CHECK(Imported("[p\\q]\r\na=1\r\n[p]\r\nb=2\r\n", "p\\q") == "none");
    CHECK(Imported("[" + std::string(300, 'n') + "]\r\nx=1\r\n[]\r\nx=1\r\n[Z]\r\nd=5\r\n", "Z") == " d=5");
    std::string large = "[Many]\r\n";
    for (int i = 0; i < 4000; ++i)
        large += "n" + std::to_string(i) + "=1\r\n";
    large += "[Long]\r\nt=" + std::string(60000, 'x') + "\r\n;" + std::string(5 << 20, 'c') + "\r\n[End]\r\ne=1\r\n";
    CHECK(Imported(large, "Many").size() == std::string(" n=1").size() * 4000 + 10 + 2 * 90 + 3 * 900 + 4 * 3000);
    CHECK(Imported(large, "Long") == " t:" + std::string(60000, 'x'));
    CHECK(Imported(large, "End") == " e=1");
}

TEST_CASE("a missing path is made; what cannot be read changes nothing; nothing is left behind") {
    const TempDirectory folder;
    const ScratchKey base;
    const std::string path = base.Path() + "\\new\\path";
    const std::string file = folder.Write("a.ini", "[S]\r\na=1\r\n");
    {
        const kiv::ScopedFile locked(::CreateFileA(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        WriteInifileToHkey(path.c_str(), file.c_str());
    }
    WriteInifileToHkey(path.c_str(), folder.Write("none.ini", "a=1").c_str());
    WriteInifileToHkey(path.c_str(), nullptr);
    WriteInifileToHkey(nullptr, file.c_str());
    CHECK(Values(base.Path() + "\\new") == "none");

    CHECK(kiv::test::LeavesNothing([&] {
        WriteInifileToHkey(path.c_str(), file.c_str());
        CHECK(Values(path + "\\S") == " a=1");
    }));
}
