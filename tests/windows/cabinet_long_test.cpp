// More than one cabinet holds.

#include "tavkivut/cabinet.h"

#include <cstdint>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"
#include "tavkivut/crc32.h"

#include <psapi.h>

namespace {

using kiv::test::TempDirectory;

constexpr unsigned kMegabyte = 1024 * 1024;
constexpr unsigned kMegabytes = 600;

// Bytes that do not pack.
void WriteNoise(const std::string& path) {
    const kiv::ScopedFile file(::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    std::uint64_t seed = 0;
    std::string bytes(kMegabyte, '\0');
    DWORD written = 0;
    for (unsigned i = 0; i < kMegabytes; ++i) {
        for (char& byte : bytes) {
            seed = seed * 6364136223846793005u + 1442695040888963407u;
            byte = static_cast<char>(seed >> 56);
        }
        REQUIRE(::WriteFile(file.Get(), bytes.data(), kMegabyte, &written, nullptr));
    }
}

unsigned long ChecksumOf(const std::string& path) {
    unsigned long crc = 0;
    CHECK(CKivCrc32::FromFile(path.c_str(), crc) == NO_ERROR);
    return crc;
}

std::size_t PeakMemory() {
    PROCESS_MEMORY_COUNTERS counters{};
    REQUIRE(::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters));
    return counters.PeakPagefileUsage;
}

}  // namespace

TEST_CASE("600 MB go on in a second cabinet, are read with it, and need little memory") {
    const TempDirectory folder;
    const std::string big = folder / "big";
    WriteNoise(big);
    const std::size_t before = PeakMemory();
    // The continuation is held, so that Close cannot remove it and there is a set to read.
    struct Holder {
        std::string path;
        kiv::ScopedFile file;
    } holder{folder / "tavcab02.tmp", {}};
    const auto hold = [](unsigned long, unsigned long, void* context) {
        Holder& held = *static_cast<Holder*>(context);
        if (!held.file)
            held.file.Reset(::CreateFileA(held.path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                          OPEN_EXISTING, 0, nullptr));
        return 1;
    };
    CKivCabArchive archive;
    archive.SetProgress(hold, &holder);
    REQUIRE(archive.Create((folder / "set.cab").c_str()) == 1);
    CHECK(archive.Append(big.c_str(), nullptr) == 1);
    CHECK(archive.Close() == 1);
    REQUIRE(holder.file);
    REQUIRE(archive.Open((folder / "set.cab").c_str()) == 1);
    CHECK(archive.Extract((folder / "out").c_str(), nullptr, nullptr) == 1);
    CHECK(ChecksumOf(folder / "out\\big") == ChecksumOf(big));
    CHECK(PeakMemory() - before <= 64 * kMegabyte);
    holder.file.Reset();
    CHECK(archive.Close() == 1);
    CHECK(::GetFileAttributesA(holder.path.c_str()) == INVALID_FILE_ATTRIBUTES);
    CHECK(::GetFileAttributesA((folder / "set.cab").c_str()) != INVALID_FILE_ATTRIBUTES);
}
