#include "system/os_release.h"

#include <string>
#include <vector>

#include "support/check.h"
#include "support/hresult.h"
#include "system/text_list.h"

using kiv::OsVersion;
using Values = std::vector<int>;

namespace {

template <class Version>
struct Row {
    Version version;
    Values is;
    const char* text;
};

// The values that a check answers with that status.
template <class Check>
Values Answering(std::int32_t status, const Values& of, const Check& check) {
    Values values;
    for (const int value : of) {
        if (check(value) == status)
            values.push_back(value);
    }
    return values;
}

}  // namespace

TEST_CASE("each system is what it is and nothing else") {
    const Row<OsVersion> rows[] = {
        {{1, 4, 0, 0x040003B6}, {OS_ANY_9X, OS_W95}, "Windows 95 (Version 4.0 Build# 950)"},
        {{1, 4, 0, 0x04000457}, {OS_ANY_9X, OS_W95, OS_W95_OSR2}, "Windows 95 (Version 4.0 Build# 1111)"},
        {{1, 4, 10, 0x040A08AE}, {OS_ANY_9X, OS_W98}, "Windows 98 (Version 4.10 Build# 2222)"},
        {{1, 4, 90, 0x045A0BB8}, {OS_ANY_9X, OS_WME}, "Windows ME (Version 4.90 Build# 3000)"},
        {{2, 3, 51, 1057}, {OS_ANY_NT}, "os type unknown(Version 3.51 Build# 1057)"},
        {{2, 4, 0, 1381}, {OS_ANY_NT, OS_NT4}, "Windows NT4 (Version 4.0 Build# 1381)"},
        {{2, 5, 1, 2600}, {OS_ANY_NT, OS_XP}, "Windows XP (Version 5.1 Build# 2600)"},
        {{2, 5, 3, 70000}, {OS_ANY_NT, OS_W2003}, "Windows Server 2003(Version 5.3 Build# 70000)"},
        {{2, 6, 0, 6000}, {OS_ANY_NT}, "os type unknown(Version 6.0 Build# 6000)"},
    };
    const Values all{OS_ANY_NT, OS_ANY_9X, 0,      OS_NT4,      OS_W2000, OS_XP,
                     OS_W2003,  5,         OS_W95, OS_W95_OSR2, OS_W98,   OS_WME};
    for (const auto& row : rows) {
        CAPTURE(row.text);
        const bool nt = row.version.platform == 2;
        const auto check = [&](int which) { return kiv::CheckOsRelease(nt, which, &row.version); };
        CHECK(Answering(kiv::kStatusOk, all, check) == row.is);
        CHECK(Answering(kiv::kStatusFail, all, check) == (nt ? Values{0, 5} : Values{0, OS_W2003, 5}));
        char text[100];
        kiv::FormatOsVersion(text, sizeof text, nt, &row.version);
        CHECK(std::string(text) == row.text);
    }
}

TEST_CASE("each browser is what it is and nothing else") {
    const Row<FILE_VERSION> rows[] = {
        {{4, 70, 1154, 9}, {}, "Shldocvw.dll Fileversion 4.70.1154.9"},
        {{4, 70, 1155, 0}, {IE_3X, IE_300}, "Internet Explorer 3.0"},
        {{4, 70, 1215, 0}, {IE_3X, IE_301}, "Internet Explorer 3.10"},
        {{4, 70, 1300, 0}, {IE_3X, IE_302}, "Internet Explorer 3.02"},
        {{4, 70, 1301, 0}, {}, "Shldocvw.dll Fileversion 4.70.1301.0"},
        {{4, 71, 1712, 6}, {IE_4X, IE_400}, "Internet Explorer 4.00"},
        {{4, 72, 3110, 8}, {IE_4X, IE_401}, "Internet Explorer 4.01"},
        {{5, 0, 517, 0}, {IE_5X}, "Shldocvw.dll Fileversion 5.0.517.0"},
        {{5, 0, 518, 0}, {IE_5X, IE_500}, "Internet Explorer 5.00"},
        {{5, 0, 2918, 1}, {IE_5X}, "Shldocvw.dll Fileversion 5.0.2918.1"},
        {{5, 0, 2919, 0}, {IE_5X, IE_501}, "Internet Explorer 5.01"},
        {{6, 0, 2900, 0}, {IE_60X, IE_600}, "Internet Explorer 6.00"},
        {{8, 1, 0, 65535}, {IE_AFTER_600}, "Shldocvw.dll Fileversion 8.1.0.65535"},
    };
    const Values all{0,      IE_3X,  IE_4X,  IE_5X,  IE_60X, IE_300, IE_301,      IE_302,
                     IE_400, IE_401, IE_500, IE_501, IE_550, IE_600, IE_AFTER_600};
    for (const auto& row : rows) {
        CAPTURE(row.text);
        const auto check = [&](int which) { return kiv::CheckIeRelease(which, row.version); };
        CHECK(Answering(kiv::kStatusOk, all, check) == row.is);
        CHECK(Answering(kiv::kStatusFail, all, check) == Values{0});
        char text[100];
        kiv::FormatIeVersion(text, sizeof text, row.version);
        CHECK(std::string(text) == row.text);
    }
}

TEST_CASE("a text is found in multi-string data that lies") {
    const auto holds = [](std::string_view data) { return kiv::HoldsText(data, "Terminal Server"); };
    CHECK((holds({"Small Business\0Terminal Server\0\0", 32}) && holds({"\0\0Terminal Server", 17})));
    CHECK_FALSE((holds({"terminal server\0Terminal Server \0", 33}) || holds({"\0\0", 2}) || holds("")));
}
