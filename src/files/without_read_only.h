#ifndef KIV_FILES_WITHOUT_READ_ONLY_H
#define KIV_FILES_WITHOUT_READ_ONLY_H

#include "support/windows_api.h"

namespace kiv {

// A file without its read-only attribute, which it gets back at the end.
class WithoutReadOnly {
public:
    enum class Change { kNone, kCleared, kFailed };

    // The path outlives this object. A file that is missing has no attribute to clear.
    explicit WithoutReadOnly(const char* path) noexcept : m_path(path), m_attributes(::GetFileAttributesA(path)) {
        if (m_attributes == INVALID_FILE_ATTRIBUTES || (m_attributes & FILE_ATTRIBUTE_READONLY) == 0)
            return;
        const DWORD writable = m_attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
        m_change = ::SetFileAttributesA(path, writable) ? Change::kCleared : Change::kFailed;
    }
    ~WithoutReadOnly() {
        if (m_change == Change::kCleared)
            ::SetFileAttributesA(m_path, m_attributes);
    }
    WithoutReadOnly(const WithoutReadOnly&) = delete;
    WithoutReadOnly& operator=(const WithoutReadOnly&) = delete;

    Change Changed() const noexcept { return m_change; }

private:
    const char* m_path;
    DWORD m_attributes;
    Change m_change = Change::kNone;
};

}  // namespace kiv

#endif
