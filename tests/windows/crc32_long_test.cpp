#include "tavkivut/crc32.h"

#include "support/check.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"

TEST_CASE("files above 4 GB have checksums of all their bytes") {
    const kiv::test::TempDirectory folder;
    const std::string path = folder / "big";
    {
        const kiv::ScopedFile file(::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
        LONG high = 1;
        REQUIRE(::SetFilePointer(file.Get(), 0, &high, FILE_BEGIN) == 0);
        DWORD written = 0;
        REQUIRE(::WriteFile(file.Get(), "behind 4 GB", 11, &written, nullptr));
    }
    unsigned long crc = 0;
    CHECK(CKivCrc32::FromFile(path.c_str(), crc) == 0);
    CHECK(crc == 0x857F3B16);
}
