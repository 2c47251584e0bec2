// A text file of 1,000,000 lines is opened, edited and closed, beside the same by hand. Also shows how much memory that
// takes at most, in times of the file's size.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "bench_file.h"

#include <psapi.h>

#include "tavkivut/line_file.h"

namespace {

using kiv::bench::ReadFile;
using kiv::bench::Require;
using kiv::bench::WriteFile;

constexpr int kLines = 1000000;
constexpr long kEvery = 1000;  // every how many lines one is changed

// Line by line, so that it takes no memory.
void MakeFile(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    Require(file != nullptr, "no file");
    for (int i = 0; i < kLines; ++i)
        std::fprintf(file, "Setting%d=a text of medium length\r\n", i);
    std::fclose(file);
}

// The peer: a list of lines that can be edited, in the plainest way.
void EditByHand(const std::string& path) {
    std::vector<std::string> lines;
    {
        const std::string bytes = ReadFile(path);
        for (std::size_t at = 0; at < bytes.size();) {
            const std::size_t end = bytes.find('\n', at);
            lines.push_back(bytes.substr(at, end - 1 - at));
            at = end + 1;
        }
    }
    for (std::size_t i = 0; i < lines.size(); i += kEvery)
        lines[i] = "Changed=1";
    std::string bytes;
    for (const std::string& line : lines)
        bytes.append(line).append("\r\n");
    WriteFile(path, bytes);
}

void Edit(const std::wstring& path) {
    CKivIsamFile file(path.c_str(), false);
    Require(file.lines() == kLines, "lines are missing");
    for (long i = 0; i < file.lines(); i += kEvery)
        file.set(i, L"Changed=1");
    file.close();
}

PROCESS_MEMORY_COUNTERS Memory() {
    PROCESS_MEMORY_COUNTERS counters{};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters);
    return counters;
}

// The row of the most memory that an edit takes, beside the size of the file.
void PrintMemory(const std::string& path, const std::wstring& widePath) {
    const SIZE_T before = Memory().WorkingSetSize;
    Edit(widePath);
    const double taken = static_cast<double>(Memory().PeakWorkingSetSize - before) / (1 << 20);
    const double size = static_cast<double>(ReadFile(path).size()) / (1 << 20);
    std::printf("%-60s %10.2f MB %10.2f MB %8.2f  goal 3.00 %s\n", "line file, 1,000,000 lines: memory, file size",
                taken, size, taken / size, taken <= 3 * size ? "met" : "MISSED");
}

}  // namespace

int main() {
    char folder[MAX_PATH];
    Require(::GetTempPathA(sizeof folder, folder) != 0, "no temporary folder");
    const std::string path = std::string(folder) + "tavkivut-line-bench.txt";
    const std::wstring widePath(path.begin(), path.end());
    MakeFile(path);
    PrintMemory(path, widePath);
    kiv::bench::Compare(
        "line file, 1,000,000 lines: open, edit, close", 1.5, 5, [&widePath] { Edit(widePath); },
        [&path] { EditByHand(path); });
    ::DeleteFileA(path.c_str());
    return 0;
}
