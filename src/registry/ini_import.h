#ifndef KIV_REGISTRY_INI_IMPORT_H
#define KIV_REGISTRY_INI_IMPORT_H

namespace kiv {

// WriteInifileToHkey, which tells whether the file could be read whole. What the registry refuses is not told. Neither
// path is null.
bool ImportIniFile(const char* keyPath, const char* iniFile) noexcept;

}  // namespace kiv

#endif
