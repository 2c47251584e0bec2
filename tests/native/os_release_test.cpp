#include "system/os_release.h"

#include <map>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/hresult.h"
#include "system/drive_letters.h"
#include "system/text_list.h"

using kiv::kStatusFail;
using kiv::kStatusFalse;
using kiv::kStatusOk;
using kiv::OsVersion;

namespace {

const int kAllOs[] = {OS_ANY_NT, OS_ANY_9X, OS_NT4, OS_W2000, OS_XP, OS_W2003, OS_W95, OS_W95_OSR2, OS_W98, OS_WME};
const int kAllIe[] = {IE_3X,  IE_4X,  IE_5X,  IE_60X, IE_300, IE_301, IE_302,
                      IE_400, IE_401, IE_500, IE_501, IE_550, IE_600, IE_AFTER_600};

std::string OsText(bool nt, const OsVersion* version) {
    char text[100];
    kiv::FormatOsVersion(text, sizeof text, nt, version);
    return text;
}

std::string IeText(const FILE_VERSION& version) {
    char text[100];
    kiv::FormatIeVersion(text, sizeof text, version);
    return text;
}

}  // namespace

TEST_CASE("each system is what it is and nothing else") {
    struct Row {
        OsVersion version;
        std::vector<int> is;
        const char* text;
    };
    const Row rows[] = {
        {{1, 4, 0, 0x040003B6}, {OS_ANY_9X, OS_W95}, "Windows 95 (Version 4.0 Build# 950)"},
        {{1, 4, 0, 0x04000457}, {OS_ANY_9X, OS_W95, OS_W95_OSR2}, "Windows 95 (Version 4.0 Build# 1111)"},
        {{1, 4, 10, 0x040A08AE}, {OS_ANY_9X, OS_W98}, "Windows 98 (Version 4.10 Build# 2222)"},
        {{1, 4, 90, 0x045A0BB8}, {OS_ANY_9X, OS_WME}, "Windows ME (Version 4.90 Build# 3000)"},
        {{1, 5, 0, 1}, {OS_ANY_9X}, "os type unknown(Version 5.0 Build# 1)"},
        {{2, 3, 51, 1057}, {OS_ANY_NT}, "os type unknown(Version 3.51 Build# 1057)"},
        {{2, 4, 0, 1381}, {OS_ANY_NT, OS_NT4}, "Windows NT4 (Version 4.0 Build# 1381)"},
        {{2, 5, 0, 2195}, {OS_ANY_NT, OS_W2000}, "Windows 2000 (Version 5.0 Build# 2195)"},
        {{2, 5, 1, 2600}, {OS_ANY_NT, OS_XP}, "Windows XP (Version 5.1 Build# 2600)"},
        {{2, 5, 2, 3790}, {OS_ANY_NT, OS_W2003}, "Windows Server 2003(Version 5.2 Build# 3790)"},
        {{2, 5, 3, 70000}, {OS_ANY_NT, OS_W2003}, "Windows Server 2003(Version 5.3 Build# 70000)"},
        {{2, 6, 0, 6000}, {OS_ANY_NT}, "os type unknown(Version 6.0 Build# 6000)"},
        {{2, 6, 2, 9200}, {OS_ANY_NT}, "os type unknown(Version 6.2 Build# 9200)"},
    };
    for (const Row& row : rows) {
        const bool nt = row.version.platform == 2;
        CAPTURE(row.text);
        CHECK(OsText(nt, &row.version) == row.text);
        for (const int which : kAllOs) {
            CAPTURE(which);
            bool expected = false;
            for (const int is : row.is)
                expected = expected || is == which;
            const auto no = !nt && which == OS_W2003 ? kStatusFail : kStatusFalse;
            CHECK(kiv::CheckOsRelease(nt, which, &row.version) == (expected ? kStatusOk : no));
        }
        for (const int which : {0, 5, 99, 104, -1})
            CHECK(kiv::CheckOsRelease(nt, which, &row.version) == kStatusFail);
    }
}

TEST_CASE("questions about the other family need no version") {
    const std::map<int, int> nt{{OS_ANY_NT, kStatusOk},      {OS_ANY_9X, kStatusFalse}, {OS_W95, kStatusFalse},
                                {OS_W95_OSR2, kStatusFalse}, {OS_W98, kStatusFalse},    {OS_WME, kStatusFalse}};
    const std::map<int, int> old{{OS_ANY_9X, kStatusOk},
                                 {OS_ANY_NT, kStatusFalse},
                                 {OS_NT4, kStatusFalse},
                                 {OS_W2000, kStatusFalse},
                                 {OS_XP, kStatusFalse}};
    for (const int which : kAllOs) {
        CAPTURE(which);
        CHECK(kiv::CheckOsRelease(true, which, nullptr) == (nt.count(which) ? nt.at(which) : kStatusFail));
        CHECK(kiv::CheckOsRelease(false, which, nullptr) == (old.count(which) ? old.at(which) : kStatusFail));
    }
    CHECK(OsText(true, nullptr) == "os type unknown");
}

TEST_CASE("each browser version is what it is and nothing else") {
    struct Row {
        FILE_VERSION version;
        std::vector<int> is;
        const char* text;
    };
    const Row rows[] = {
        {{4, 70, 1154, 9}, {}, "Shldocvw.dll Fileversion 4.70.1154.9"},
        {{4, 70, 1155, 0}, {IE_3X, IE_300}, "Internet Explorer 3.0"},
        {{4, 70, 1214, 0}, {IE_3X, IE_300}, "Internet Explorer 3.0"},
        {{4, 70, 1215, 0}, {IE_3X, IE_301}, "Internet Explorer 3.10"},
        {{4, 70, 1216, 0}, {IE_3X}, "Shldocvw.dll Fileversion 4.70.1216.0"},
        {{4, 70, 1300, 0}, {IE_3X, IE_302}, "Internet Explorer 3.02"},
        {{4, 70, 1301, 0}, {}, "Shldocvw.dll Fileversion 4.70.1301.0"},
        {{4, 40, 1200, 0}, {IE_3X}, "Shldocvw.dll Fileversion 4.40.1200.0"},
        {{4, 71, 1712, 6}, {IE_4X, IE_400}, "Internet Explorer 4.00"},
        {{4, 72, 3110, 8}, {IE_4X, IE_401}, "Internet Explorer 4.01"},
        {{4, 73, 0, 0}, {IE_4X}, "Shldocvw.dll Fileversion 4.73.0.0"},
        {{5, 0, 517, 0}, {IE_5X}, "Shldocvw.dll Fileversion 5.0.517.0"},
        {{5, 0, 518, 0}, {IE_5X, IE_500}, "Internet Explorer 5.00"},
        {{5, 0, 2723, 0}, {IE_5X, IE_500}, "Internet Explorer 5.00"},
        {{5, 0, 2800, 1}, {IE_5X}, "Shldocvw.dll Fileversion 5.0.2800.1"},
        {{5, 0, 2918, 0}, {IE_5X}, "Shldocvw.dll Fileversion 5.0.2918.0"},
        {{5, 0, 2919, 0}, {IE_5X, IE_501}, "Internet Explorer 5.01"},
        {{5, 50, 4134, 0}, {IE_5X, IE_550}, "Internet Explorer 5.50"},
        {{6, 0, 2900, 0}, {IE_60X, IE_600}, "Internet Explorer 6.00"},
        {{6, 1, 0, 0}, {IE_AFTER_600}, "Shldocvw.dll Fileversion 6.1.0.0"},
        {{7, 0, 5730, 0}, {}, "Shldocvw.dll Fileversion 7.0.5730.0"},
        {{11, 3, 65535, 65535}, {IE_AFTER_600}, "Shldocvw.dll Fileversion 11.3.65535.65535"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.text);
        CHECK(IeText(row.version) == row.text);
        for (const int which : kAllIe) {
            CAPTURE(which);
            bool expected = false;
            for (const int is : row.is)
                expected = expected || is == which;
            CHECK(kiv::CheckIeRelease(which, row.version) == (expected ? kStatusOk : kStatusFalse));
        }
        for (const int which : {0, 6, 303, 503, 998})
            CHECK(kiv::CheckIeRelease(which, row.version) == kStatusFail);
    }
}

TEST_CASE("drive letters are kept by their byte") {
    kiv::DriveLetters letters;
    for (int byte = 0; byte < 256; ++byte) {
        const char letter = static_cast<char>(byte);
        CHECK(letters.Find(letter) == kiv::DriveKind::kUnknown);
        letters.Keep(letter, byte % 2 == 0 ? kiv::DriveKind::kLocal : kiv::DriveKind::kNetwork);
    }
    CHECK(letters.Find('C') == kiv::DriveKind::kNetwork);
    CHECK(letters.Find('b') == kiv::DriveKind::kLocal);
    CHECK(letters.Find('\xFF') == kiv::DriveKind::kNetwork);
}

TEST_CASE("a text is found in multi-string data that lies") {
    const auto holds = [](std::string_view data) { return kiv::HoldsText(data, "Terminal Server"); };
    CHECK(holds({"Small Business\0Terminal Server\0\0", 32}));
    CHECK(holds("Terminal Server"));
    CHECK(holds({"\0\0Terminal Server", 17}));
    CHECK_FALSE(holds({"terminal server\0Terminal Serve\0\0", 32}));
    CHECK_FALSE(holds({"Terminal Server \0", 17}));
    CHECK_FALSE(holds({"\0\0\0", 3}));
    CHECK_FALSE(holds(""));
}
