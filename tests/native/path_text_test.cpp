#include "files/path_text.h"

#include <string>

#include "support/check.h"

namespace {

// As in the Japanese code page, where a "\" is the second byte of many characters.
bool JapaneseLeadByte(unsigned char byte) {
    return (byte >= 0x81 && byte <= 0x9F) || byte >= 0xE0;
}

const std::string kTrailByte = "\x83\\";  // one character whose second byte is a "\"

}  // namespace

TEST_CASE("the folder above a path") {
    const std::pair<std::string, std::string> rows[] = {
        {"C:\\a\\b\\", "C:\\a"},
        {"C:/a/b", "C:/a"},
        {"C:\\a\\\\b", "C:\\a"},
        {"C:\\a\\\\", "C:\\"},
        {"C:\\", ""},
        {"C:", ""},
        {"C:a", "C:"},
        {"\\a", "\\"},
        {"\\", ""},
        {"\\\\", ""},
        {"\\\\host\\share\\a\\b\\", "\\\\host\\share\\a"},
        {"\\\\host\\share\\a", "\\\\host\\share"},
        {"\\\\host\\share\\", ""},
        {"\\\\host", ""},
        {"a\\b", "a"},
        {"a", ""},
        {"", ""},
        {"C:\\" + kTrailByte + "\\a", "C:\\" + kTrailByte},
        {"C:\\a\\" + kTrailByte, "C:\\a"},
    };
    kiv::test::CheckRows(rows, [](const std::string& path) { return kiv::ParentPath(path, JapaneseLeadByte); });
}

TEST_CASE("two characters that differ in the case of their second byte are two characters") {
    CHECK_FALSE(kiv::EqualPathText("\x83\x41", "\x83\x61", JapaneseLeadByte));
    CHECK_FALSE(kiv::EqualPathText("x" + kTrailByte, "x\x83", JapaneseLeadByte));
}
