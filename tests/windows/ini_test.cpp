#include "tavkivut/ini.h"

#include <set>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/resource_count.h"
#include "support/temp_directory.h"
#include "support/windows_api.h"

// offsetof does not serve a class with a virtual destructor.
struct CIniKeyLayout {
    static_assert(sizeof(CIniKey) == 4 * sizeof(void*));
    static std::vector<const void*> Fields(const CIniKey& key) { return {&key.m_iniFile, &key.m_section, &key.m_key}; }
};

namespace {

using kiv::test::ReadFileBytes;
using kiv::test::ScratchKey;
using kiv::test::TempDirectory;

// The values of a subkey by name: "name=10" for a number, "name:text" for a text; "" when there is no such subkey.
std::string Values(HKEY base, const std::string& subkey) {
    HKEY key;
    if (::RegOpenKeyExA(base, subkey.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return {};
    std::set<std::string> values;
    char name[300];
    char data[300];
    for (DWORD i = 0;; ++i) {
        DWORD nameLength = sizeof name;
        DWORD size = sizeof data - 1;
        DWORD type = 0;
        const LONG status =
            ::RegEnumValueA(key, i, name, &nameLength, nullptr, &type, reinterpret_cast<BYTE*>(data), &size);
        if (status != ERROR_SUCCESS)
            break;
        data[size] = '\0';
        if (type == REG_DWORD)
            values.insert(std::string(" ") + name + "=" + std::to_string(*reinterpret_cast<const DWORD*>(data)));
        else
            values.insert(std::string(" ") + name + ":" + data);
        CHECK((type == REG_DWORD || type == REG_SZ));
    }
    ::RegCloseKey(key);
    std::string shown = "[" + subkey + "]";
    for (const std::string& value : values)
        shown += value;
    return shown;
}

void SetText(HKEY base, const std::string& subkey, const std::string& name, const std::string& text) {
    HKEY key;
    REQUIRE(::RegCreateKeyExA(base, subkey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) == 0);
    REQUIRE(::RegSetValueExA(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                             static_cast<DWORD>(text.size() + 1)) == 0);
    ::RegCloseKey(key);
}

DWORD CountOfValues(HKEY base, const char* subkey) {
    HKEY key;
    REQUIRE(::RegOpenKeyExA(base, subkey, 0, KEY_READ, &key) == ERROR_SUCCESS);
    DWORD values = 0;
    ::RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                       nullptr);
    ::RegCloseKey(key);
    return values;
}

std::string Utf16(const std::string& text, bool bigEndian) {
    std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : text) {
        bytes += bigEndian ? '\0' : c;
        bytes += bigEndian ? c : '\0';
    }
    return bytes;
}

}  // namespace

TEST_CASE("the fields stand in order behind the table of the virtual destructor") {
    const CIniKey key;
    const void* const* words = reinterpret_cast<const void* const*>(&key);
    CHECK(CIniKeyLayout::Fields(key) == std::vector<const void*>{words + 1, words + 2, words + 3});
}

TEST_CASE("an entry is read, tested, written and removed") {
    TempDirectory folder;
    const std::string file = folder.Write("a.ini", "[S]\r\nk=\r\nv=\"quoted\"\r\nlong=12345\r\n");
    CIniKey key(file.c_str(), "S", "k");
    char buffer[16] = "x";
    CHECK(key.Exist() == 1);
    CHECK(key.GetValue(buffer, sizeof buffer) == 1);
    CHECK(std::string(buffer).empty());

    key.SetKeyName("missing");
    buffer[0] = 'x';
    CHECK(key.Exist() == 0);
    CHECK(key.GetValue(buffer, sizeof buffer) == 1);
    CHECK(std::string(buffer).empty());
    CHECK(key.Remove() == 1);

    key.SetKeyName("v");
    CHECK(key.GetValue(buffer, sizeof buffer) == 1);
    CHECK(std::string(buffer) == "quoted");
    CHECK(key.SetValue("new") == 1);
    CHECK(key.GetValue(buffer, sizeof buffer) == 1);
    CHECK(std::string(buffer) == "new");
    CHECK(key.SetValue(nullptr) == 1);
    CHECK(key.Exist() == 0);
}

TEST_CASE("a value that may have been cut is told") {
    TempDirectory folder;
    const std::string file = folder.Write("a.ini", "[S]\r\nlong=12345\r\n");
    const CIniKey key(file.c_str(), "S", "long");
    char buffer[16];
    CHECK(key.GetValue(buffer, 7) == 1);
    CHECK(key.GetValue(buffer, 6) == 0);
    CHECK(std::string(buffer) == "12345");
    CHECK(key.GetValue(buffer, 3) == 0);
    CHECK(std::string(buffer) == "12");
    CHECK(key.GetValue(buffer, 1) == 0);
    CHECK(key.GetValue(nullptr, 0) == 1);
    CHECK(key.GetValue(nullptr, 10) == 0);
}

TEST_CASE("without a file, a section or a key every operation fails") {
    TempDirectory folder;
    const std::string file = folder.Write("a.ini", "[S]\r\nk=1\r\n");
    char buffer[16];
    for (CIniKey key : {CIniKey(), CIniKey(nullptr, "S", "k"), CIniKey(file.c_str(), nullptr, "k"),
                        CIniKey(file.c_str(), "S", nullptr)}) {
        CHECK(key.Exist() == 0);
        CHECK(key.GetValue(buffer, sizeof buffer) == 0);
        CHECK(key.SetValue("x") == 0);
        CHECK(key.SetValue(nullptr) == 0);
        CHECK(key.Remove() == 0);
    }
    CHECK(ReadFileBytes(file) == "[S]\r\nk=1\r\n");
}

TEST_CASE("copies own their texts, and a text may be the object's own") {
    CIniKey first("file", "section", "key");
    CIniKey second(first);
    first.SetIniFile(nullptr);
    CHECK(first.GetIniFile() == nullptr);
    CHECK(std::string(second.GetIniFile()) == "file");
    first = second;
    second.SetKeyName(second.GetSectionName() + 3);
    CHECK(std::string(second.GetKeyName()) == "tion");
    CIniKey& self = first;
    first = self;
    CHECK(std::string(first.GetSectionName()) == "section");
    CHECK(std::string(first.GetKeyName()) == "key");
}

TEST_CASE("removing the last entry removes the section") {
    TempDirectory folder;
    const std::string file = folder.Write("a.ini", "[A]\r\nx=1\r\n[S]\r\nk=1\r\nl=2\r\n");
    CIniKey key(file.c_str(), "S", "k");
    CHECK(key.Remove() == 1);
    CHECK(ReadFileBytes(file).find("[S]") != std::string::npos);
    key.SetKeyName("l");
    CHECK(key.Remove() == 1);
    CHECK(ReadFileBytes(file).find("[S]") == std::string::npos);
    CHECK(ReadFileBytes(file).find("x=1") != std::string::npos);
}

TEST_CASE("a line break never reaches a file") {
    TempDirectory folder;
    const std::string file = folder.Write("a.ini", "[S]\r\nk=1\r\n");
    for (const CIniKey& broken : {CIniKey(file.c_str(), "S\n[T", "k"), CIniKey(file.c_str(), "S", "k\rl")}) {
        CIniKey key(broken);
        CHECK(key.SetValue("x") == 0);
        CHECK(key.Remove() == 0);
    }
    CIniKey key(file.c_str(), "S", "k");
    ::SetLastError(0);
    CHECK(key.SetValue("x\r\nl=2") == 0);
    CHECK(::GetLastError() == ERROR_INVALID_PARAMETER);
    CHECK(ReadFileBytes(file) == "[S]\r\nk=1\r\n");
}

TEST_CASE("an import makes numbers and texts") {
    TempDirectory folder;
    ScratchKey base;
    const std::string file =
        folder.Write("a.ini", "stray=1\r\n[S]\r\na=10\r\nb=0x1F\r\nc=abc\r\nd=-1\r\ne=0xFFFFFFFF\r\n"
                              ";f=1\r\nplain\r\n g = x=y \r\nh=\r\ni=\"1\"\r\nj=007\r\n[Empty]\r\n");
    WriteInifileToHkey(base.Path().c_str(), file.c_str());
    CHECK(Values(base.Handle(), "S") == "[S] a=10 b=31 c:abc d:-1 e:0xFFFFFFFF g:x=y h: i:\"1\" j=7");
    CHECK(Values(base.Handle(), "Empty") == "[Empty]");
}

TEST_CASE("a section replaces the subkey of exactly its name and fills up others") {
    TempDirectory folder;
    ScratchKey base;
    SetText(base.Handle(), "S", "old", "x");
    SetText(base.Handle(), "S\\deep\\deeper", "old", "x");
    SetText(base.Handle(), "t", "old", "x");
    SetText(base.Handle(), "Other", "kept", "x");
    SetText(base.Handle(), "", "kept", "x");
    WriteInifileToHkey(base.Path().c_str(), folder.Write("a.ini", "[S]\r\na=1\r\n[T]\r\nb=2\r\n").c_str());
    CHECK(Values(base.Handle(), "S") == "[S] a=1");
    CHECK(Values(base.Handle(), "S\\deep").empty());
    CHECK(Values(base.Handle(), "t") == "[t] b=2 old:x");
    CHECK(Values(base.Handle(), "Other") == "[Other] kept:x");
    CHECK(Values(base.Handle(), "") == "[] kept:x");
}

TEST_CASE("sections with a path, repeated, nameless, or not to be created") {
    TempDirectory folder;
    ScratchKey base;
    SetText(base.Handle(), "", "kept", "x");
    const std::string tooLong(300, 'n');
    WriteInifileToHkey(base.Path().c_str(), folder
                                                .Write("a.ini", "[]\r\nroot=1\r\n[" + tooLong +
                                                                    "]\r\nx=1\r\n[p\\q]\r\na=1\r\n[p]\r\nb=2\r\n"
                                                                    "[r]\r\nc=3\r\n[r]\r\nc=4\r\n[z]\r\nd=5\r\n")
                                                .c_str());
    CHECK(Values(base.Handle(), "") == "[] kept:x");
    CHECK(Values(base.Handle(), "p") == "[p] b=2");
    CHECK(Values(base.Handle(), "p\\q").empty());
    CHECK(Values(base.Handle(), "r") == "[r] c=3");
    CHECK(Values(base.Handle(), "z") == "[z] d=5");
}

TEST_CASE("an import into a key that is missing makes the path") {
    TempDirectory folder;
    ScratchKey base;
    WriteInifileToHkey((base.Path() + "\\new\\path").c_str(), folder.Write("a.ini", "[S]\r\na=1\r\n").c_str());
    CHECK(Values(base.Handle(), "new\\path\\S") == "[new\\path\\S] a=1");
}

TEST_CASE("what cannot be read changes nothing") {
    TempDirectory folder;
    ScratchKey base;
    SetText(base.Handle(), "S", "old", "x");
    const std::string file = folder.Write("a.ini", "[S]\r\na=1\r\n");
    WriteInifileToHkey(base.Path().c_str(), (folder / "missing.ini").c_str());
    WriteInifileToHkey(base.Path().c_str(), folder.Write("empty.ini", "").c_str());
    WriteInifileToHkey(base.Path().c_str(), folder.Write("none.ini", "a=1\r\n").c_str());
    WriteInifileToHkey(base.Path().c_str(), nullptr);
    WriteInifileToHkey(nullptr, file.c_str());
    WriteInifileToHkey("NoRoot\\x", file.c_str());
    const HANDLE locked = ::CreateFileA(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    REQUIRE(locked != INVALID_HANDLE_VALUE);
    WriteInifileToHkey(base.Path().c_str(), file.c_str());
    ::CloseHandle(locked);
    CHECK(Values(base.Handle(), "S") == "[S] old:x");
}

TEST_CASE("read-only, hidden and marked files are imported like others") {
    TempDirectory folder;
    const std::string text = "[S]\r\na=10\r\nb=text\r\n[s]\r\nc=1\r\n";
    const struct {
        const char* name;
        std::string bytes;
        DWORD attributes;
    } files[] = {
        {"readonly.ini", text, FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN},
        {"utf8.ini", "\xEF\xBB\xBF" + text, FILE_ATTRIBUTE_NORMAL},
        {"utf16le.ini", Utf16(text, false), FILE_ATTRIBUTE_NORMAL},
        {"utf16be.ini", Utf16(text, true), FILE_ATTRIBUTE_NORMAL},
    };
    for (const auto& [name, bytes, attributes] : files) {
        ScratchKey base;
        const std::string file = folder.Write(name, bytes);
        REQUIRE(::SetFileAttributesA(file.c_str(), attributes));
        WriteInifileToHkey(base.Path().c_str(), file.c_str());
        CAPTURE(name);
        CHECK(Values(base.Handle(), "S") == "[S] a=10 b:text");
    }
}

TEST_CASE("nothing of a large file is lost") {
    TempDirectory folder;
    ScratchKey base;
    std::string text = "[Many]\r\n";
    for (int i = 0; i < 4000; ++i)
        text += "n" + std::to_string(i) + "=" + std::to_string(i) + "\r\n";
    const std::string longText(60000, 'x');
    text += "[Long]\r\nt=" + longText + "\r\n";
    for (int i = 0; i < 20; ++i)
        text += "[Section " + std::string(200, 's') + std::to_string(i) + "]\r\nlast=" + std::to_string(i) + "\r\n";
    text += ";" + std::string(5 * 1024 * 1024, 'c') + "\r\n[End]\r\ne=1\r\n";
    WriteInifileToHkey(base.Path().c_str(), folder.Write("big.ini", text).c_str());
    CHECK(CountOfValues(base.Handle(), "Many") == 4000);
    CHECK(Values(base.Handle(), "Section " + std::string(200, 's') + "19") ==
          "[Section " + std::string(200, 's') + "19] last=19");
    CHECK(Values(base.Handle(), "End") == "[End] e=1");
    DWORD size = 0;
    HKEY key;
    REQUIRE(::RegOpenKeyExA(base.Handle(), "Long", 0, KEY_READ, &key) == ERROR_SUCCESS);
    CHECK(::RegQueryValueExA(key, "t", nullptr, nullptr, nullptr, &size) == ERROR_SUCCESS);
    ::RegCloseKey(key);
    CHECK(size == longText.size() + 1);
}

TEST_CASE("an import leaves nothing behind in the process") {
    TempDirectory folder;
    ScratchKey base;
    const std::string file = folder.Write("a.ini", "[S]\r\na=1\r\nb=x\r\n[T]\r\nc=1\r\n");
    const std::string marked = folder.Write("marked.ini", "\xEF\xBB\xBF[S]\r\na=1\r\n");
    const auto work = [&] {
        WriteInifileToHkey(base.Path().c_str(), file.c_str());
        WriteInifileToHkey(base.Path().c_str(), marked.c_str());
        CIniKey key(marked.c_str(), "S", "a");
        key.Exist();
        CIniKey copy(key);
        copy = key;
    };
    work();
    const kiv::test::ResourceCount before = kiv::test::CountResources();
    for (int i = 0; i < 5; ++i)
        work();
    CHECK(kiv::test::CountResources() == before);
}
