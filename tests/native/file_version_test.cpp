#include <cstddef>
#include <string>

#include "files/file_type.h"
#include "support/check.h"
#include "support/hresult.h"
#include "tavkivut/file.h"

static_assert(offsetof(CKivFileVersion, Major) == 32);
static_assert(offsetof(CKivFileVersion, Revision) == 38);
static_assert(sizeof(CKivFileVersion) == 40);
static_assert(sizeof(FILE_VERSION) == 8);

TEST_CASE("versions are ordered part by part") {
    struct Row {
        CKivFileVersion left, right;
        int difference;
    };
    const Row rows[] = {
        {{1, 2, 3, 4}, {1, 2, 3, 4}, 0},         {{1, 2, 3, 4}, {1, 2, 3, 1}, 3},
        {{1, 2, 3, 4}, {1, 2, 4, 0}, -1},        {{1, 9, 0, 0}, {1, 2, 4, 0}, 7},
        {{2, 0, 0, 0}, {1, 9, 9, 9}, 1},         {{0, 0, 0, 0}, {65535, 0, 0, 0}, -65535},
        {{65535, 0, 0, 0}, {0, 0, 0, 0}, 65535}, {{1, 65535, 0, 0}, {1, 2, 3, 4}, 65533},
    };
    for (const Row& row : rows) {
        CAPTURE(row.difference);
        CHECK(row.left.Compare(row.right) == row.difference);
        CHECK((row.left == row.right) == (row.difference == 0));
        CHECK((row.left != row.right) == (row.difference != 0));
        CHECK((row.left < row.right) == (row.difference < 0));
        CHECK((row.left > row.right) == (row.difference > 0));
        CHECK((row.left <= row.right) == (row.difference <= 0));
        CHECK((row.left >= row.right) == (row.difference >= 0));
        CHECK(row.left.Verify(row.right) == (row.difference >= 0));
    }
}

TEST_CASE("a version is valid when every part is known") {
    CKivFileVersion version;
    CHECK_FALSE(version.IsValid());
    CHECK(std::string(version.GetVersionString()) == "N/A");
    for (unsigned short CKivFileVersion::*part :
         {&CKivFileVersion::Major, &CKivFileVersion::Minor, &CKivFileVersion::Build, &CKivFileVersion::Revision}) {
        version = FILE_VERSION{6, 20, 0, 65534};
        CHECK(version.IsValid());
        CHECK(std::string(version.GetVersionString()) == "6.20.0.65534");
        version.*part = 0xFFFF;
        CHECK_FALSE(version.IsValid());
        CHECK(std::string(version.GetVersionString()) == "N/A");
    }
}

TEST_CASE("copies take the parts and leave the text alone") {
    CKivFileVersion source(FILE_VERSION{1, 2, 3, 4});
    source.GetVersionString();
    CKivFileVersion copy(source);
    CHECK(copy == source);
    CHECK(std::string(copy.m_text).empty());
    CKivFileVersion target(9, 9, 9, 9);
    target.GetVersionString();
    target = source;
    CHECK(target == source);
    CHECK(std::string(target.m_text) == "9.9.9.9");
    const FILE_VERSION parts = target;
    CHECK(parts.Build == 3);
    target.Init();
    CHECK_FALSE(target.IsValid());
    CHECK(target.Compare(CKivFileVersion()) == 0);
}

TEST_CASE("the extension tells the kind of file") {
    struct Row {
        const char* path;
        unsigned type;
    };
    const Row rows[] = {
        {"setup.EXE", 0},  {"C:\\a b\\x.dll", 1},
        {"x.Ocx", 1},      {"x.cpl", 1},
        {"x.tlb", 6},      {"tlb", 6},
        {"x.ttf", 3},      {"C:\\x\\font.TTC", 3},
        {"x.fon", 4},      {"a.txt.reg", 5},
        {"name", 6},       {"", 6},
        {"x.exe.", 6},     {"x.exe ", 6},
        {".exe", 0},       {"C:\\dir.exe\\x", 6},
        {"dir.exe/x", 6},  {"dir.d\\x.exe", 0},
        {"x.exe:part", 6}, {"x.exee", 6},
    };
    for (const Row& row : rows) {
        CAPTURE(row.path);
        CHECK(kiv::FileTypeOf(row.path) == row.type);
    }
}

TEST_CASE("a Win32 error becomes a status, a status stays one") {
    CHECK(kiv::StatusFromWin32(0) == 0);
    CHECK(kiv::StatusFromWin32(2) == static_cast<std::int32_t>(0x80070002U));
    CHECK(kiv::StatusFromWin32(0x12345) == static_cast<std::int32_t>(0x80072345U));
    CHECK(kiv::StatusFromWin32(0x80004005U) == kiv::kStatusFail);
}
