#include "registry/ini_import.h"

#include <new>
#include <string>
#include <unordered_set>

#include "registry/ini_file_lists.h"
#include "registry/ini_text.h"
#include "registry/key_elements.h"
#include "registry/setting_value.h"
#include "support/hresult.h"
#include "tavkivut/file.h"
#include "tavkivut/ini.h"
#include "tavkivut/registry.h"

namespace kiv {
namespace {

using Names = std::unordered_set<std::string>;

// The subkeys' names as the registry shows them, asked once instead of once per section.
Names SubkeyNames(HKEY key) {
    Names names;
    ElementName name;
    for (unsigned long i = 0; ElementAt(key, ElementKind::kSubkey, i, name) == ERROR_SUCCESS; ++i)
        names.emplace(name.text);
    return names;
}

class Import {
public:
    Import(const char* keyPath, const char* iniFile, std::size_t fileSize)
        : m_base(nullptr, keyPath), m_lists(iniFile, fileSize), m_subkeys(SubkeyNames(m_base)) {}

    // False, with nothing changed, when the file cannot be read.
    bool Run() {
        if (!m_lists.IsRead())
            return false;
        const std::string list = m_lists.SectionNames();
        Names done;  // a section that comes again would be replaced by the same entries
        TextList names(list);
        for (std::string_view name; names.Next(name);) {
            const auto [section, fresh] = done.emplace(name);
            if (fresh)
                ReplaceSection(*section);
        }
        return true;
    }

private:
    // The name is searched letter by letter. What a missing base key holds is nothing; creating the section's key makes
    // the path to it.
    void ReplaceSection(const std::string& section) {
        if (m_subkeys.count(section) != 0) {
            CKivRegKey::iteratorKeys old(nullptr, m_base.getKey(), section.c_str());
            m_base.erase(old);
        }
        CKivRegKey key;
        if (!key.create(m_base.getKey(), section.c_str()))
            return;
        if (section.find('\\') != std::string::npos)
            m_subkeys = SubkeyNames(m_base);  // the first part of such a name may be a new subkey
        WriteEntries(key, m_lists.Entries(section));
    }

    void WriteEntries(HKEY key, std::string_view list) {
        TextList entries(list);
        for (std::string_view line; entries.Next(line);) {
            IniEntry entry;
            if (!SplitEntry(line, entry))
                continue;
            m_name.assign(entry.name);
            m_value.assign(entry.value);
            WriteSettingValue(key, m_name.c_str(), m_value.c_str());
        }
    }

    CKivRegKey m_base;
    IniFileLists m_lists;
    Names m_subkeys;
    std::string m_name;
    std::string m_value;
};

}  // namespace

bool ImportIniFile(const char* keyPath, const char* iniFile) noexcept {
    unsigned long size = 0;
    if (Failed(CKivFile::GetSize(iniFile, size)) || size == INVALID_FILE_SIZE)
        return false;
    if (size == 0)
        return true;
    try {
        return Import(keyPath, iniFile, size).Run();
    } catch (const std::bad_alloc&) {
        // A file that is too big for memory is not imported, or not to its end.
        return false;
    }
}

}  // namespace kiv

void KIV_CALL WriteInifileToHkey(const char* keyPath, const char* iniFile) noexcept {
    if (keyPath != nullptr && iniFile != nullptr)
        kiv::ImportIniFile(keyPath, iniFile);
}
