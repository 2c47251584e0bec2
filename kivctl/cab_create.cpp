#include "kivctl/cab_create.h"

#include <algorithm>
#include <set>

#include "support/windows_api.h"

#include "kivctl/long_work.h"
#include "kivctl/outcome.h"
#include "support/ascii.h"
#include "support/characters.h"
#include "support/code_page.h"
#include "support/scoped_resource.h"
#include "tavkivut/cabinet.h"

namespace kivctl {
namespace {

// Below the size at which the library would begin a continuation, by the most that one folder of packed data holds
// back.
constexpr std::uint64_t kLargestCabinet = 0x20000000 - 0x200000;
constexpr std::size_t kMostFiles = 0xFFFF;
constexpr std::uint64_t kBlockHeader = 8;
constexpr std::uint64_t kFileHeader = 16;

struct Item {
    std::string file;
    std::string name;  // in the cabinet
    std::uint64_t size;
};

// Of full paths, which have a backslash.
std::string ParentOf(const std::string& path) {
    return path.substr(0, kiv::LastBackslash(path, kiv::IsAnsiLeadByte));
}

std::string NameOf(const std::string& path) {
    return path.substr(kiv::LastBackslash(path, kiv::IsAnsiLeadByte) + 1);
}

std::uint64_t SizeOf(const WIN32_FIND_DATAA& found) {
    return static_cast<std::uint64_t>(found.nFileSizeHigh) << 32 | found.nFileSizeLow;
}

// What a folder holds, in the order of the names.
std::vector<WIN32_FIND_DATAA> EntriesOf(const std::string& folder) {
    std::vector<WIN32_FIND_DATAA> entries;
    WIN32_FIND_DATAA found;
    const kiv::ScopedFileSearch search(::FindFirstFileA((folder + "\\*").c_str(), &found));
    if (!search)
        throw Failure("'" + folder + "' cannot be read: " + ErrorText(::GetLastError()));
    do {
        const std::string name = found.cFileName;
        if (name != "." && name != "..")
            entries.push_back(found);
    } while (::FindNextFileA(search.Get(), &found));
    if (const DWORD error = ::GetLastError(); error != ERROR_NO_MORE_FILES)
        throw Failure("'" + folder + "' cannot be read to its end: " + ErrorText(error));
    std::sort(entries.begin(), entries.end(), [](const WIN32_FIND_DATAA& a, const WIN32_FIND_DATAA& b) {
        return std::string(a.cFileName) < b.cFileName;
    });
    return entries;
}

// The files that shall be stored. The cabinet itself may stand in one of the folders.
class Collection {
public:
    explicit Collection(const std::string& cabinet) : m_cabinet(cabinet) {}

    void Add(const std::string& source) {
        const std::string path = FullPath(source);
        WIN32_FIND_DATAA found;
        const DWORD attributes = ::GetFileAttributesA(path.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES)
            throw Failure("'" + source + "' cannot be read: " + ErrorText(::GetLastError()));
        if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            AddFolder(NameOf(path).empty() ? ParentOf(path) : path, "");
            return;
        }
        const kiv::ScopedFileSearch search(::FindFirstFileA(path.c_str(), &found));
        AddFile({path, NameOf(path), search ? SizeOf(found) : 0});
    }

    const std::vector<Item>& Items() const { return m_items; }

private:
    // A folder that is a link to another one is left out: it could lead back.
    void AddFolder(const std::string& folder, const std::string& prefix) {
        for (const WIN32_FIND_DATAA& entry : EntriesOf(folder)) {
            const std::string path = FullPath(folder + "\\" + entry.cFileName);
            const std::string name = prefix + entry.cFileName;
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
                AddFile({path, name, SizeOf(entry)});
            else if ((entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
                AddFolder(path, name + "\\");
        }
    }

    void AddFile(const Item& item) {
        if (kiv::EqualsIgnoreCase(item.file, m_cabinet))
            return;
        std::string key = item.name;
        std::transform(key.begin(), key.end(), key.begin(), kiv::ToLower);
        if (!m_names.insert(key).second)
            throw Failure("two files would be stored as '" + item.name + "'");
        if (m_items.size() == kMostFiles)
            throw Failure("a cabinet holds at most 65535 files");
        m_items.push_back(item);
    }

    std::string m_cabinet;
    std::vector<Item> m_items;
    std::set<std::string> m_names;
};

// A folder for the cabinet while it is made, beside where it shall stand: on the same disk, and with none of the user's
// files that the library would take for continuations.
class ScratchFolder {
public:
    explicit ScratchFolder(const std::string& parent) {
        char path[MAX_PATH];
        if (::GetTempFileNameA((parent + "\\").c_str(), "kiv", 0, path) == 0)
            throw Failure("'" + parent + "' cannot be written to: " + ErrorText(::GetLastError()));
        m_path = path;
        ::DeleteFileA(path);
        if (!::CreateDirectoryA(path, nullptr))
            throw Failure("'" + m_path + "' cannot be made: " + ErrorText(::GetLastError()));
    }
    ~ScratchFolder() {
        ::DeleteFileA(Cabinet().c_str());
        ::RemoveDirectoryA(m_path.c_str());
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string Cabinet() const { return m_path + "\\new.cab"; }

private:
    std::string m_path;
};

struct Growth {
    LongWork& work;
    std::uint64_t packed;
};

int OnStored(unsigned long bytes, unsigned long packedBytes, void* context) {
    Growth& growth = *static_cast<Growth*>(context);
    growth.packed += packedBytes + (packedBytes == 0 ? 0 : kBlockHeader);
    return growth.work.Advance(bytes) && growth.packed < kLargestCabinet ? 1 : 0;
}

[[noreturn]] void Fail(const std::string& what, const CKivCabArchive& archive, const Growth& growth) {
    if (LongWork::IsInterrupted())
        throw Failure("interrupted");
    if (growth.packed >= kLargestCabinet)
        throw Failure("the cabinet would pass 512 MiB: store less, or make several");
    throw Failure(what + ": " + CabinetError(archive, CabinetSide::kWriting));
}

void Pack(const std::string& cabinet, const std::vector<Item>& items, std::uint64_t totalBytes) {
    LongWork work("stored", totalBytes);
    Growth growth{work, 0};
    CKivCabArchive archive;
    archive.SetProgress(OnStored, &growth);
    if (archive.Create(cabinet.c_str()) != 1)
        Fail("a cabinet cannot be made", archive, growth);
    for (const Item& item : items) {
        growth.packed += kFileHeader + item.name.size() + 1;
        if (growth.packed >= kLargestCabinet || archive.AppendWithPath(item.file.c_str(), item.name.c_str()) != 1 ||
            !work.Advance(0))
            Fail("'" + item.file + "' cannot be stored", archive, growth);
    }
    if (archive.Close() != 1)
        Fail("the cabinet cannot be written", archive, growth);
}

// Puts the finished cabinet in its place, at once where the system can.
void Replace(const std::string& made, const std::string& cabinet) {
    if (::MoveFileExA(made.c_str(), cabinet.c_str(), MOVEFILE_REPLACE_EXISTING))
        return;
    DWORD error = ::GetLastError();
    if (error == ERROR_CALL_NOT_IMPLEMENTED) {
        const std::string old = made + ".old";
        const bool isKept = ::MoveFileA(cabinet.c_str(), old.c_str()) != FALSE;
        if (::MoveFileA(made.c_str(), cabinet.c_str())) {
            ::DeleteFileA(old.c_str());
            return;
        }
        error = ::GetLastError();
        if (isKept)
            ::MoveFileA(old.c_str(), cabinet.c_str());
    }
    throw Failure("'" + cabinet + "' cannot be written: " + ErrorText(error));
}

// What a derived class can reach.
struct ErrorTexts : CKivCabArchive {
    using CKivCabArchive::GetCabError;
};

}  // namespace

CabinetContent CreateCabinet(const std::string& cabinet, const std::vector<std::string>& sources) {
    const std::string path = FullPath(cabinet);
    Collection collection(path);
    for (const std::string& source : sources)
        collection.Add(source);
    const std::vector<Item>& items = collection.Items();
    if (items.empty())
        throw Failure("there is no file to store");
    CabinetContent content{items.size(), 0};
    for (const Item& item : items)
        content.bytes += item.size;
    const ScratchFolder scratch(ParentOf(path));
    Pack(scratch.Cabinet(), items, content.bytes);
    Replace(scratch.Cabinet(), path);
    return content;
}

std::string CabinetError(const CKivCabArchive& archive, CabinetSide side) {
    const int code = archive.GetErrorCode();
    return std::string(ErrorTexts().GetCabError(code, side == CabinetSide::kWriting ? 1 : 0)) + " (" +
           std::to_string(code) + ")";
}

}  // namespace kivctl
