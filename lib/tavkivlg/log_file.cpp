#include "tavkivlg/log_file.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "support/ascii.h"
#include "support/heap_text.h"

namespace kivlg {
namespace {

constexpr DWORD kMostPatience = 500;  // milliseconds that a line may cost its caller
constexpr DWORD kHoldOff = 5000;      // milliseconds without waiting, after a line was given up

// Two spellings of one path may give two names; then only the order of lines is left to chance.
std::uint32_t HashOfPath(const char* path) noexcept {
    std::uint32_t hash = 2166136261U;
    for (; *path != '\0'; ++path)
        hash = (hash ^ static_cast<unsigned char>(kiv::ToUpper(*path))) * 16777619U;
    return hash;
}

// Shared by all sessions and accounts of the machine where the system has such names, else by the session, else by the
// threads of this process. Anyone may take it: services and users write to one log, and who keeps it costs the others
// half a second now and then.
kiv::ScopedKernelObject MakeMutex(const char* path) noexcept {
    SECURITY_DESCRIPTOR open = {};
    open.Revision = SECURITY_DESCRIPTOR_REVISION;
    open.Control = SE_DACL_PRESENT;
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, &open, FALSE};
    char name[64];
    std::snprintf(name, sizeof name, "Global\\tavkivlg-%08lx", static_cast<unsigned long>(HashOfPath(path)));
    kiv::ScopedKernelObject mutex(::CreateMutexA(&attributes, FALSE, name));
    if (!mutex)
        mutex.Reset(::CreateMutexA(&attributes, FALSE, std::strchr(name, '\\') + 1));
    if (!mutex)
        mutex.Reset(::CreateMutexA(nullptr, FALSE, nullptr));
    return mutex;
}

// A mutex for as long as it lives, if it could be had in time.
class MutexLock {
public:
    MutexLock(HANDLE mutex, DWORD patience) noexcept
        : m_mutex(mutex), m_result(mutex == nullptr ? WAIT_FAILED : ::WaitForSingleObject(mutex, patience)) {}
    ~MutexLock() {
        if (IsOwned())
            ::ReleaseMutex(m_mutex);
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    bool IsOwned() const noexcept { return m_result == WAIT_OBJECT_0 || IsInherited(); }
    bool IsInherited() const noexcept { return m_result == WAIT_ABANDONED; }  // its owner was ended

private:
    HANDLE m_mutex;
    DWORD m_result;
};

// False for a file with a second name: whoever can plant one in a shared folder must not choose what is written to.
bool GetSize(HANDLE file, ULONGLONG& size) noexcept {
    BY_HANDLE_FILE_INFORMATION information = {};
    ::GetFileInformationByHandle(file, &information);  // fails for a device: nothing is known, the size counts as 0
    size = static_cast<ULONGLONG>(information.nFileSizeHigh) << 32 | information.nFileSizeLow;
    return information.nNumberOfLinks <= 1;
}

void CutAt(HANDLE file, ULONGLONG size) noexcept {
    LONG high = static_cast<LONG>(size >> 32);
    ::SetFilePointer(file, static_cast<LONG>(size & MAXDWORD), &high, FILE_BEGIN);
    ::SetEndOfFile(file);
}

// All of the bytes or, when the disk is full in the middle, none.
bool WriteAtEnd(HANDLE file, std::string_view bytes) noexcept {
    LONG high = 0;
    const DWORD low = ::SetFilePointer(file, 0, &high, FILE_END);
    const ULONGLONG end = static_cast<ULONGLONG>(static_cast<DWORD>(high)) << 32 | low;
    DWORD written = 0;
    if (::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) && written == bytes.size())
        return true;
    if (written != 0)
        CutAt(file, end);
    return false;
}

}  // namespace

void LogFile::Open(const char* path, DWORD maxSize) noexcept {
    kiv::CopyText(m_path, sizeof m_path, path);
    std::snprintf(m_oldPath, sizeof m_oldPath, "%s.old", m_path);
    m_maxSize = maxSize;
    m_mutex = MakeMutex(m_path);
}

bool LogFile::Append(std::string_view lines) noexcept {
    const DWORD start = ::GetTickCount();
    const DWORD patience = Patience(start);
    const MutexLock lock(m_mutex.Get(), patience);
    if (lock.IsInherited())
        m_inUse.Reset();
    const DWORD waited = ::GetTickCount() - start;
    kiv::ScopedFile ownFile;
    kiv::ScopedFile& file = lock.IsOwned() ? m_inUse : ownFile;
    const bool mayRotate = lock.IsOwned() || !m_mutex;
    const bool done = AppendTo(file, waited < patience ? patience - waited : 0, mayRotate, lines);
    file.Reset();
    if (patience != 0 && !done)
        __atomic_store_n(&m_givenUpAt, start, __ATOMIC_RELAXED);
    __atomic_store_n(&m_isGivenUp, !done, __ATOMIC_RELAXED);
    return done;
}

// Several threads may come here at once; whatever they see of each other's answer, a line is written or lost whole.
DWORD LogFile::Patience(DWORD now) const noexcept {
    const bool isGivenUp = __atomic_load_n(&m_isGivenUp, __ATOMIC_RELAXED);
    return isGivenUp && now - __atomic_load_n(&m_givenUpAt, __ATOMIC_RELAXED) < kHoldOff ? 0 : kMostPatience;
}

bool LogFile::AppendTo(kiv::ScopedFile& file, DWORD patience, bool mayRotate, std::string_view lines) const noexcept {
    file = OpenForWriting(patience);
    ULONGLONG size = 0;
    if (!file || !GetSize(file.Get(), size))
        return false;
    if (mayRotate && m_maxSize != 0 && size != 0 && size + lines.size() > m_maxSize) {
        file.Reset();
        Rotate();
        file = OpenForWriting(patience);
        if (!file || !GetSize(file.Get(), size))
            return false;
        if (size / 2 >= m_maxSize)  // someone keeps it from being renamed: the limit holds all the same
            CutAt(file.Get(), 0);
    }
    return WriteAtEnd(file.Get(), lines);
}

kiv::ScopedFile LogFile::OpenForWriting(DWORD patience) const noexcept {
    const DWORD start = ::GetTickCount();
    for (;;) {
        kiv::ScopedFile file(::CreateFileA(m_path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                           FILE_ATTRIBUTE_NORMAL, nullptr));
        if (file || ::GetLastError() != ERROR_SHARING_VIOLATION || ::GetTickCount() - start >= patience)
            return file;
        ::Sleep(1);
    }
}

// The file goes aside before the old copy is deleted: a reader that keeps it from being renamed must not cost both.
// Windows 95 has no call that replaces.
void LogFile::Rotate() const noexcept {
    char aside[sizeof m_oldPath];
    std::snprintf(aside, sizeof aside, "%s.new", m_path);
    ::DeleteFileA(aside);  // left by a process that was ended here
    if (!::MoveFileA(m_path, aside))
        return;
    ::DeleteFileA(m_oldPath);
    if (!::MoveFileA(aside, m_oldPath))
        ::MoveFileA(aside, m_path);
}

}  // namespace kivlg
