#include "support/windows_api.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <cwchar>
#include <limits>
#include <new>
#include <string>

#include "files/line_list.h"
#include "files/line_text.h"
#include "support/ascii.h"
#include "support/heap_text.h"
#include "support/text_convert.h"
#include "tavkivut/line_file.h"

namespace {

// How many characters of lines count for a caller, whose numbers have 32 bits.
long LengthOf(std::string_view line) noexcept {
    constexpr std::size_t kMost = std::numeric_limits<long>::max();
    return static_cast<long>(std::min(line.size(), kMost));
}

// False when memory is exhausted. The buffer has more room than the line has bytes, so it is enough for any code page.
bool CopyWide(std::string_view line, wchar_t* buffer) noexcept {
    if (kiv::IsAscii(line)) {
        *std::copy(line.begin(), line.end(), buffer) = L'\0';
        return true;
    }
    try {
        const std::wstring wide = kiv::WideFromAnsi(line);
        *std::copy(wide.begin(), wide.end(), buffer) = L'\0';
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Hands a text in the code page to `use`; false when memory is exhausted.
template <class Use>
bool WithNarrow(std::wstring_view text, const Use& use) noexcept {
    try {
        std::string narrow = kiv::AnsiFromWide(text);
        return use(narrow);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace

bool CKivIsamFile::can_write() const noexcept {
    return !m_readOnly;
}

unsigned long CKivIsamFile::GetEncoding() const noexcept {
    return m_encoding;
}

long CKivIsamFile::lines() const noexcept {
    return m_lines == nullptr ? 0 : static_cast<long>(m_lines->Count());
}

bool CKivIsamFile::is_empty() const noexcept {
    return lines() == 0;
}

long CKivIsamFile::get(long index, wchar_t* buffer, long bufferLength) noexcept {
    const bool exists = index >= 0 && index < lines();
    const std::string_view line = exists ? m_lines->At(static_cast<std::size_t>(index)) : "";
    const long length = LengthOf(line);
    if (buffer == nullptr || bufferLength == 0)
        return length;
    if (!exists || length >= bufferLength || !CopyWide(line, buffer))
        *buffer = L'\0';
    return length;
}

bool CKivIsamFile::set(long index, const wchar_t* text) noexcept {
    if (m_readOnly)
        return false;
    if (index < 0 || index >= lines())
        return text != nullptr && append(text);
    const auto at = static_cast<std::size_t>(index);
    if (text != nullptr)
        return WithNarrow(text, [this, at](const std::string& line) { return m_lines->Set(at, line); });
    m_lines->Remove(at);
    return true;
}

bool CKivIsamFile::remove(long index) noexcept {
    return set(index, nullptr);
}

bool CKivIsamFile::empty() noexcept {
    if (m_readOnly)
        return false;
    delete m_lines;
    m_lines = nullptr;
    return true;
}

bool CKivIsamFile::append(const wchar_t* text) noexcept {
    if (m_readOnly)
        return false;
    return WithNarrow(text == nullptr ? L"" : text, [this](std::string& narrow) { return appendImpl(narrow.data()); });
}

bool CKivIsamFile::append(const char* text) noexcept {
    if (m_readOnly)
        return false;
    char* copy = kiv::DuplicateText(text == nullptr ? "" : text);
    const bool appended = copy != nullptr && appendImpl(copy);
    kiv::FreeText(copy);
    return appended;
}

bool CKivIsamFile::appendImpl(char* text) noexcept {
    if (m_lines == nullptr)
        m_lines = new (std::nothrow) kiv::LineList;
    if (m_lines == nullptr)
        return false;
    const std::size_t before = m_lines->Count();
    const bool appended = kiv::ForEachAppendedLine(std::string_view(text == nullptr ? "" : text),
                                                   [this](std::string_view line) { return m_lines->Add(line); });
    if (!appended)
        m_lines->Shorten(before);
    return appended;
}

CKivIsamFile& CKivIsamFile::operator<<(const wchar_t* text) noexcept {
    const std::wstring_view added = text == nullptr ? L"" : text;
    if (!AddToPending(added.data(), added.size()) || kiv::FindLineBreak(added) == added.size())
        return *this;
    kiv::ForEachCollectedLine(std::wstring_view(m_pending, m_pendingLength), [this](std::wstring_view line) {
        if (!m_readOnly)
            WithNarrow(line, [this](std::string& narrow) { return appendImpl(narrow.data()); });
    });
    DropPending();
    return *this;
}

CKivIsamFile& CKivIsamFile::operator<<(long number) noexcept {
    char digits[std::numeric_limits<long>::digits10 + 2];
    const char* end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    wchar_t text[sizeof digits + 1] = {};
    std::copy<const char*>(digits, end, text);
    return *this << text;
}
