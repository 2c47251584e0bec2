#include "files/path_text.h"

#include <string>

#include "support/check.h"

namespace {

bool NoLeadByte(unsigned char) {
    return false;
}

// As in the Japanese code page, where a "\" is the second byte of many characters.
bool JapaneseLeadByte(unsigned char byte) {
    return (byte >= 0x81 && byte <= 0x9F) || byte >= 0xE0;
}

const std::string kTrailByte = "\x83\\";  // one character whose second byte is a "\"

}  // namespace

TEST_CASE("the folder above a path") {
    const struct {
        const char* path;
        const char* parent;
    } rows[] = {
        {"C:\\a\\b", "C:\\a"},
        {"C:\\a\\b\\", "C:\\a"},
        {"C:/a/b", "C:/a"},
        {"C:\\a\\\\b", "C:\\a"},
        {"C:\\a", "C:\\"},
        {"C:\\a\\\\", "C:\\"},
        {"C:\\", ""},
        {"C:", ""},
        {"C:a", "C:"},
        {"\\a", "\\"},
        {"\\", ""},
        {"\\\\", ""},
        {"\\\\host\\share\\a", "\\\\host\\share"},
        {"\\\\host\\share\\a\\b\\", "\\\\host\\share\\a"},
        {"\\\\host\\share\\", ""},
        {"\\\\host\\share", ""},
        {"\\\\host", ""},
        {"a\\b", "a"},
        {"a", ""},
        {"", ""},
    };
    for (const auto& row : rows) {
        CAPTURE(row.path);
        CHECK(kiv::ParentPath(row.path, NoLeadByte) == row.parent);
    }
    CHECK(kiv::ParentPath("C:\\" + kTrailByte + "\\a", JapaneseLeadByte) == "C:\\" + kTrailByte);
    CHECK(kiv::ParentPath("C:\\a\\" + kTrailByte, JapaneseLeadByte) == "C:\\a");
}

TEST_CASE("paths are the same text but for case, slashes and their end") {
    CHECK(kiv::EqualPathText("C:\\Setup", "c:/SETUP/", NoLeadByte));
    CHECK(kiv::EqualPathText("C:", "C:\\", NoLeadByte));
    CHECK_FALSE(kiv::EqualPathText("C:\\a", "C:\\ab", NoLeadByte));
    CHECK_FALSE(kiv::EqualPathText("C:\\a", "C:\\b", NoLeadByte));
    CHECK_FALSE(kiv::EqualPathText("", "\\", NoLeadByte));
    // Two characters that differ in the case of their second byte are two characters.
    CHECK(kiv::EqualPathText("\x83\x41", "\x83\x61", NoLeadByte));
    CHECK_FALSE(kiv::EqualPathText("\x83\x41", "\x83\x61", JapaneseLeadByte));
    CHECK_FALSE(kiv::EqualPathText("x" + kTrailByte, "x\x83", JapaneseLeadByte));
}
