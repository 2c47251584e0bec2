// Runs where the system code page is 932, whose characters can end in the byte of a backslash.

#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/redirected_key.h"
#include "support/temp_directory.h"
#include "support/version_block.h"
#include "tavkivut/file.h"
#include "tavkivut/registry.h"
#include "tavkivut/system.h"

namespace {

const std::string kTable = "\x95\x5C";  // one character, U+8868

std::string TempDirFor(const std::string& temp) {
    const kiv::test::FreshSystemCaches caches;
    const kiv::test::RedirectedKey user(HKEY_CURRENT_USER);
    HKEY key;
    REQUIRE(::RegCreateKeyA(user.Handle(), "Environment", &key) == ERROR_SUCCESS);
    CHECK(::RegSetValueExA(key, "Temp", 0, REG_SZ, reinterpret_cast<const BYTE*>(temp.data()),
                           static_cast<DWORD>(temp.size())) == ERROR_SUCCESS);
    ::RegCloseKey(key);
    return CKivSystem::GetTempDir();
}

}  // namespace

TEST_CASE("the second byte of a character is no backslash") {
    REQUIRE(::GetACP() == 932);
    CHECK(TempDirFor("C:\\" + kTable) == "C:\\" + kTable);
    CHECK(TempDirFor("C:\\" + kTable + "\\") == "C:\\" + kTable);
}

TEST_CASE("a string of a version resource comes in the system code page, found by a name in it") {
    REQUIRE(::GetACP() == 932);
    const auto own = static_cast<std::uint16_t>(::GetSystemDefaultLangID());
    std::string block = kiv::test::VersionBlock(
        kiv::test::StandardVersion({1, 2, 3, 4}, {{own, 932, {{"Name", "??"}, {"??", "value"}}}}));
    for (std::size_t at = block.find(std::string("?\0?\0", 4)); at != std::string::npos;
         at = block.find(std::string("?\0?\0", 4)))
        block.replace(at, 4, "\x68\x88\x42\x30");  // U+8868, U+3042
    const kiv::test::TempDirectory folder;
    const std::string path = folder.Write("module.dll", kiv::test::ModuleWithVersion(block));
    const std::string bytes = kTable + "\x82\xA0";
    char text[16];
    CHECK(CKivFile::GetVersionInfo(path.c_str(), "Name", text, sizeof text) == 0);
    CHECK(text == bytes);
    CHECK(CKivFile::GetVersionInfo(path.c_str(), bytes.c_str(), text, sizeof text) == 0);
    CHECK(std::string(text) == "value");
}

TEST_CASE("a character that ends in a backslash's byte does not cut a key path") {
    REQUIRE(::GetACP() == 932);
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
    CHECK(key.remove());
    CHECK(key.getLastError() == 0);
    CHECK((key.open(scratch.Path().c_str()) && key.empty()));
}
