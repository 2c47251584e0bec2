// Runs where the system code page is 932, whose characters can end in the byte of a backslash.

#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/temp_directory.h"
#include "tavkivut/file.h"
#include "tavkivut/ini.h"
#include "tavkivut/line_file.h"
#include "tavkivut/registry.h"
#include "tavkivut/system.h"

namespace {

const std::string kTable = "\x95\x5C";  // one character, U+8868

}  // namespace

TEST_CASE("the second byte of a character is no backslash") {
    REQUIRE(::GetACP() == 932);
    const kiv::test::RedirectedKey user(HKEY_CURRENT_USER);
    for (const std::string& temp : {"C:\\" + kTable, "C:\\" + kTable + "\\"}) {
        const kiv::test::FreshSystemCaches caches;
        kiv::test::SetText(user.Handle(), "Temp", temp, "Environment");
        CHECK(std::string(CKivSystem::GetTempDir()) == "C:\\" + kTable);
    }
}

TEST_CASE("a string of a version resource comes in the system code page, found by a name in it") {
    for (const char* module : {"version_wide.dll", "version_narrow.dll"}) {
        char text[16];
        CHECK(CKivFile::GetVersionInfo(module, "Japanese", text, sizeof text) >= 0);
        CHECK(std::string(text) == kTable + "\x82\xA0");
        CHECK(CKivFile::GetVersionInfo(module, kTable.c_str(), text, sizeof text) >= 0);
        CHECK(std::string(text) == "found");
    }
}

TEST_CASE("a character that ends in a backslash's byte does not cut a key path") {
    const kiv::test::ScratchKey scratch;
    const std::string path = scratch.Path() + "\\" + kTable;
    CKivRegKey key;
    REQUIRE(key.create(path.c_str(), "\x95\x5C"
                                     "below"));
    CHECK(key.getName() == kTable + "below");
    std::string parent(path.size() + 20, '?');
    CHECK(key.getParentKey(parent.data()) == path);
    REQUIRE(key.open(path.c_str()));
    CHECK(key.getIndex() == 0);
    CHECK(std::string(key.beginKeys().getName()) == kTable + "below");
    CHECK((key.remove() && key.getLastError() == 0));
    CHECK((key.open(scratch.Path().c_str()) && key.empty()));
}

TEST_CASE("long names of two-byte characters are shown, walked over and erased") {
    const kiv::test::ScratchKey scratch;
    std::string name;
    for (int i = 0; i < 250; ++i)
        name += kTable;
    kiv::test::CreateSubkeys(scratch.Handle(), {name + "\\below", "\xB1"});
    CKivRegKey key(nullptr, scratch.Path().c_str());
    CHECK((++key.findKey(name.c_str()) != key.end() && key.countKeys() == 2));
    const kiv::test::TempDirectory folder;
    WriteInifileToHkey(scratch.Path().c_str(), folder.Write("a.ini", "[" + name + "]\r\na=1\r\n").c_str());
    CHECK((!kiv::test::HasSubkey(key, name + "\\below") && kiv::test::ShownData(key, "a", name) == "4:1"));
    auto first = key.beginKeys();
    auto last = key.end();
    CHECK((key.erase(first, last) && key.getLastError() == 0 && key.countKeys() == 0));
}

TEST_CASE("lines of two-byte characters are as long as their bytes") {
    const kiv::test::TempDirectory folder;
    const std::string path = folder.Write("file", std::string("\xFF\xFE\x68\x88\x68\x88\n\0", 8));
    const std::wstring wide(path.begin(), path.end());
    CKivIsamFile file(wide.c_str(), false);
    wchar_t line[5] = L"????";
    CHECK((file.get(0, line, 5) == 4 && std::wstring(line) == L"\u8868\u8868"));
    CHECK((file.get(0, line, 4) == 4 && line[0] == L'\0'));
    CHECK((file.append((kTable + "\n" + kTable).c_str()) && file.lines() == 3));
    file.close();
    CHECK(kiv::test::ReadFileBytes(path) ==
          std::string("\xFF\xFE\x68\x88\x68\x88\r\0\n\0\x68\x88\r\0\n\0\x68\x88\r\0\n\0", 22));
}
