#include "registry/config_files.h"

#include <vector>

#include "files/path_text.h"
#include "registry/ini_text.h"
#include "support/code_page.h"
#include "support/log.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/path.h"
#include "tavkivut/process.h"

namespace kiv {
namespace {

constexpr char kConfigFileName[] = "TavSetup.cfg";

bool Contains(const std::vector<std::string>& files, const std::string& wanted) {
    for (const std::string& file : files) {
        if (CKivPath::PathIsEqual(file.c_str(), wanted.c_str()) != 0)
            return true;
    }
    return false;
}

std::vector<std::string> AllConfigFiles() {
    std::vector<std::string> files = {LocalConfigFile()};
    const unsigned count = CKivInstServer::GetCount();
    for (unsigned i = 0; i < count; ++i) {
        char server[kKivServerPathSize] = "";
        CKivInstServer::GetPath(i, server);
        std::string file = ServerConfigFile(server);
        if (server[0] != '\0' && !Contains(files, file))
            files.push_back(std::move(file));
    }
    return files;
}

void UpdateConfigFile(const char* file, const char* section, const char* key, const char* value) {
    const DWORD attributes = ::GetFileAttributesA(file);
    if (attributes == INVALID_FILE_ATTRIBUTES)
        KIV_LOG_WIN32_TEXT(::GetLastError(), "Could not read fileattributes of config file", kLogMain);
    else if ((attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN)) != 0)
        ::SetFileAttributesA(file, FILE_ATTRIBUTE_NORMAL);

    if (::WritePrivateProfileStringA(section, key, value, file))
        KIV_LOG(kLogMain, kLogInfo, "updated config file %s; [%s] %s=%s", file, section, key, value);
    else
        KIV_LOG(kLogMain, kLogError, "failed to update config file %s", file);

    // The 9x family keeps the file's contents back; they must be out before the file is read-only again.
    ::WritePrivateProfileStringA(nullptr, nullptr, nullptr, file);
    if (attributes != INVALID_FILE_ATTRIBUTES)
        ::SetFileAttributesA(file, attributes);
}

}  // namespace

std::string LocalConfigFile() {
    return std::string(CKivThisProcess::GetExeDir()) + "\\" + kConfigFileName;
}

std::string ServerConfigFile(std::string serverPath) {
    if (!serverPath.empty() && LastSeparator(serverPath, IsAnsiLeadByte) == serverPath.size() - 1)
        serverPath.pop_back();
    return serverPath + "\\Setup\\" + kConfigFileName;
}

void UpdateConfigFiles(const char* section, const char* key, const char* value) {
    const bool refused = HasLineBreak(section) || HasLineBreak(key) || HasLineBreak(value);
    for (const std::string& file : AllConfigFiles()) {
        if (refused)
            KIV_LOG(kLogMain, kLogError, "failed to update config file %s", file.c_str());
        else
            UpdateConfigFile(file.c_str(), section, key, value);
    }
}

}  // namespace kiv
