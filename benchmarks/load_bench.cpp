// How long the library takes to load, and how large it is. The first load in the process counts, so this program does
// not link the library.

#include <windows.h>

#include <cstdio>

#include "bench.h"

namespace {

constexpr double kMostKilobytes = 700;  // of the 32-bit library, stripped
constexpr double kMostMilliseconds = 10;

double SizeInKilobytes(const char* fileName) {
    const HANDLE file = ::CreateFileA(fileName, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    const DWORD size = file == INVALID_HANDLE_VALUE ? 0 : ::GetFileSize(file, nullptr);
    ::CloseHandle(file);
    return size / 1024.0;
}

const char* Verdict(double figure, double most) {
    return figure > 0 && figure <= most ? "met" : "MISSED";
}

}  // namespace

int main() {
    HMODULE library = nullptr;
    const double load = kiv::bench::Time([&library] { library = ::LoadLibraryA("tavkivut.dll"); });
    if (library == nullptr) {
        std::printf("tavkivut.dll does not load: error %lu\n", ::GetLastError());
        return 1;
    }
    char path[MAX_PATH];
    ::GetModuleFileNameA(library, path, sizeof path);
    const double size = SizeInKilobytes(path);
    std::printf("%-60s %10.0f KB  goal %.0f KB %s\n", "size of tavkivut.dll", size, kMostKilobytes,
                Verdict(size, kMostKilobytes));
    std::printf("%-60s %10.2f ms  goal %.0f ms %s\n", "first load of tavkivut.dll", load, kMostMilliseconds,
                Verdict(load, kMostMilliseconds));
    return 0;
}
