#ifndef KIV_REGISTRY_INI_FILE_LISTS_H
#define KIV_REGISTRY_INI_FILE_LISTS_H

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "support/windows_api.h"

namespace kiv {

// The sections of an INI file and the entries of each, as lists of texts in the system code page. They come from the
// system's calls; a file with a byte-order mark, which these understand only in part and not on every release, is read
// here.
class IniFileLists {
public:
    IniFileLists(const char* path, std::size_t fileSize);
    IniFileLists(const IniFileLists&) = delete;
    IniFileLists& operator=(const IniFileLists&) = delete;

    // Whether the file could be read. Of one without a mark only that it could be opened is known.
    bool IsRead() const { return m_read; }

    std::string SectionNames();

    // The entries of a section, valid until the next call.
    std::string_view Entries(const std::string& section);

private:
    struct MarkedSection {
        std::string name;
        std::string entries;
    };

    bool ReadMarkedFile();
    template <class Call>
    std::string_view Ask(const Call& call);

    const char* m_path;
    bool m_marked = false;
    bool m_read = false;
    std::vector<MarkedSection> m_sections;                  // of a file with a mark
    std::unordered_map<std::string, std::size_t> m_byName;  // lower-case name to the first such section
    std::string m_buffer;                                   // what the system's calls write into
};

}  // namespace kiv

#endif
