#include "install/service_files.h"

#include "registry/ini_text.h"

namespace kiv {

std::vector<std::string> ListedFiles(std::string_view entries) {
    std::vector<std::string> files;
    TextList list(entries);
    IniEntry entry;
    for (std::string_view line; list.Next(line);) {
        if (SplitEntry(line, entry) && !entry.value.empty())
            files.emplace_back(entry.value);
    }
    return files;
}

bool StaysBelow(std::string_view name, LeadByteTest isLead) noexcept {
    if (name.empty() || IsPathSeparator(name[0]) || name.find(':') != std::string_view::npos)
        return false;
    for (std::size_t start = 0; start <= name.size();) {
        const std::size_t end = NextSeparator(name, start, isLead);
        if (name.substr(start, end - start) == "..")
            return false;
        start = end + 1;
    }
    return true;
}

}  // namespace kiv
