#ifndef KIV_BENCHMARKS_BENCH_FILE_H
#define KIV_BENCHMARKS_BENCH_FILE_H

// Whole files, for benchmarks whose peer reads and writes by hand.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "bench.h"

namespace kiv::bench {

inline void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "benchmark: %s\n", what);
        std::exit(1);
    }
}

// What was written has reached the disk.
inline void WriteFile(const std::string& path, std::string_view bytes) {
    const HANDLE file = ::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    Require(::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
                ::FlushFileBuffers(file),
            "a file was not written");
    ::CloseHandle(file);
}

inline std::string ReadFile(const std::string& path) {
    const HANDLE file = ::CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    std::string bytes(::GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    Require(::ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr), "a file was not read");
    ::CloseHandle(file);
    return bytes;
}

}  // namespace kiv::bench

#endif
