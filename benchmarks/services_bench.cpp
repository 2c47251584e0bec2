// A services file of 100,000 lines is loaded and saved, beside reading, splitting and writing it by hand. The file is
// the system's own, so this measures only under Wine, whose system is the build folder's.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "bench_file.h"

#include "tavkivut/net_services.h"

namespace {

using kiv::bench::ReadFile;
using kiv::bench::Require;
using kiv::bench::WriteFile;

constexpr int kLines = 100000;

std::string FileText() {
    std::string text;
    for (int i = 0; i < kLines; ++i) {
        const std::string number = std::to_string(i);
        text += i % 20 == 0 ? "# section " + number + "\r\n"
                            : "service" + number + "\t\t" + number + "/tcp\t\talias" + number + "\t# the comment\r\n";
    }
    return text;
}

// The peer: the words of each line, written back with one blank between two.
void RewriteByHand(const std::string& path) {
    std::vector<std::vector<std::string>> lines;
    const std::string bytes = ReadFile(path);
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        const std::size_t end = bytes.find('\n', at);
        std::vector<std::string>& words = lines.emplace_back();
        while ((at = bytes.find_first_not_of(" \t\r", at)) < end) {
            const std::size_t wordEnd = bytes.find_first_of(" \t\r\n", at);
            words.push_back(bytes.substr(at, wordEnd - at));
            at = wordEnd;
        }
        at = end;
    }
    std::string written;
    for (const std::vector<std::string>& words : lines) {
        for (const std::string& word : words)
            written.append(word).append(" ");
        written.append("\r\n");
    }
    Require(lines.size() == kLines, "lines are missing");
    WriteFile(path, written);
}

void LoadAndSave() {
    CKivNetServiceConfig services;
    Require(services.at(kLines - 1) != nullptr && services.save(), "not saved");
}

}  // namespace

int main() {
    if (::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr) {
        std::printf("services file: measured under Wine only\n");
        return 0;
    }
    const std::string path = CKivNetServiceConfig::getFileName();
    const std::string before = ReadFile(path);
    const std::string peer = path + ".peer";
    WriteFile(path, FileText());
    WriteFile(peer, FileText());
    kiv::bench::Compare("services file, 100,000 lines: load, save", 2.0, 5, LoadAndSave, [&] { RewriteByHand(peer); });
    ::DeleteFileA(peer.c_str());
    WriteFile(path, before);
    return 0;
}
