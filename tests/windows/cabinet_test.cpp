#include "tavkivut/cabinet.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "files/cab_api.h"
#include "support/check.h"
#include "support/real_log.h"
#include "support/recording_log.h"
#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "tavkivut/tools.h"

using kiv::test::ReadFileBytes;
using kiv::test::RecordingLog;
using kiv::test::TempDirectory;

// Where the name and the last field stand.
struct CKivCabArchiveLayout {
    static std::vector<std::ptrdiff_t> Offsets(const CKivCabArchive& archive) {
        const auto* const start = reinterpret_cast<const char*>(&archive);
        return {reinterpret_cast<const char*>(&archive.m_name) - start,
                reinterpret_cast<const char*>(&archive.m_errorFlag) - start};
    }
    static_assert(offsetof(tagExtractHandlerInfo, filter) == 4 * sizeof(void*));
};

namespace {

using Names = std::vector<std::string>;
constexpr unsigned kNotOpened = 0xFFFFFFFF;

// The line about a failure, for an archive in a folder.
std::string Failure(const char* text, const std::string& archive, const char* error, int code) {
    char number[48];
    std::snprintf(number, sizeof number, ", Error code 0x%x (%i)", code, code);
    return "1E " + std::string(text) + " '" + archive + "': " + error + number;
}

std::string DataFile(const std::string& name) {
    return std::string(std::getenv("KIV_TEST_DATA")) + "/cabinets/" + name;
}

int KeepName(const char* name, void* names) {
    static_cast<Names*>(names)->emplace_back(name);
    return 1;
}

int KeepNameAndEnd(const char* name, void* names) {
    KeepName(name, names);
    return 0;
}

int KeepEntry(const KIV_ARCHIVE_ENTRY* entry, void* names) {
    char text[300];
    std::snprintf(text, sizeof text, "%s %lu %04x %04x %x", entry->name, entry->size, entry->date, entry->time,
                  entry->attributes);
    return KeepName(text, names);
}

int EndAtOnce(unsigned long, unsigned long, void*) {
    return 0;
}

// A folder that does not exist has none.
Names FilesBelow(const std::string& folder) {
    Names names;
    std::error_code error;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, error)) {
        if (entry.is_regular_file())
            names.push_back(entry.path().lexically_relative(folder).string());
    }
    return names;
}

// Makes a cabinet of two files, "bin\a.dll" and "b.txt".
std::string MakeCabinet(const TempDirectory& folder) {
    const std::string cabinet = folder / "made.cab";
    CKivCabArchive factory;
    REQUIRE(factory.Create(cabinet.c_str()) == 1);
    REQUIRE(factory.AppendWithPath(folder.Write("a.dll", std::string(70000, 'x')).c_str(), "bin\\a.dll") == 1);
    REQUIRE(factory.AppendWithPath(folder.Write("b.txt", "second").c_str(), "b.txt") == 1);
    REQUIRE(factory.Close() == 1);
    return cabinet;
}

template <class Operation>
std::size_t SlotOf(Operation operation) {
    std::size_t slot = 0;
    std::memcpy(&slot, &operation, sizeof slot);
    return (slot - 1) / sizeof(void*);
}

}  // namespace

TEST_CASE("the fields and the eight slots of the interface stand in their order") {
    const std::vector<std::ptrdiff_t> offsets = CKivCabArchiveLayout::Offsets(CKivCabArchive());
    CHECK(offsets ==
          (sizeof(void*) == 8 ? std::vector<std::ptrdiff_t>{272, 304} : std::vector<std::ptrdiff_t>{264, 284}));
    using One = int (IKivArchive::*)(const char*, const char*) noexcept;
    using All = int (IKivArchive::*)(const char*, ExtractCallback, void*) noexcept;
    CHECK(std::vector<std::size_t>{SlotOf(&IKivArchive::Open), SlotOf(&IKivArchive::Create),
                                   SlotOf(&IKivArchive::Close), SlotOf(&IKivArchive::Append),
                                   SlotOf<One>(&IKivArchive::Extract), SlotOf<All>(&IKivArchive::Extract),
                                   SlotOf(&IKivArchive::EnumContent), SlotOf(&IKivArchive::GetDefaultExtension)} ==
          std::vector<std::size_t>{0, 1, 2, 3, 4, 5, 6, 7});
}

TEST_CASE("what is stored comes back with its name, times and attributes, and the log tells") {
    const TempDirectory folder;
    CKivCabArchive archive;
    REQUIRE(archive.Open(DataFile("sound_mszip.cab").c_str()) == 3);
    REQUIRE(archive.Extract((folder / "in").c_str(), nullptr, nullptr) == 1);
    CHECK(CKivCabArchive(archive).Close() == 1);
    const std::string big = folder / "in\\sub\\big.bin";
    const std::string empty = folder / "in\\empty.txt";
    REQUIRE(::SetFileAttributesA(big.c_str(), 0x23));
    const std::string path = folder / "made.cab";
    const RecordingLog log;
    CHECK(archive.Create(path.c_str()) == 1);
    CHECK(archive.Create(path.c_str()) == -1);
    CHECK(archive.Open(path.c_str()) == kNotOpened);
    CHECK(archive.Append(big.c_str(), (folder / "IN\\").c_str()) == 1);
    CHECK(archive.AppendWithPath(empty.c_str(), "none") == 1);
    CHECK(archive.Extract(nullptr, folder.Path().c_str()) == 0);
    CHECK(archive.AppendExisting(nullptr) == 0);
    CHECK(archive.Close() == 1);
    CHECK(archive.Append(big.c_str(), nullptr) == 0);
    CHECK(archive.Open(path.c_str()) == 2);
    CHECK(log.Lines() ==
          Names{"1  Archive factory : append '" + big + "' to archive, archive name 'sub\\big.bin'",
                "1  Archive factory : append '" + empty + "' to archive",
                "1  Successfully opened archive '" + path +
                    "'\n\n   Total length of archive      : " + std::to_string(ReadFileBytes(path).size()) +
                    " Bytes\n   Number of files in archive   : 2\n   Archive vendor               : TAV AG\n"});
    Names names;
    CHECK(archive.EnumEntries(KeepEntry, &names) == 1);
    CHECK(archive.EnumContent(KeepNameAndEnd, &names) == 1);
    CHECK(archive.Extract((folder / "out\\deep").c_str(), KeepName, &names) == 1);
    CHECK(names == Names{"sub\\big.bin 40000 58e3 8a5b 23", "none 0 58e3 8a5b 20", "sub\\big.bin", "none",
                         "sub\\big.bin", "none"});
    CHECK(ReadFileBytes(folder / "out\\deep\\sub\\big.bin") == ReadFileBytes(big));
    CHECK((::GetFileAttributesA((folder / "out\\deep\\sub\\big.bin").c_str()) & 0x27) == 0x23);
    CHECK(archive.GetDefaultExtension() == std::string("cab"));
}

TEST_CASE("one file, all, or none are extracted; what cannot be written ends the extraction") {
    const TempDirectory folder;
    const std::string path = MakeCabinet(folder);
    const std::string out = folder / "out";
    CKivCabArchive archive;
    REQUIRE(archive.Open(path.c_str()) == 2);
    const RecordingLog log;
    CHECK((archive.Extract("B.TXT", out.c_str()) == 1 && archive.Extract("missing", out.c_str()) == 1));
    CHECK((archive.Extract(nullptr, "") == 0 && archive.EnumContent(nullptr, nullptr) == 0));
    CHECK(FilesBelow(out) == Names{"b.txt"});
    REQUIRE(::SetFileAttributesA((out + "\\b.txt").c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));
    CHECK(archive.Extract(out.c_str(), nullptr, nullptr) == 1);
    CHECK(log.Lines().empty());
    Names names;
    CHECK(archive.Extract(out.c_str(), KeepNameAndEnd, &names) == 0);
    CHECK(names == Names{"bin\\a.dll"});
    REQUIRE(CKivTools::CreateDirectoryRecursive((folder / "in_the_way\\b.txt").c_str()) == 1);
    CHECK(archive.Extract("b.txt", (folder / "in_the_way").c_str()) == 0);
    CHECK(archive.Extract("b.txt", (folder / std::string(240, 'd')).c_str()) == 0);
    archive.SetProgress(EndAtOnce, nullptr);
    CHECK(archive.Extract((folder / "half").c_str(), nullptr, nullptr) == 0);
    CHECK(FilesBelow(folder / "half").empty());
    const std::string aborted = Failure("Failed to extract archive", path, "User aborted", 11);
    const std::string unwritten = Failure("Failed to extract archive", path, "Failure writing to target file", 8);
    CHECK(log.Lines() == Names{aborted, unwritten, unwritten, aborted});
}

TEST_CASE("cabinets of every shape are read, hostile ones are refused and reach nothing outside") {
    std::istringstream verdicts(ReadFileBytes(DataFile("verdicts.txt")));
    std::string error;
    std::getline(verdicts, error);  // the heading
    std::string name;
    int code = 0;
    int cabinets = 0;
    for (int check = 0; verdicts >> name >> check >> code >> std::ws && std::getline(verdicts, error); ++cabinets) {
        CAPTURE(name);
        const TempDirectory folder;
        const std::string path = folder.Write(name + ".cab", ReadFileBytes(DataFile(name + ".cab")));
        const RecordingLog log;
        CKivCabArchive archive;
        const bool opens = code != 2 && code != 3;
        CHECK((archive.Open(path.c_str()) != kNotOpened) == opens);
        CHECK(archive.Extract((folder / "a\\b").c_str(), nullptr, nullptr) == (code == 0 ? 1 : 0));
        CHECK(archive.GetErrorCode() == code);
        const char* const text = opens ? "Failed to extract archive" : "Not a valid cabinet archive";
        if (code != 0)
            CHECK(log.Lines().back() == Failure(text, path, error.c_str(), code));
        CHECK(FilesBelow(folder.Path()).size() == (code == 0 ? 4 : 1));
        CHECK(FilesBelow(folder / "a\\b").size() == (code == 0 ? 3 : 0));
    }
    CHECK(cabinets > 40);
    CKivCabArchive archive;
    Names names;
    CHECK((archive.Open(DataFile("sound_utf8_name.cab").c_str()) == 1 && archive.EnumContent(KeepName, &names) == 1));
    CHECK(names == Names{std::string("gr\xFC\xDF") + "e.txt"});
}

TEST_CASE("a file that cannot be stored fails alone, one that cannot be read to its end spoils the cabinet") {
    const TempDirectory folder;
    const std::string path = folder / "made.cab";
    const std::string good = folder.Write("good", "good");
    const std::string locked = folder.Write("locked", "x");
    const kiv::ScopedFile writer(
        ::CreateFileA(locked.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    const RecordingLog log;
    CKivCabArchive archive;
    REQUIRE(archive.Create(path.c_str()) == 1);
    CHECK(archive.AppendWithPath(good.c_str(), "1") == 1);
    for (const std::string& file : {folder / "missing", locked, folder.Path()}) {
        CHECK(archive.AppendWithPath(file.c_str(), "2") == 0);
        CHECK(log.Lines().back() ==
              Failure("Failed to append file to", path, "Failure opening file to be stored in cabinet", 1));
    }
    CHECK(archive.AppendWithPath(good.c_str(), std::string(256, 'n').c_str()) == 0);
    CHECK(archive.Append(good.c_str(), good.c_str()) == 0);
    CHECK(archive.AppendWithPath(good.c_str(), std::string(255, 'n').c_str()) == 1);
    CHECK((archive.Close() == 1 && archive.Open(path.c_str()) == 2 && archive.Close() == 1));

    REQUIRE(archive.Create(path.c_str()) == 1);
    archive.SetProgress(EndAtOnce, nullptr);
    CHECK(archive.AppendWithPath(folder.Write("big", std::string(100000, 'b')).c_str(), "big") == 0);
    CHECK(log.Lines().back() == Failure("Failed to append file to", path, "Client requested abort", 7));
    archive.SetProgress(nullptr, nullptr);
    CHECK(archive.AppendWithPath(good.c_str(), "1") == 1);
    CHECK(archive.Close() == 0);
    CHECK(log.Lines().back() == Failure("Failed to flush archive factory", path, "Client requested abort", 7));
    CHECK(archive.Open(path.c_str()) == 2);  // the one from before stands untouched
}

TEST_CASE("a cabinet that cannot be written leaves nothing, in the folder for temporary files neither") {
    const TempDirectory folder;
    const std::string file = folder.Write("file", std::string(100000, 'x'));
    const TempDirectory temporary;
    const kiv::test::ScopedVariable variable("TMP", temporary.Path().c_str());
    const RecordingLog log;
    CKivCabArchive archive;
    Names paths{folder / "missing\\made.cab", folder.Path()};
    if (::GetFileAttributesA("Z:\\dev\\full") != INVALID_FILE_ATTRIBUTES)
        paths.emplace_back("Z:\\dev\\full");  // opens, but is a disk that is full
    for (const std::string& path : paths) {
        CAPTURE(path);
        REQUIRE(archive.Create(path.c_str()) == 1);
        CHECK(archive.Append(file.c_str(), nullptr) == 1);
        CHECK(archive.Close() == 0);
        CHECK(log.Lines().back() ==
              Failure("Failed to flush archive factory", path, "Could not create cabinet file", 6));
    }
    {
        CKivCabArchive dropped;
        REQUIRE(dropped.Create((folder / "dropped.cab").c_str()) == 1);
        CHECK(dropped.Append(file.c_str(), nullptr) == 1);
    }
    CHECK(FilesBelow(folder.Path()) == Names{"file"});
    CHECK(FilesBelow(temporary.Path()).empty());
    const std::string tooLong = folder.Path() + "\\" + std::string(260 - folder.Path().size() - 1, 'n');
    CHECK(archive.Create(tooLong.c_str()) == 0);
    CHECK(log.Lines().back() == Failure("Failed to create archive", tooLong, "Could not create cabinet file", 6));
    CHECK(archive.Open(tooLong.c_str()) == kNotOpened);
    CHECK(log.Lines().back() == Failure("Failed to open archive", tooLong, "Cabinet not found", 1));
    CHECK(archive.Open((folder / "missing.cab").c_str()) == kNotOpened);
    CHECK(log.Lines().back() == Failure("Failed to open archive file", folder / "missing.cab", "Cabinet not found", 1));
}

TEST_CASE("closing removes continuation cabinets, by their whole name only") {
    const TempDirectory folder;
    const std::string path = MakeCabinet(folder);
    for (const char* name : {"tavcab02.tmp", "TAVCABx1.TMP", "tavcab2.tmp", "tavcab100.tmp"})
        folder.Write(name, "x");
    REQUIRE(::CreateDirectoryA((folder / "tavcab03.tmp").c_str(), nullptr));
    CKivCabArchive archive;
    CHECK(archive.Close() == 1);
    REQUIRE(archive.Open(path.c_str()) == 2);
    const RecordingLog log;
    CHECK(archive.Close() == 1);
    Names lines = log.Lines();
    std::sort(lines.begin(), lines.end());
    CHECK(lines == Names{"3  Successfully removed CAB archive cache file '" + (folder / "TAVCABx1.TMP") + "'",
                         "3  Successfully removed CAB archive cache file '" + (folder / "tavcab02.tmp") + "'",
                         "3W Failed to remove CAB archive cache file '" + (folder / "tavcab03.tmp") + "'"});
    CHECK(ReadFileBytes(folder / "tavcab2.tmp") + ReadFileBytes(folder / "tavcab100.tmp") == "xx");
}

TEST_CASE("copies share what is open, whichever goes first") {
    const TempDirectory folder;
    const std::string path = MakeCabinet(folder);
    const auto work = [&path] {
        CKivCabArchive first;
        REQUIRE(first.Open(path.c_str()) == 2);
        CKivCabArchive second(first);
        CKivCabArchive third;
        third = second;
        third = *&third;
        Names names;
        CHECK(second.EnumContent(KeepName, &names) == 1);
        CHECK(first.Close() == 1);
        CHECK(second.EnumContent(KeepName, &names) == 0);
        CHECK(third.Close() == 1);
        CHECK(second.Open(path.c_str()) == 2);
        first = second;
        second = CKivCabArchive();
        CHECK(first.EnumContent(KeepName, &names) == 1);
        CHECK(names.size() == 4);
    };
    CHECK(kiv::test::LeavesNothing(work));
}

namespace {

template <class Result, class... Arguments>
void Break(Result(DIAMONDAPI*& call)(Arguments...)) {
    call = [](Arguments...) DIAMONDAPI -> Result { return Result(); };
}

}  // namespace

TEST_CASE("a call of the codec that fails, or is missing, is one line of the log") {
    using Api = kiv::CabinetApi;
    const struct {
        void (*change)(Api& api);
        const char* text;
        const char* error;
        int code;
    } rows[] = {
        {[](Api& api) { api.fciDestroy = nullptr; }, "Failed to create archive", "Could not create cabinet file", 6},
        {[](Api& api) { Break(api.fciCreate); }, "Failed to create archive", "No error", 0},
        {[](Api& api) { Break(api.fciAddFile); }, "Failed to append file to", "No error", 0},
        {[](Api& api) { Break(api.fciFlushCabinet); }, "Failed to flush archive factory", "No error", 0},
        {[](Api& api) { Break(api.fciDestroy); }, "Failed to close archive factory", "No error", 0},
        {[](Api& api) { api.fdiCopy = nullptr; }, "Failed to open archive", "Cabinet not found", 1},
        {[](Api& api) { Break(api.fdiCreate); }, "Failed to open archive", "No error", 0},
        {[](Api& api) { Break(api.fdiIsCabinet); }, "Not a valid cabinet archive", "Not a cabinet", 2},
        {[](Api& api) { Break(api.fdiCopy); }, "Failed to extract archive", "Corrupt cabinet", 4},
        {[](Api& api) { Break(api.fdiDestroy); }, "Failed to close archive", "No error", 0},
    };
    const TempDirectory folder;
    const std::string path = MakeCabinet(folder);
    for (const auto& row : rows) {
        CAPTURE(row.text);
        kiv::test::SwappedApi<Api> codec;
        row.change(*codec.operator->());
        const RecordingLog log;
        Names names;
        CKivCabArchive archive;
        archive.Create(path.c_str());
        archive.AppendWithPath((folder / "b.txt").c_str(), "b.txt");
        const int written = archive.Close();
        archive.Open(path.c_str());
        archive.EnumContent(KeepName, &names);
        const int read = archive.Close();
        Names errors;
        for (const std::string& line : log.Lines()) {
            if (line[1] == 'E')
                errors.push_back(line);
        }
        CHECK(errors == Names{Failure(row.text, path, row.error, row.code)});
        CHECK(written == (std::strstr(row.text, "factory") != nullptr ? 0 : 1));
        CHECK(read == (row.text == std::string("Failed to close archive") ? 0 : 1));
    }
}
