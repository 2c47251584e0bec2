#include "support/windows_api.h"

#include <cstring>
#include <string>

#include "files/cab_error.h"
#include "files/cab_layout.h"
#include "files/cab_name.h"
#include "files/cab_reader.h"
#include "files/cab_writer.h"
#include "support/code_page.h"
#include "support/heap_text.h"
#include "support/log.h"
#include "tavkivut/cabinet.h"

using kiv::IsAnsiLeadByte;

// Both contexts live here, so that copies of an object can share them. At most one of them is open.
struct KivCabSession {
    long references = 1;
    kiv::CabReader reader;
    kiv::CabWriter writer;
};

namespace {

constexpr unsigned kNotOpened = 0xFFFFFFFF;

struct ArchivePath {
    std::string folder;
    std::string name;
};

ArchivePath SplitPath(const std::string& path) {
    const std::size_t backslash = kiv::LastBackslash(path, IsAnsiLeadByte);
    if (backslash == std::string::npos)
        return {".", path};
    return {path.substr(0, backslash), path.substr(backslash + 1)};
}

std::string WithBackslash(std::string folder) {
    if (folder.empty() || kiv::LastBackslash(folder, IsAnsiLeadByte) != folder.size() - 1)
        folder += '\\';
    return folder;
}

// The folder as the codec puts it before a name: with a backslash at its end, nothing for the current folder.
std::string CodecFolder(const char* path, const char* name) {
    return name == path ? std::string() : WithBackslash(path);
}

// The codec has room for 255 characters of the folder, with its backslash, and of the name.
bool FitsCodec(const std::string& path) {
    const ArchivePath parts = SplitPath(path);
    return path.size() < MAX_PATH && parts.folder.size() + 1 < CB_MAX_CAB_PATH &&
           parts.name.size() < CB_MAX_CABINET_NAME;
}

}  // namespace

// Keeps an error of the codec and writes the one line about it. The text takes the folder and the name of the archive,
// the text of the error, and its number twice.
#define KIV_CAB_FAILURE(text, folder, name, error, writing)                                                     \
    do {                                                                                                        \
        const ERF failure = (error);                                                                            \
        KeepError(failure.erfOper, failure.erfType, failure.fError != FALSE);                                   \
        KIV_LOG(kiv::kLogMain, kiv::kLogError, text, (folder), (name), GetCabError(failure.erfOper, (writing)), \
                failure.erfOper, failure.erfOper);                                                              \
    } while (0)
#define KIV_CAB_READING_FAILURE(text) KIV_CAB_FAILURE(text, Folder(), m_name, m_session->reader.Error(), 0)
#define KIV_CAB_WRITING_FAILURE(text) KIV_CAB_FAILURE(text, Folder(), m_name, m_session->writer.Error(), 1)

CKivCabArchive::CKivCabArchive() noexcept
    : m_path(""), m_name(m_path), m_reading(nullptr), m_writing(nullptr), m_errorOperation(0), m_errorType(0),
      m_errorFlag(false), m_session(nullptr), m_progress(nullptr), m_progressContext(nullptr) {}

CKivCabArchive::CKivCabArchive(const CKivCabArchive& other) noexcept : CKivCabArchive() {
    Share(other);
}

CKivCabArchive& CKivCabArchive::operator=(const CKivCabArchive& other) noexcept {
    if (this != &other) {
        Release();
        Share(other);
    }
    return *this;
}

CKivCabArchive::~CKivCabArchive() noexcept {
    Release();
}

unsigned int CKivCabArchive::Open(const char* path) noexcept {
    if (path == nullptr || IsInUse())
        return kNotOpened;
    if (!StorePath(path)) {
        const ArchivePath parts = SplitPath(path);
        KIV_CAB_FAILURE("Failed to open archive '%s\\%s': %s, Error code 0x%x (%i)", parts.folder.c_str(),
                        parts.name.c_str(), kiv::CabReader::PathError(), 0);
        return kNotOpened;
    }
    m_session = new KivCabSession;
    kiv::CabReader& reader = m_session->reader;
    FDICABINETINFO facts{};
    const bool hasContext = reader.Create();
    m_reading = reader.Context();
    if (!hasContext) {
        KIV_CAB_READING_FAILURE("Failed to open archive '%s\\%s': %s, Error code 0x%x (%i)");
    } else if (!reader.OpenCabinet((CodecFolder(m_path, m_name) + m_name).c_str())) {
        KIV_CAB_READING_FAILURE("Failed to open archive file '%s\\%s': %s, Error code 0x%x (%i)");
    } else if (!reader.Identify(facts)) {
        KIV_CAB_READING_FAILURE("Not a valid cabinet archive '%s\\%s': %s, Error code 0x%x (%i)");
    } else {
        KIV_LOG(kiv::kLogMain, kiv::kLogInfo,
                "Successfully opened archive '%s'\n\n   Total length of archive      : %i Bytes\n"
                "   Number of files in archive   : %i\n   Archive vendor               : %s\n",
                (WithBackslash(Folder()) + m_name).c_str(), static_cast<int>(facts.cbCabinet),
                static_cast<int>(facts.cFiles), facts.setID == kiv::kOwnSetId ? "TAV AG" : "Unknown");
        return facts.cFiles;
    }
    Close();
    return kNotOpened;
}

int CKivCabArchive::Create(const char* path) noexcept {
    if (IsInUse())
        return -1;
    if (path == nullptr)
        return 0;
    if (!StorePath(path)) {
        const ArchivePath parts = SplitPath(path);
        KIV_CAB_FAILURE("Failed to create archive '%s\\%s': %s, Error code 0x%x (%i)", parts.folder.c_str(),
                        parts.name.c_str(), kiv::CabWriter::PathError(), 1);
        return 0;
    }
    m_session = new KivCabSession;
    if (!m_session->writer.Create(CodecFolder(m_path, m_name), m_name)) {
        KIV_CAB_WRITING_FAILURE("Failed to create archive '%s\\%s': %s, Error code 0x%x (%i)");
        Release();
        return 0;
    }
    m_writing = m_session->writer.Context();
    return 1;
}

int CKivCabArchive::Close() noexcept {
    int result = 1;
    if (IsInUse())
        result = m_reading != nullptr ? CloseReading() : CloseWriting();
    RemoveContinuations();
    Release();
    return result;
}

int CKivCabArchive::Append(const char* file, const char* basePath) noexcept {
    if (file == nullptr || !IsInUse() || m_writing == nullptr)
        return 0;
    const std::string name(kiv::NameInArchive(file, basePath == nullptr ? "" : basePath, IsAnsiLeadByte));
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Archive factory : append '%s' to archive, archive name '%s'", file,
            name.c_str());
    return Add(file, name.c_str());
}

int CKivCabArchive::AppendWithPath(const char* file, const char* nameInArchive) noexcept {
    if (file == nullptr || nameInArchive == nullptr || !IsInUse() || m_writing == nullptr)
        return 0;
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Archive factory : append '%s' to archive", file);
    return Add(file, nameInArchive);
}

int CKivCabArchive::AppendExisting(char*) noexcept {
    return 0;
}

int CKivCabArchive::Extract(const char* fileName, const char* destination) noexcept {
    tagExtractHandlerInfo info{};
    info.destination = destination;
    info.filter = fileName;
    return ExtractImpl(&info);
}

int CKivCabArchive::Extract(const char* destination, ExtractCallback callback, void* context) noexcept {
    tagExtractHandlerInfo info{};
    info.afterExtract = callback;
    info.destination = destination;
    info.context = context;
    return ExtractImpl(&info);
}

int CKivCabArchive::EnumContent(ExtractCallback callback, void* context) noexcept {
    tagExtractHandlerInfo info{};
    info.enumerate = callback;
    info.destination = "";
    info.context = context;
    return ExtractImpl(&info);
}

int CKivCabArchive::EnumEntries(ArchiveEntryCallback callback, void* context) noexcept {
    tagExtractHandlerInfo info{};
    info.describe = callback;
    info.destination = "";
    info.context = context;
    return ExtractImpl(&info);
}

const char* CKivCabArchive::GetDefaultExtension() noexcept {
    return "cab";
}

void CKivCabArchive::SetProgress(ArchiveProgressCallback callback, void* context) noexcept {
    m_progress = callback;
    m_progressContext = context;
}

int CKivCabArchive::GetErrorCode() const noexcept {
    return m_errorOperation;
}

int CKivCabArchive::ExtractImpl(tagExtractHandlerInfo* info) noexcept {
    if (info == nullptr || !IsInUse() || m_reading == nullptr)
        return 0;
    const bool writesFiles = info->enumerate == nullptr && info->describe == nullptr && info->discard == 0;
    if (writesFiles && (info->destination == nullptr || info->destination[0] == '\0'))
        return 0;
    if (m_session->reader.Copy(CodecFolder(m_path, m_name), m_name, *info, {m_progress, m_progressContext}))
        return 1;
    KIV_CAB_READING_FAILURE("Failed to extract archive '%s\\%s': %s, Error code 0x%x (%i)");
    return 0;
}

const char* CKivCabArchive::GetCabError(int code, int writing) noexcept {
    return kiv::CabErrorText(code, writing != 0);
}

// Progress is the object's own.
void CKivCabArchive::Share(const CKivCabArchive& other) noexcept {
    std::memcpy(m_path, other.m_path, sizeof m_path);
    m_name = m_path + (other.m_name - other.m_path);
    m_reading = other.m_reading;
    m_writing = other.m_writing;
    m_errorOperation = other.m_errorOperation;
    m_errorType = other.m_errorType;
    m_errorFlag = other.m_errorFlag;
    m_session = other.m_session;
    if (m_session != nullptr)
        ++m_session->references;
}

void CKivCabArchive::Release() noexcept {
    if (m_session != nullptr && --m_session->references == 0)
        delete m_session;
    m_session = nullptr;
    m_reading = nullptr;
    m_writing = nullptr;
}

// An object whose contexts another copy has closed becomes idle here.
bool CKivCabArchive::IsInUse() noexcept {
    if (m_session != nullptr && m_session->reader.Context() == nullptr && m_session->writer.Context() == nullptr)
        Release();
    return m_session != nullptr;
}

// A path that is too long leaves none behind, so that nothing is looked for in a folder that was not meant.
bool CKivCabArchive::StorePath(const char* path) noexcept {
    const std::string whole = path;
    const bool fits = FitsCodec(whole);
    kiv::CopyText(m_path, sizeof m_path, fits ? whole.c_str() : "");
    m_name = m_path;
    const std::size_t backslash = kiv::LastBackslash(m_path, IsAnsiLeadByte);
    if (backslash != std::string::npos) {
        m_path[backslash] = '\0';
        m_name = m_path + backslash + 1;
    }
    return fits;
}

const char* CKivCabArchive::Folder() const noexcept {
    return m_name == m_path ? "." : m_path;
}

void CKivCabArchive::KeepError(int operation, int type, bool flag) noexcept {
    m_errorOperation = operation;
    m_errorType = type;
    m_errorFlag = flag;
}

int CKivCabArchive::Add(const char* file, const char* name) noexcept {
    if (m_session->writer.Add(file, name, {m_progress, m_progressContext}))
        return 1;
    KIV_CAB_WRITING_FAILURE("Failed to append file to '%s\\%s': %s, Error code 0x%x (%i)");
    return 0;
}

int CKivCabArchive::CloseReading() noexcept {
    if (m_session->reader.Destroy())
        return 1;
    KIV_CAB_READING_FAILURE("Failed to close archive '%s\\%s': %s, Error code 0x%x (%i)");
    return 0;
}

int CKivCabArchive::CloseWriting() noexcept {
    kiv::CabWriter& writer = m_session->writer;
    if (!writer.Flush({m_progress, m_progressContext})) {
        KIV_CAB_WRITING_FAILURE("Failed to flush archive factory '%s\\%s': %s, Error code 0x%x (%i)");
        writer.Destroy();
        return 0;
    }
    if (writer.Destroy())
        return 1;
    KIV_CAB_WRITING_FAILURE("Failed to close archive factory '%s\\%s': %s, Error code 0x%x (%i)");
    return 0;
}

// The search also finds files by their short names, and "?" may stand for nothing.
void CKivCabArchive::RemoveContinuations() const noexcept {
    if (m_name[0] == '\0' && m_name == m_path)
        return;
    const std::string folder = WithBackslash(Folder());
    WIN32_FIND_DATAA found;
    const kiv::ScopedFileSearch search(::FindFirstFileA((folder + "tavcab??.tmp").c_str(), &found));
    if (!search)
        return;
    do {
        if (!kiv::IsContinuationName(found.cFileName))
            continue;
        const std::string file = folder + found.cFileName;
        if (::DeleteFileA(file.c_str()))
            KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Successfully removed CAB archive cache file '%s'", file.c_str());
        else
            KIV_LOG(kiv::kLogDetail, kiv::kLogWarning, "Failed to remove CAB archive cache file '%s'", file.c_str());
    } while (::FindNextFileA(search.Get(), &found));
}
