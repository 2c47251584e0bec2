#include <cstddef>
#include <string>

#include "files/file_type.h"
#include "support/check.h"
#include "support/hresult.h"
#include "tavkivut/file.h"

static_assert(offsetof(CKivFileVersion, Major) == 32 && offsetof(CKivFileVersion, Revision) == 38);
static_assert(sizeof(CKivFileVersion) == 40 && sizeof(FILE_VERSION) == 8);

TEST_CASE("versions are ordered part by part, an unknown part above all") {
    struct Row {
        CKivFileVersion left, right;
        int difference;
    };
    const Row rows[] = {
        {{1, 2, 3, 4}, {1, 2, 3, 4}, 0},          {{1, 2, 3, 4}, {1, 2, 3, 1}, 3},
        {{1, 2, 3, 4}, {1, 2, 4, 0}, -1},         {{1, 9, 0, 0}, {1, 2, 4, 0}, 7},
        {{0, 0, 0, 0}, {65535, 0, 0, 0}, -65535}, {{1, 65535, 0, 0}, {1, 2, 3, 4}, 65533},
    };
    for (const auto& [left, right, difference] : rows) {
        CAPTURE(difference);
        CHECK(left.Compare(right) == difference);
        CHECK(((left == right) == (difference == 0) && (left != right) == (difference != 0)));
        CHECK(((left < right) == (difference < 0) && (left > right) == (difference > 0)));
        CHECK(((left <= right) == (difference <= 0) && (left >= right) == (difference >= 0)));
        CHECK(left.Verify(right) == (difference >= 0));
    }
}

TEST_CASE("a version is valid and has a text when every part is known") {
    for (const auto part :
         {&CKivFileVersion::Major, &CKivFileVersion::Minor, &CKivFileVersion::Build, &CKivFileVersion::Revision}) {
        CKivFileVersion version(FILE_VERSION{6, 20, 0, 65534});
        CHECK(version.IsValid());
        CHECK(std::string(version.GetVersionString()) == "6.20.0.65534");
        version.*part = 0xFFFF;
        CHECK_FALSE(version.IsValid());
        CHECK(std::string(version.GetVersionString()) == "N/A");
        const CKivFileVersion copy = version;
        version.Init();
        CHECK((version == CKivFileVersion() && version != copy));
    }
}

TEST_CASE("the extension tells the kind of file") {
    const std::pair<const char*, unsigned> rows[] = {
        {"setup.EXE", 0}, {"C:\\a b\\x.dll", 1}, {"x.Ocx", 1},      {"x.cpl", 1},     {"x.tlb", 6},
        {"x.ttf", 3},     {"font.TTC", 3},       {"x.fon", 4},      {"a.b.reg", 5},   {"", 6},
        {"x.exe.", 6},    {".exe", 0},           {"dir.exe\\x", 6}, {"dir.exe/x", 6}, {"dir.d\\x.exe", 0}};
    kiv::test::CheckRows(rows, kiv::FileTypeOf);
}

TEST_CASE("a Win32 error becomes a status, a status stays one") {
    CHECK(kiv::StatusFromWin32(0) == 0);
    CHECK(kiv::StatusFromWin32(0x12345) == static_cast<std::int32_t>(0x80072345U));
    CHECK(kiv::StatusFromWin32(0x80004005U) == kiv::kStatusFail);
}
