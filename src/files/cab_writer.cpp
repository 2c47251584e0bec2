#include "files/cab_writer.h"

#include <algorithm>
#include <cstdio>

#include "files/cab_file.h"
#include "files/cab_layout.h"
#include "files/cab_memory.h"
#include "files/kept_attributes.h"
#include "support/heap_text.h"

#include <fcntl.h>

namespace kiv {
namespace {

constexpr ULONG kLargestCabinet = 0x20000000;
constexpr ULONG kFolderThreshold = 0x100000;
constexpr DWORD kLargestFile = 0x7FFF8000;  // what the blocks of one folder can hold
constexpr unsigned kMostFiles = 0xFFFF;
constexpr USHORT kFirstDate = 0x0021;  // 1980-01-01: for what DOS cannot tell

}  // namespace

// What the codec calls back. `self` is the writer.
struct CabWriter::Codec {
    static CabWriter& Of(void* self) { return *static_cast<CabWriter*>(self); }

    // The outcome of a call on a file, with the system's error for the codec where it failed.
    template <class Result>
    static Result Checked(Result result, int* error) {
        if (result == static_cast<Result>(-1))
            *error = static_cast<int>(::GetLastError());
        return result;
    }

    static void* DIAMONDAPI Allocate(ULONG size) { return AllocateForCodec(size); }
    static void DIAMONDAPI Free(void* memory) { FreeForCodec(memory); }

    // A temporary file has been made with its name, so that it is nobody else's: "exclusive" counts as done.
    static INT_PTR DIAMONDAPI Open(char* path, int flags, int, int* error, void* self) {
        CabWriter& writer = Of(self);
        const std::vector<std::string>& temporary = writer.m_temporaryFiles;
        const bool isTemporary = std::find(temporary.begin(), temporary.end(), path) != temporary.end();
        const bool isNew = (flags & _O_CREAT) != 0;
        const DWORD access = (flags & (_O_WRONLY | _O_RDWR)) != 0 ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
        const HANDLE file =
            ::CreateFileA(path, access, isTemporary ? FILE_SHARE_READ | FILE_SHARE_WRITE : FILE_SHARE_READ, nullptr,
                          isNew ? CREATE_ALWAYS : OPEN_EXISTING,
                          isTemporary ? FILE_ATTRIBUTE_TEMPORARY : KeptAttributes(path), nullptr);
        if (file != INVALID_HANDLE_VALUE && isNew && !isTemporary && ::GetFileType(file) == FILE_TYPE_DISK)
            writer.m_cabinets.emplace_back(path);
        return Checked(reinterpret_cast<INT_PTR>(file), error);
    }

    static UINT DIAMONDAPI Read(INT_PTR file, void* buffer, UINT size, int* error, void*) {
        return Checked(ReadCabFile(reinterpret_cast<HANDLE>(file), buffer, size), error);
    }

    static UINT DIAMONDAPI Write(INT_PTR file, void* bytes, UINT size, int* error, void*) {
        return Checked(WriteCabFile(reinterpret_cast<HANDLE>(file), bytes, size), error);
    }

    // The file that is being added stays the writer's, which closes it however the codec leaves it.
    static int DIAMONDAPI Close(INT_PTR file, int* error, void* self) {
        if (reinterpret_cast<HANDLE>(file) == Of(self).m_source.Get())
            return 0;
        return Checked(::CloseHandle(reinterpret_cast<HANDLE>(file)) ? 0 : -1, error);
    }

    static __LONG32 DIAMONDAPI Seek(INT_PTR file, __LONG32 distance, int origin, int* error, void*) {
        return Checked(SeekCabFile(reinterpret_cast<HANDLE>(file), distance, origin), error);
    }

    static int DIAMONDAPI Delete(char* path, int* error, void* self) {
        std::vector<std::string>& temporary = Of(self).m_temporaryFiles;
        temporary.erase(std::remove(temporary.begin(), temporary.end(), path), temporary.end());
        return Checked(::DeleteFileA(path) ? 0 : -1, error);
    }

    static WINBOOL DIAMONDAPI TemporaryName(char* name, int size, void* self) {
        char folder[MAX_PATH];
        char made[MAX_PATH];
        const DWORD length = ::GetTempPathA(sizeof folder, folder);
        if (length == 0 || length >= sizeof folder || ::GetTempFileNameA(folder, "tav", 0, made) == 0)
            return FALSE;
        Of(self).m_temporaryFiles.emplace_back(made);
        return CopyText(name, static_cast<std::size_t>(size), made) ? TRUE : FALSE;
    }

    // The codec has raised the number before it asks for the next name.
    static WINBOOL DIAMONDAPI NextCabinet(PCCAB cabinet, ULONG, void*) {
        std::snprintf(cabinet->szCab, sizeof cabinet->szCab, "tavcab%02i.tmp", cabinet->iCab);
        return TRUE;
    }

    static int DIAMONDAPI FilePlaced(PCCAB, char*, __LONG32, WINBOOL, void*) { return 0; }

    static INT_PTR DIAMONDAPI OpenInfo(char*, USHORT* date, USHORT* time, USHORT* attributes, int*, void* self) {
        CabWriter& writer = Of(self);
        *date = writer.m_date;
        *time = writer.m_time;
        *attributes = writer.m_attributes;
        writer.m_isTaken = true;
        return reinterpret_cast<INT_PTR>(writer.m_source.Get());
    }

    // Of a file: one more block is packed. Of a folder or cabinet: parts of it are being put together; for a cabinet
    // the answer is its size, which the codec proposes.
    static __LONG32 DIAMONDAPI Status(UINT type, ULONG packed, ULONG unpacked, void* self) {
        const bool isFile = type == statusFile;
        if (!Of(self).m_progress.Tell(isFile ? unpacked : 0, isFile ? packed : 0))
            return -1;
        return type == statusCabinet ? static_cast<__LONG32>(unpacked) : 0;
    }
};

bool CabWriter::Fail(WritingError error) noexcept {
    m_error = {static_cast<int>(error), static_cast<int>(::GetLastError()), TRUE};
    return false;
}

bool CabWriter::Create(const std::string& folder, const char* name) noexcept {
    m_error = {};
    m_cabinet = {};
    m_cabinet.cb = kLargestCabinet;
    m_cabinet.cbFolderThresh = kFolderThreshold;
    m_cabinet.iCab = 1;
    m_cabinet.setID = kOwnSetId;
    if (!Cabinets().CanWrite() || !CopyText(m_cabinet.szCab, sizeof m_cabinet.szCab, name) ||
        !CopyText(m_cabinet.szCabPath, sizeof m_cabinet.szCabPath, folder.c_str()))
        return Fail(WritingError::kCabinetFile);
    m_context = Cabinets().fciCreate(&m_error, Codec::FilePlaced, Codec::Allocate, Codec::Free, Codec::Open,
                                     Codec::Read, Codec::Write, Codec::Close, Codec::Seek, Codec::Delete,
                                     Codec::TemporaryName, &m_cabinet, this);
    return m_context != nullptr;
}

// Takes the file's time and attributes too. The codec would fail inside for a file that it cannot open, and lose
// what was added before.
bool CabWriter::OpenSource(const char* file) noexcept {
    m_source = OpenToRead(file);
    BY_HANDLE_FILE_INFORMATION facts{};
    if (!m_source || ::GetFileType(m_source.Get()) != FILE_TYPE_DISK)
        return Fail(WritingError::kOpenSource);
    m_date = kFirstDate;
    m_time = 0;
    m_attributes = 0;
    if (!::GetFileInformationByHandle(m_source.Get(), &facts))
        return true;
    if (facts.nFileSizeHigh != 0 || facts.nFileSizeLow > kLargestFile)
        return Fail(WritingError::kReadSource);
    FILETIME local;
    WORD date;
    WORD time;
    if (::FileTimeToLocalFileTime(&facts.ftLastWriteTime, &local) && ::FileTimeToDosDateTime(&local, &date, &time)) {
        m_date = date;
        m_time = time;
    }
    m_attributes = static_cast<USHORT>(facts.dwFileAttributes & kCabinetAttributes);
    return true;
}

bool CabWriter::Add(const char* file, const std::string& name, const CabProgress& progress) noexcept {
    m_error = {};
    if (name.empty() || name.size() >= CB_MAX_FILENAME)
        return Fail(WritingError::kOpenSource);
    if (m_files == kMostFiles)
        return Fail(WritingError::kCabinetFile);
    if (!OpenSource(file)) {
        m_source.Reset();
        return false;
    }
    m_progress = progress;
    m_isTaken = false;
    std::string source = file;
    std::string stored = name;
    const bool isAdded = Cabinets().fciAddFile(m_context, source.data(), stored.data(), FALSE, Codec::NextCabinet,
                                               Codec::Status, Codec::OpenInfo, tcompTYPE_MSZIP) != FALSE;
    m_source.Reset();
    m_files += isAdded ? 1 : 0;
    if (!isAdded && m_isTaken) {
        m_isSpoilt = true;
        m_spoiltBy = m_error;
    }
    return isAdded;
}

bool CabWriter::Flush(const CabProgress& progress) noexcept {
    if (m_isSpoilt) {
        m_error = m_spoiltBy;
        return false;
    }
    m_error = {};
    m_progress = progress;
    if (!Cabinets().fciFlushCabinet(m_context, FALSE, Codec::NextCabinet, Codec::Status))
        return false;
    m_isFinished = m_files == 0 || !m_cabinets.empty();
    return m_isFinished || Fail(WritingError::kCabinetFile);
}

bool CabWriter::Destroy() noexcept {
    if (m_context == nullptr)
        return true;
    m_error = {};
    const bool isDone = Cabinets().fciDestroy(m_context) != FALSE;
    m_context = nullptr;
    ReleaseCodecMemory();
    for (const std::string& file : m_temporaryFiles)
        ::DeleteFileA(file.c_str());
    if (!m_isFinished) {
        for (const std::string& cabinet : m_cabinets)
            ::DeleteFileA(cabinet.c_str());
    }
    return isDone;
}

}  // namespace kiv
