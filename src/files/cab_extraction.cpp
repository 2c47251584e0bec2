#include "files/cab_extraction.h"

#include <utility>

#include "files/cab_file.h"
#include "files/cab_layout.h"
#include "files/cab_name.h"
#include "files/kept_attributes.h"
#include "files/path_text.h"
#include "support/ascii.h"
#include "support/code_page.h"
#include "support/text_convert.h"
#include "support/text_encoding.h"
#include "tavkivut/tools.h"

namespace kiv {
namespace {

constexpr INT_PTR kSkip = 0;
constexpr INT_PTR kGoOn = 1;
constexpr INT_PTR kAbort = -1;

struct StoredName {
    std::string text;
    bool isExact;
};

// The name of a stored file in the system code page. One that is marked as UTF-8 may have no exact form there. The
// library's own decoder serves systems that know no UTF-8.
StoredName NameOf(const FDINOTIFICATION& stored) {
    if ((stored.attribs & _A_NAME_IS_UTF) == 0)
        return {stored.psz1, true};
    const std::u16string decoded = DecodeMarkedText(std::string("\xEF\xBB\xBF") + stored.psz1);
    const std::wstring wide(decoded.begin(), decoded.end());
    std::string text = AnsiFromWide(wide);
    const bool isExact = WideFromAnsi(text) == wide;
    return {std::move(text), isExact};
}

std::string FolderWithBackslash(const char* folder) {
    std::string path = folder == nullptr ? "" : folder;
    if (!path.empty() && LastSeparator(path, IsAnsiLeadByte) != path.size() - 1)
        path += '\\';
    return path;
}

// "/" in a stored name separates as well.
std::string WithBackslashes(std::string path) {
    for (std::size_t at = NextSeparator(path, 0, IsAnsiLeadByte); at < path.size();
         at = NextSeparator(path, at + 1, IsAnsiLeadByte))
        path[at] = '\\';
    return path;
}

void MakeFolderOf(const std::string& file) {
    const std::size_t backslash = LastBackslash(file, IsAnsiLeadByte);
    if (backslash != std::string::npos)
        CKivTools::CreateDirectoryRecursive(file.substr(0, backslash).c_str());
}

ScopedFile Create(const char* path, DWORD disposition, DWORD attributes) noexcept {
    return ScopedFile(
        ::CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, disposition, attributes, nullptr));
}

// As a rule nothing is there yet, and the look at what there is costs as much as the file.
ScopedFile CreateTarget(const char* path) noexcept {
    ScopedFile file = Create(path, CREATE_NEW, FILE_ATTRIBUTE_NORMAL);
    return file || ::GetLastError() != ERROR_FILE_EXISTS ? std::move(file)
                                                         : Create(path, CREATE_ALWAYS, KeptAttributes(path));
}

}  // namespace

CabExtraction::CabExtraction(const tagExtractHandlerInfo& info, const CabProgress& progress)
    : m_info(info), m_progress(progress),
      m_folder(FolderWithBackslash(info.destination)), m_stream{ScopedFile(), this} {}

INT_PTR CabExtraction::Notify(FDINOTIFICATIONTYPE type, PFDINOTIFICATION notification) {
    CabExtraction& extraction = *static_cast<CabExtraction*>(notification->pv);
    switch (type) {
    case fdintCOPY_FILE:
        return extraction.Begin(*notification);
    case fdintCLOSE_FILE_INFO:
        return extraction.End(*notification);
    case fdintNEXT_CABINET:
        return extraction.Continue(*notification);
    default:
        return 0;
    }
}

unsigned CabExtraction::Write(const void* bytes, unsigned size) noexcept {
    if (m_stream.file && WriteCabFile(m_stream.file.Get(), bytes, size) != size)
        m_failure = ReadingError::kTargetFile;
    else if (!m_progress.Tell(size, 0))
        m_failure = ReadingError::kAborted;
    else
        m_missing -= size;
    return m_failure == ReadingError::kNone ? size : kCabIoFailed;
}

// Not every codec heeds the answer behind a file, so an end asked for there is repeated here.
INT_PTR CabExtraction::Begin(const FDINOTIFICATION& stored) {
    if (m_failure != ReadingError::kNone)
        return kAbort;
    const StoredName name = NameOf(stored);
    if (m_info.filter != nullptr && !(name.isExact && EqualsIgnoreCase(name.text, m_info.filter)))
        return kSkip;
    if (m_info.enumerate != nullptr)
        m_info.enumerate(name.text.c_str(), m_info.context);
    if (m_info.describe != nullptr) {
        const KIV_ARCHIVE_ENTRY entry{name.text.c_str(), static_cast<unsigned long>(stored.cb), stored.date,
                                      stored.time, static_cast<unsigned short>(stored.attribs & kCabinetAttributes)};
        m_info.describe(&entry, m_info.context);
    }
    if (m_info.enumerate != nullptr || m_info.describe != nullptr)
        return kSkip;
    if (!name.isExact || !IsSafeStoredName(name.text, IsAnsiLeadByte))
        return Refuse(ReadingError::kTargetFile);
    m_name = name.text;
    m_target = WithBackslashes(m_folder + m_name);
    if (m_info.discard == 0 && !OpenTarget())
        return Refuse(ReadingError::kTargetFile);
    m_isOpen = true;
    m_missing = static_cast<unsigned long>(stored.cb);
    return reinterpret_cast<INT_PTR>(&m_stream);
}

INT_PTR CabExtraction::End(const FDINOTIFICATION& stored) noexcept {
    if (m_missing != 0) {
        m_isIncomplete = true;
        DropTarget();
        return 0;
    }
    m_isOpen = false;
    if (m_stream.file)
        FinishTarget(stored);
    if (m_info.afterExtract != nullptr && m_info.afterExtract(m_name.c_str(), m_info.context) != 1) {
        m_failure = ReadingError::kAborted;
        return 0;
    }
    return kGoOn;
}

// The cabinet that a file goes on in. With an error this is the second question, since it could not be used: to go
// on would only bring the question back.
INT_PTR CabExtraction::Continue(const FDINOTIFICATION& next) {
    if (next.fdie != FDIERROR_NONE)
        return Refuse(static_cast<ReadingError>(next.fdie));
    const std::string name = next.psz1;
    const std::string path = next.psz3 + name;
    if (!IsSafeStoredName(name, IsAnsiLeadByte) || LastSeparator(name, IsAnsiLeadByte) != std::string::npos ||
        path.size() >= MAX_PATH)
        return Refuse(ReadingError::kCorrupt);
    m_next = OpenToRead(path.c_str());  // held: what was checked cannot be changed while the codec reads it
    if (!m_next)
        return Refuse(ReadingError::kNotFound);
    CabinetFile bytes(m_next.Get());
    const ReadingError error = CheckCabinet(bytes);
    return error == ReadingError::kNone ? 0 : Refuse(error);
}

INT_PTR CabExtraction::Refuse(ReadingError failure) noexcept {
    m_failure = failure;
    return kAbort;
}

// Only a file on a disk will do: a device, however it is named, would be written to, and deleted after a failure.
bool CabExtraction::OpenTarget() noexcept {
    if (m_target.size() >= MAX_PATH)
        return false;
    m_stream.file = CreateTarget(m_target.c_str());
    if (!m_stream.file && ::GetLastError() == ERROR_PATH_NOT_FOUND) {
        MakeFolderOf(m_target);
        m_stream.file = CreateTarget(m_target.c_str());
    }
    if (m_stream.file && ::GetFileType(m_stream.file.Get()) != FILE_TYPE_DISK)
        m_stream.file.Reset();
    return static_cast<bool>(m_stream.file);
}

// Times through the handle that wrote the file, since nothing is written any more; attributes once it is closed, since
// it may be read-only then. What cannot be set stays as the system made it.
void CabExtraction::FinishTarget(const FDINOTIFICATION& stored) noexcept {
    FILETIME local;
    FILETIME time;
    if (::DosDateTimeToFileTime(stored.date, stored.time, &local) && ::LocalFileTimeToFileTime(&local, &time))
        ::SetFileTime(m_stream.file.Get(), &time, nullptr, &time);
    m_stream.file.Reset();
    const DWORD attributes = stored.attribs & kCabinetAttributes;
    if ((::GetFileAttributesA(m_target.c_str()) & kCabinetAttributes) != attributes)
        ::SetFileAttributesA(m_target.c_str(), attributes);
}

// The file at which the extraction ended is not whole.
void CabExtraction::DropTarget() noexcept {
    if (m_isOpen && m_info.discard == 0) {
        m_stream.file.Reset();
        ::DeleteFileA(m_target.c_str());
    }
    m_isOpen = false;
}

}  // namespace kiv
