#ifndef KIVLG_LOG_FILE_H
#define KIVLG_LOG_FILE_H

#include <string_view>

#include "support/scoped_resource.h"

namespace kivlg {

// A text file that several processes append to, with a limit for its size and one old copy beside it ("<file>.old").
//
// The file is open only while a line is written: it can be read, moved or deleted at any time, and nothing of it is
// left behind by a thread or process that ends in the middle. Whoever writes denies writing to the others, so lines
// never mix, whichever way two processes came to the same file. A mutex in front of that only keeps the order and lets
// the file be renamed; where it cannot be had in time, or at all, writing goes on without.
//
// Nothing waits for long: after half a second a line is given up, and for some seconds after that lines are tried once
// without waiting. The next line that gets through says how many were lost.
class LogFile {
public:
    LogFile() = default;
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // Before any other use. The path is copied; a maximum of 0 bytes is none.
    void Open(const char* path, DWORD maxSize) noexcept;

    // Appends whole lines in one piece; false when they are lost.
    bool Append(std::string_view lines) noexcept;

private:
    DWORD Patience(DWORD now) const noexcept;  // how many milliseconds a line may take
    bool AppendTo(kiv::ScopedFile& file, DWORD patience, bool mayRotate, std::string_view lines) const noexcept;
    kiv::ScopedFile OpenForWriting(DWORD patience) const noexcept;
    void Rotate() const noexcept;

    char m_path[MAX_PATH] = "";
    char m_oldPath[MAX_PATH + 4] = "";
    DWORD m_maxSize = 0;
    kiv::ScopedKernelObject m_mutex;
    // The file while the owner of the mutex writes. A thread that is ended in the middle, as at the end of the process,
    // leaves it open; the next owner closes it, else nobody could write any more.
    kiv::ScopedFile m_inUse;
    bool m_isGivenUp = false;  // the last line was lost
    DWORD m_givenUpAt = 0;     // tick count of the last line that waited in vain
};

}  // namespace kivlg

#endif
