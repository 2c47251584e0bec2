#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "tavkivut/crypt.h"

namespace {

char g_text[kKivEncryptedTextLimit + 1];

// The text form, or the last error in brackets.
std::string Encrypted(const char* clear, unsigned int block = kKivEncryptedBlock, unsigned int size = sizeof g_text) {
    g_text[0] = '\0';
    ::SetLastError(0);
    const bool done = CKivEncryptData::Encrypt(clear, block, g_text, size) == 1;
    CHECK((done || g_text[0] == '\0'));
    return done ? g_text : "(" + std::to_string(::GetLastError()) + ")";
}

// The clear text, or the last error in brackets.
std::string Decrypted(const std::string& text, unsigned int size = kKivClearTextLimit + 1) {
    char clear[kKivClearTextLimit + 1] = "";
    ::SetLastError(0);
    const bool done = CKivDecryptData::Decrypt(text.c_str(), clear, size) == 1;
    CHECK((done || clear[0] == '\0'));
    return done ? clear : "(" + std::to_string(::GetLastError()) + ")";
}

}  // namespace

TEST_CASE("a setting comes back; what is wrong or does not fit is refused") {
    const kiv::test::RedirectedKey machine(HKEY_LOCAL_MACHINE);
    const std::string text = Encrypted("\xE4 \"'=;[]");
    CHECK((text.size() == 128 && Decrypted(text) == "\xE4 \"'=;[]"));
    CHECK((Encrypted(nullptr) == "(87)" && Encrypted("x", 0) == "(87)"));
    CHECK((Encrypted(std::string(257, 'x').c_str()) == "(24)" && Encrypted("x", 769) == "(24)"));
    CHECK((Encrypted("x", 64, 128) == "(122)" && Encrypted("x", 64, 129).size() == 128));
    CHECK((Decrypted(text, 8) == "(122)" && Decrypted(text, 9).size() == 8));
    CHECK((CKivEncryptData::Encrypt("x", 64, nullptr, 129) == 0 && CKivDecryptData::Decrypt("x", nullptr, 10) == 0));
    CHECK((CKivDecryptData::Decrypt(nullptr, g_text, 10) == 0 && Decrypted(std::string(100000, 'K')) == "(13)"));
}

TEST_CASE("the site key replaces the built-in one, which never replaces a site key that cannot be used") {
    const kiv::test::RedirectedKey machine(HKEY_LOCAL_MACHINE);
    const std::string builtIn = Encrypted("dopw");
    const struct {
        DWORD type;
        std::string bytes;
        bool usable;
    } rows[] = {
        {REG_SZ, std::string("sixteen letters!", 17), true},
        {REG_SZ, "sixteen letters!", true},
        {REG_BINARY, std::string(1024, '\x80'), true},
        {REG_SZ, std::string(1, '\0'), false},
        {REG_BINARY, "", false},
        {REG_SZ, "fifteen letters", false},
        {REG_BINARY, std::string(1025, 'x'), false},
        {REG_MULTI_SZ, std::string(32, 'x'), false},
    };
    const std::string line = "1E Encryption : cannot use the value 'SiteKey' of 'HKLM\\Software\\TAV\\TAVSetup' (13)";
    for (const auto& row : rows) {
        CAPTURE(row.bytes.size());
        kiv::test::SetData(machine.Handle(), "SiteKey", row.type, row.bytes, "Software\\TAV\\TAVSetup");
        const kiv::test::RecordingLog log;
        CHECK(Decrypted(builtIn) == "(13)");
        const std::string text = Encrypted("dopw");
        CHECK((row.usable ? Decrypted(text) == "dopw" : text == "(13)"));
        CHECK(log.Lines() == std::vector<std::string>(row.usable ? 0 : 2, line));
    }
    ::RegDeleteKeyA(machine.Handle(), "Software\\TAV\\TAVSetup");
    CHECK(Decrypted(builtIn) == "dopw");
    // In Wine a key that holds this one has two views, for 64-bit processes and for 32-bit ones of a 64-bit system.
    const std::string view32 = "Software\\Wow6432Node\\TAV\\TAVSetup";
    kiv::test::SetData(machine.Handle(), "SiteKey", REG_BINARY, std::string(16, 'x'), view32);
    CHECK(Decrypted(builtIn) == (sizeof(void*) == 8 ? "(13)" : "dopw"));
}
