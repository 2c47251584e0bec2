#include "support/windows_api.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "files/file_contents.h"
#include "files/line_encoding.h"
#include "files/line_list.h"
#include "files/without_read_only.h"
#include "support/heap_text.h"
#include "support/log.h"
#include "support/scoped_resource.h"
#include "support/text_convert.h"
#include "tavkivut/line_file.h"

namespace {

constexpr std::size_t kMarkSize = 2;

bool AppendNarrow(std::u16string_view text, kiv::HeapBuffer<char>& result) noexcept {
    try {
        return result.Append(kiv::AnsiFromWide(std::wstring(text.begin(), text.end())));
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool AppendWide(std::string_view text, kiv::HeapBuffer<char>& result) noexcept {
    try {
        const std::wstring wide = kiv::WideFromAnsi(text);
        return result.Append({reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(wchar_t)});
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Empty when memory is exhausted.
std::string AnsiPath(const wchar_t* path) noexcept {
    try {
        return kiv::AnsiFromWide(path);
    } catch (const std::bad_alloc&) {
        return {};
    }
}

kiv::ScopedFile OpenToRead(const char* path, bool readOnly) noexcept {
    const DWORD share = readOnly ? FILE_SHARE_READ | FILE_SHARE_WRITE : FILE_SHARE_READ;
    return kiv::ScopedFile(::CreateFileA(path, GENERIC_READ, share, nullptr, readOnly ? OPEN_EXISTING : OPEN_ALWAYS,
                                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

void LogReadOnly(kiv::WithoutReadOnly::Change change, const char* path) noexcept {
    if (change == kiv::WithoutReadOnly::Change::kCleared)
        KIV_LOG(kiv::kLogMain, kiv::kLogWarning, "Oem Installation : removed read-only attribute from '%s'", path);
    if (change == kiv::WithoutReadOnly::Change::kFailed)
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Oem Installation : failed to remove read-only attribute from '%s'",
                path);
}

}  // namespace

CKivIsamFile::CKivIsamFile() noexcept
    : m_readOnly(true), m_path(nullptr), m_encoding(ENCODING_ANSI), m_pending(nullptr), m_lines(nullptr),
      m_pendingLength(0), m_pendingRoom(0) {}

CKivIsamFile::CKivIsamFile(const wchar_t* path, bool readOnly) noexcept : CKivIsamFile() {
    if (path != nullptr)
        open(path, readOnly, ENCODING_KEEP);
}

CKivIsamFile::CKivIsamFile(const CKivIsamFile& other) noexcept : CKivIsamFile() {
    CopyFrom(other);
}

CKivIsamFile& CKivIsamFile::operator=(const CKivIsamFile& other) noexcept {
    if (this != &other) {
        Clear();
        CopyFrom(other);
    }
    return *this;
}

CKivIsamFile::~CKivIsamFile() {
    close();
}

bool CKivIsamFile::open(const wchar_t* path, bool readOnly, unsigned long encoding) noexcept {
    if (path == nullptr)
        return false;
    close();
    const kiv::ScopedFile file = OpenToRead(AnsiPath(path).c_str(), readOnly);
    if (!file) {
        const DWORD error = ::GetLastError();
        KIV_LOG_WIN32(error, kiv::kLogError, "Failed to open '%ls'", path);
        return false;
    }
    m_path = kiv::DuplicateText(AnsiPath(path).c_str());
    if (m_path == nullptr)
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "PDF or SMS File name string invalid!");
    m_encoding = KivGetFileEncoding(file.Get());
    m_readOnly = !Load(file.Get(), path) || readOnly;
    if (encoding != ENCODING_KEEP)
        m_encoding = encoding;
    return true;
}

void CKivIsamFile::close() noexcept {
    if (!m_readOnly)
        Save();
    Clear();
}

// Reads the lines of a file whose encoding is known. False, without lines, when they could not be had whole.
bool CKivIsamFile::Load(void* file, const wchar_t* path) noexcept {
    kiv::HeapBuffer<char> contents;
    const kiv::Reading reading = kiv::ReadContents(file, contents);
    if (reading == kiv::Reading::kFailed) {
        const DWORD error = ::GetLastError();
        KIV_LOG_WIN32(error, kiv::kLogError, "Failed to read from '%ls'", path);
    }
    m_lines = new (std::nothrow) kiv::LineList;
    bool loaded = m_lines != nullptr && reading == kiv::Reading::kDone;
    if (loaded && m_encoding != ENCODING_UTF16) {
        loaded = m_lines->TakeContents(contents);
    } else if (loaded && contents.Size() > kMarkSize) {
        const auto* units = reinterpret_cast<const char16_t*>(contents.Data() + kMarkSize);
        kiv::HeapBuffer<char> lines;
        std::size_t count = 0;
        loaded = kiv::NarrowLines({units, (contents.Size() - kMarkSize) / sizeof *units}, AppendNarrow, lines, count) &&
                 m_lines->TakeLines(lines, count);
    }
    if (!loaded) {
        delete m_lines;
        m_lines = nullptr;
    }
    return loaded;
}

// The new contents are complete before the file is touched, and the lines are gone before they are written: so memory
// holds the contents twice at most.
void CKivIsamFile::Save() noexcept {
    kiv::HeapBuffer<char> contents;
    const auto count = static_cast<std::size_t>(lines());
    const char* const* all = count == 0 ? nullptr : m_lines->All();
    const bool encoded = m_encoding == ENCODING_UTF16 ? kiv::EncodeWideLines(all, count, AppendWide, contents)
                                                      : kiv::EncodeLines(all, count, contents);
    delete m_lines;
    m_lines = nullptr;
    DWORD error = ERROR_NOT_ENOUGH_MEMORY;
    const char* path = m_path == nullptr ? "" : m_path;
    if (encoded) {
        const kiv::WithoutReadOnly writable(path);
        LogReadOnly(writable.Changed(), path);
        error = kiv::ReplaceContents(path, contents.Text());
    }
    if (error != NO_ERROR)
        KIV_LOG_WIN32(error, kiv::kLogError, "Failed to save '%s'", path);
}

void CKivIsamFile::Clear() noexcept {
    delete m_lines;
    m_lines = nullptr;
    kiv::FreeText(m_path);
    m_readOnly = true;
    m_encoding = ENCODING_ANSI;
    DropPending();
}

// Into a closed object, which stays so when memory is exhausted.
void CKivIsamFile::CopyFrom(const CKivIsamFile& other) noexcept {
    m_path = kiv::DuplicateText(other.m_path);
    m_lines = other.m_lines == nullptr ? nullptr : new (std::nothrow) kiv::LineList;
    const bool copied = (m_path != nullptr || other.m_path == nullptr) &&
                        (other.m_lines == nullptr || (m_lines != nullptr && m_lines->TakeCopies(*other.m_lines))) &&
                        AddToPending(other.m_pending, other.m_pendingLength);
    if (!copied) {
        Clear();
        return;
    }
    m_readOnly = other.m_readOnly;
    m_encoding = other.m_encoding;
}

void CKivIsamFile::DropPending() noexcept {
    std::free(m_pending);
    m_pending = nullptr;
    m_pendingLength = m_pendingRoom = 0;
}

bool CKivIsamFile::AddToPending(const wchar_t* text, std::size_t length) noexcept {
    const std::size_t needed = m_pendingLength + length + 1;
    if (length == 0)
        return true;
    if (needed > m_pendingRoom) {
        void* grown = std::realloc(m_pending, (needed + needed / 2) * sizeof *m_pending);
        if (grown == nullptr)
            return false;
        m_pending = static_cast<wchar_t*>(grown);
        m_pendingRoom = needed + needed / 2;
    }
    std::memcpy(m_pending + m_pendingLength, text, length * sizeof *text);
    m_pendingLength += length;
    m_pending[m_pendingLength] = L'\0';
    return true;
}
