// A folder of files into a cabinet and out of it. The peers, gcab and cabextract, are programs of the host:
// tools/bench-cabinets measures them on the same files and hands over their times.
//
//     cabinet_bench FOLDER CABINET OUTPUT GCAB-MILLISECONDS CABEXTRACT-MILLISECONDS

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench.h"

#include "tavkivut/cabinet.h"

namespace {

constexpr int kRounds = 3;

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

// The best of some rounds.
template <class Work>
double Best(const Work& work) {
    double best = kiv::bench::Time(work);
    for (int i = 1; i < kRounds; ++i)
        best = std::min(best, kiv::bench::Time(work));
    return best;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6)
        return 2;
    const std::vector<std::string> files = FilesOf(argv[1]);
    const double stored = Best([&] { Store(files, argv[2]); });
    kiv::bench::Print({"cabinet: 30 MB in, gcab", stored, std::atof(argv[4]), 1.3});
    const double extracted = Best([&] { Extract(argv[2], argv[3]); });
    kiv::bench::Print({"cabinet: 30 MB out, cabextract", extracted, std::atof(argv[5]), 1.1});
    return 0;
}
