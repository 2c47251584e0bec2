#include "tavkivut/crypt.h"

#include <set>
#include <string>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/redirected_key.h"
#include "support/windows_api.h"

namespace {

using kiv::test::RecordingLog;
using kiv::test::RedirectedKey;

constexpr char kRootKey[] = "Software\\TAV\\TAVSetup";
constexpr char kUnusable[] = "1E Encryption : cannot use the value 'SiteKey' of 'HKLM\\Software\\TAV\\TAVSetup' (13)";

void SetSiteKey(const RedirectedKey& machine, DWORD type, const std::string& bytes) {
    HKEY key;
    REQUIRE(::RegCreateKeyExA(machine.Handle(), kRootKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) == 0);
    REQUIRE(::RegSetValueExA(key, "SiteKey", 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                             static_cast<DWORD>(bytes.size())) == 0);
    ::RegCloseKey(key);
}

std::string Encrypted(const std::string& clear, unsigned int block = kKivEncryptedBlock) {
    char text[kKivEncryptedTextLimit + 1];
    REQUIRE(CKivEncryptData::Encrypt(clear.c_str(), block, text, sizeof text) == 1);
    return text;
}

// The clear text, or the last error in brackets.
std::string Decrypted(const std::string& text) {
    char clear[kKivClearTextLimit + 1] = "untouched";
    ::SetLastError(0);
    if (CKivDecryptData::Decrypt(text.c_str(), clear, sizeof clear) == 1)
        return clear;
    CHECK(std::string(clear) == "untouched");
    return "(" + std::to_string(::GetLastError()) + ")";
}

}  // namespace

TEST_CASE("a setting comes back, and looks different each time") {
    RedirectedKey machine(HKEY_LOCAL_MACHINE);
    for (const std::string& clear :
         {std::string(), std::string("dopw"), std::string("\xE4 \"'=;[]"), std::string(kKivClearTextLimit, 'x')}) {
        const std::string text = Encrypted(clear);
        CHECK(text.size() % kKivEncryptedBlock == 0);
        CHECK(text.size() == (clear.size() > 100 ? 448 : 128));
        CHECK(Decrypted(text) == clear);
    }
    std::set<std::string> texts;
    for (int i = 0; i < 100; ++i)
        texts.insert(Encrypted("dopw"));
    CHECK(texts.size() == 100);
}

TEST_CASE("a wrong call gives its reason and writes nothing") {
    RedirectedKey machine(HKEY_LOCAL_MACHINE);
    char out[kKivEncryptedTextLimit + 1] = "untouched";
    const auto refused = [&out](const char* clear, unsigned int block, unsigned int size) {
        ::SetLastError(0);
        CHECK(CKivEncryptData::Encrypt(clear, block, out, size) == 0);
        CHECK(std::string(out) == "untouched");
        return ::GetLastError();
    };
    CHECK(refused(nullptr, 64, sizeof out) == ERROR_INVALID_PARAMETER);
    CHECK(refused("x", 0, sizeof out) == ERROR_INVALID_PARAMETER);
    CHECK(refused(std::string(kKivClearTextLimit + 1, 'x').c_str(), 64, sizeof out) == ERROR_BAD_LENGTH);
    CHECK(refused("x", kKivEncryptedTextLimit + 1, sizeof out) == ERROR_BAD_LENGTH);
    CHECK(refused("x", 64, 128) == ERROR_INSUFFICIENT_BUFFER);
    CHECK(CKivEncryptData::Encrypt("x", 64, nullptr, 128) == 0);
    CHECK(CKivEncryptData::Encrypt("x", 64, out, 129) == 1);

    CHECK(CKivDecryptData::Decrypt(nullptr, out, sizeof out) == 0);
    CHECK(CKivDecryptData::Decrypt("x", nullptr, 10) == 0);
    char clear[5] = "abcd";
    const std::string text = Encrypted("dopw");
    CHECK(CKivDecryptData::Decrypt(text.c_str(), clear, 4) == 0);
    CHECK(::GetLastError() == ERROR_INSUFFICIENT_BUFFER);
    CHECK(std::string(clear) == "abcd");
    CHECK(CKivDecryptData::Decrypt(text.c_str(), clear, 5) == 1);
}

TEST_CASE("foreign and damaged texts are refused") {
    RedirectedKey machine(HKEY_LOCAL_MACHINE);
    std::string text = Encrypted("dopw");
    CHECK(Decrypted("") == "(13)");
    CHECK(Decrypted("dopw") == "(13)");
    CHECK(Decrypted(text.substr(0, 64)) == "(13)");
    CHECK(Decrypted(text + " ") == "(13)");
    CHECK(Decrypted(std::string(100000, 'K')) == "(13)");
    text[70] = text[70] == 'x' ? 'y' : 'x';
    CHECK(Decrypted(text) == "(13)");
}

TEST_CASE("the site key replaces the built-in one") {
    RedirectedKey machine(HKEY_LOCAL_MACHINE);
    const std::string builtIn = Encrypted("dopw");
    SetSiteKey(machine, REG_SZ, std::string("sixteen letters!") + '\0');
    CHECK(Decrypted(builtIn) == "(13)");
    const std::string text = Encrypted("dopw");
    CHECK(Decrypted(text) == "dopw");
    // The same bytes in another type, and a text without its terminator, are the same key.
    SetSiteKey(machine, REG_BINARY, "sixteen letters!");
    CHECK(Decrypted(text) == "dopw");
    SetSiteKey(machine, REG_SZ, "sixteen letters!");
    CHECK(Decrypted(text) == "dopw");
    SetSiteKey(machine, REG_BINARY, std::string(1024, '\x80'));
    CHECK(Decrypted(text) == "(13)");
    CHECK(Decrypted(Encrypted("dopw")) == "dopw");
}

TEST_CASE("a site key that cannot be used never gives way to the built-in one") {
    RedirectedKey machine(HKEY_LOCAL_MACHINE);
    const std::string builtIn = Encrypted("dopw");
    char out[kKivEncryptedTextLimit + 1];
    const struct {
        DWORD type;
        std::string bytes;
    } unusable[] = {{REG_SZ, std::string(1, '\0')},       {REG_BINARY, ""},
                    {REG_SZ, "fifteen letters"},          {REG_BINARY, std::string(1025, 'x')},
                    {REG_BINARY, std::string(5000, 'x')}, {REG_MULTI_SZ, std::string(32, 'x')}};
    for (const auto& [type, bytes] : unusable) {
        CAPTURE(bytes.size());
        SetSiteKey(machine, type, bytes);
        RecordingLog log;
        CHECK(Decrypted(builtIn) == "(13)");
        CHECK(CKivEncryptData::Encrypt("x", 64, out, sizeof out) == 0);
        const std::vector<std::string> lines = log.Lines();
        REQUIRE(lines.size() == 2);
        CHECK(lines[0] == kUnusable);
        CHECK(lines[1] == kUnusable);
    }
}
