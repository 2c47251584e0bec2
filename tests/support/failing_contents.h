#ifndef KIV_TESTS_SUPPORT_FAILING_CONTENTS_H
#define KIV_TESTS_SUPPORT_FAILING_CONTENTS_H

#include "files/file_contents.h"
#include "support/swapped_api.h"

namespace kiv::test {

// For the table of calls that move the contents of files: a read that fails, and a write of which only half reaches the
// disk, the first time.

inline BOOL WINAPI NoRead(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED) {
    ::SetLastError(ERROR_CRC);
    return FALSE;
}

inline BOOL WINAPI HalfWrite(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) {
    static bool s_failed = false;
    const DWORD part = s_failed ? size : size / 2;
    s_failed = true;
    return ::WriteFile(file, bytes, part, written, overlapped);
}

}  // namespace kiv::test

#endif
