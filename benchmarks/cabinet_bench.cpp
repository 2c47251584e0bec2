// A folder of files into a cabinet and out of it. The peers, gcab and cabextract, are programs of the host:
// tools/bench-cabinets lets them and this program take turns, and has the rows printed at the end.
//
//     cabinet_bench FOLDER CABINET OUTPUT        prints the milliseconds of storing and of extracting
//     cabinet_bench OURS PEER OURS PEER          prints the rows of storing and of extracting

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench.h"

#include "tavkivut/cabinet.h"

namespace {

void Expect(int result, const char* what) {
    if (result != 1) {
        std::printf("%s failed\n", what);
        std::exit(1);
    }
}

std::vector<std::string> FilesOf(const std::string& folder) {
    std::vector<std::string> files;
    WIN32_FIND_DATAA found;
    const HANDLE search = ::FindFirstFileA((folder + "\\*").c_str(), &found);
    do {
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            files.push_back(folder + "\\" + found.cFileName);
    } while (::FindNextFileA(search, &found));
    ::FindClose(search);
    return files;
}

void Store(const std::vector<std::string>& files, const char* cabinet) {
    CKivCabArchive archive;
    Expect(archive.Create(cabinet), "Create");
    for (const std::string& file : files)
        Expect(archive.Append(file.c_str(), nullptr), "Append");
    Expect(archive.Close(), "Close");
}

void Extract(const char* cabinet, const char* folder) {
    CKivCabArchive archive;
    archive.Open(cabinet);
    Expect(archive.Extract(folder, nullptr, nullptr), "Extract");
}

void PrintRows(char** milliseconds) {
    kiv::bench::Print({"cabinet: 30 MB in, gcab", std::atof(milliseconds[0]), std::atof(milliseconds[1]), 1.3});
    kiv::bench::Print({"cabinet: 30 MB out, cabextract", std::atof(milliseconds[2]), std::atof(milliseconds[3]), 1.1});
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 5) {
        PrintRows(argv + 1);
        return 0;
    }
    if (argc != 4)
        return 2;
    const std::vector<std::string> files = FilesOf(argv[1]);
    const double stored = kiv::bench::Time([&] { Store(files, argv[2]); });
    const double extracted = kiv::bench::Time([&] { Extract(argv[2], argv[3]); });
    std::printf("%.0f %.0f\n", stored, extracted);
    return 0;
}
