#include "support/scoped_resource.h"
#include "support/text_encoding.h"
#include "tavkivlg/tavkivlg.h"

namespace {

// Where a file stands, put back at the end. Only a file on a disk has a position: reading from anything else would
// take what its owner waits for.
class FilePosition {
public:
    explicit FilePosition(HANDLE file) noexcept : m_file(file) {
        if (::GetFileType(file) != FILE_TYPE_DISK)
            return;
        ::SetLastError(NO_ERROR);  // the call's own answer may look like a failure beyond 4 GB
        m_low = ::SetFilePointer(file, 0, &m_high, FILE_CURRENT);
        m_known = m_low != INVALID_SET_FILE_POINTER || ::GetLastError() == NO_ERROR;
    }
    ~FilePosition() {
        if (m_known)
            ::SetFilePointer(m_file, static_cast<LONG>(m_low), &m_high, FILE_BEGIN);
    }
    FilePosition(const FilePosition&) = delete;
    FilePosition& operator=(const FilePosition&) = delete;

    bool GoToStart() const noexcept {
        return m_known && ::SetFilePointer(m_file, 0, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER;
    }

private:
    HANDLE m_file;
    DWORD m_low = 0;
    LONG m_high = 0;
    bool m_known = false;
};

}  // namespace

unsigned long KIVLG_CALL KivGetFileEncoding(void* fileHandle) {
    const kiv::LastErrorKeeper keeper;
    const FilePosition position(fileHandle);
    char mark[kiv::kLongestMark];
    DWORD read = 0;
    if (!position.GoToStart() || !::ReadFile(fileHandle, mark, sizeof mark, &read, nullptr))
        read = 0;
    return static_cast<unsigned long>(kiv::EncodingByMark({mark, read}));
}
