#ifndef KIV_FILES_FILE_CONTENTS_H
#define KIV_FILES_FILE_CONTENTS_H

#include <string_view>

#include "support/dynamic_function.h"
#include "support/heap_buffer.h"
#include "support/windows_api.h"

namespace kiv {

// The calls that move contents; every system has them. They stand here so that a test can let one fail.
struct ContentsApi {
    decltype(&::ReadFile) read;
    decltype(&::WriteFile) write;

    void Load() noexcept;
};

enum class Reading {
    kDone,
    kNoRoom,  // memory is exhausted, or the file has 4 GB and more
    kFailed   // the last error tells why
};

// Reads an open file to its end. At least two zeros follow what was read.
Reading ReadContents(HANDLE file, HeapBuffer<char>& contents) noexcept;

// Writes all of it, in pieces that every system takes. Returns the system's error.
DWORD WriteContents(HANDLE file, std::string_view contents) noexcept;

// Creates a file anew with these contents and waits until they are on the disk. When they cannot be written the old
// contents are put back, and a file that was not there goes again. One whose old contents cannot be read, or memory
// cannot hold, is not touched: nothing could be put back. Returns the system's error.
DWORD ReplaceContents(const char* path, std::string_view contents) noexcept;

}  // namespace kiv

#endif
