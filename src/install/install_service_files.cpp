#include "support/windows_api.h"

#include <new>
#include <string>
#include <vector>

#include "files/path_text.h"
#include "install/server_paths.h"
#include "install/service_files.h"
#include "install/service_setup.h"
#include "registry/config_files.h"
#include "registry/ini_file_lists.h"
#include "support/code_page.h"
#include "support/hresult.h"
#include "support/log.h"
#include "tavkivut/file.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/install_service.h"
#include "tavkivut/registry.h"
#include "tavkivut/tools.h"

namespace {

// What the installation server says about the files of the service.
struct FileList {
    std::string directory;  // that they come from, with a backslash at its end
    std::vector<std::string> names;
};

FileList ReadFileList() {
    char server[kKivServerPathSize] = "";
    CKivInstServer::GetPath(server, 0);
    if (server[0] == '\0')
        return {};
    const std::string config = kiv::ServerConfigFile(server);
    FileList list{config.substr(0, kiv::LastSeparator(config, kiv::IsAnsiLeadByte) + 1), {}};
    unsigned long size = 0;
    if (kiv::Failed(CKivFile::GetSize(config.c_str(), size)) || size == 0xFFFFFFFF)
        return list;
    try {
        list.names = kiv::ListedFiles(kiv::IniFileLists(config.c_str(), size).Entries("Files"));
    } catch (const std::bad_alloc&) {
        list.names.clear();  // a file beyond all measure lists nothing
    }
    return list;
}

bool ReadVersion(const std::string& file, CKivFileVersion& version) {
    if (CKivFile::GetVersion(file.c_str(), version) != kiv::kStatusOk)
        return false;
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Version of %s: %d.%d.%d.%d", file.c_str(), version.Major, version.Minor,
            version.Build, version.Revision);
    return true;
}

// Whether a file takes the place of the one at the target; says why. A version that cannot be read stays invalid.
bool IsNewer(const std::string& source, const std::string& target) {
    CKivFileVersion ours;
    CKivFileVersion theirs;
    if (!ReadVersion(source, ours))
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Could not read version of source file");
    if (!ReadVersion(target, theirs))
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Could not read version of dest file");
    if (!ours.IsValid() || !theirs.IsValid()) {
        KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Files will be copied because of invalid version");
        return true;
    }
    if (ours > theirs) {
        KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Files will be copied source file has a higher version");
        return true;
    }
    return false;
}

DWORD CopyInto(const std::string& source, const std::string& target) noexcept {
    char folder[MAX_PATH];
    if (CKivTools::GetParentDirectory(target.c_str(), folder, sizeof folder) == 0 ||
        CKivTools::CreateDirectoryRecursive(folder) == 0)
        return ::GetLastError();
    return kiv::CopyOver(source.c_str(), target.c_str());
}

void InstallFile(const FileList& list, const std::string& name, const std::string& directory, bool isInstalled) {
    const std::string source = list.directory + name;
    const std::string target = directory + name;
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Install Service File %s to %s", source.c_str(), target.c_str());
    const bool stays = kiv::StaysBelow(name, kiv::IsAnsiLeadByte);
    if (!isInstalled)
        KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Files will be copied because the service is not installed");
    else if (stays && !IsNewer(source, target))
        return;
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "CopyFile %s to %s", source.c_str(), target.c_str());
    if (const DWORD error = stays ? CopyInto(source, target) : ERROR_INVALID_NAME)
        KIV_LOG_WIN32_TEXT(error, "Failed to copy service file", kiv::kLogMain);
}

// Tells the target where its workstation directory is. Gives the Win32 error.
DWORD WriteWorkstationPath(const char* machine, const std::string& path) {
    CKivRegKey key(machine, nullptr, nullptr, KEY_SET_VALUE);
    if (!key.create(kiv::kGeneralKeyPath, KEY_SET_VALUE))
        return key.getLastError();
    CKivRegValue value = key[kiv::kWorkstationPathName];
    value = path.c_str();
    return value.getLastError();
}

}  // namespace

long CKivInstallService::MakeUptodate() noexcept {
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Going to update service files");
    if (!m_initialized)
        return kiv::kStatusFail;
    const FileList list = ReadFileList();
    if (list.names.empty()) {
        KIV_LOG(kiv::kLogMain, kiv::kLogError,
                "CKivInstallService::MakeUptodate: No Files to install found in cfg file");
        return kiv::kStatusFail;
    }
    const DWORD found = FindTarget();
    if (found != ERROR_SUCCESS && found != ERROR_SERVICE_DOES_NOT_EXIST) {
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Could not open remote SCM; Service installation must be aborted");
        return kiv::kStatusFail;
    }
    if (const DWORD error = OpenDirectory())
        return kiv::StatusFromWin32(error);

    const std::string directory = std::string(m_share.GetUNCName()) + "\\" + kiv::kWorkstationDirectory + "\\";
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Going to install files from %s to %s", list.directory.c_str(),
            directory.c_str());
    int number = 0;
    for (const std::string& name : list.names) {
        KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "%d. File to copy %s", ++number, name.c_str());
        InstallFile(list, name, directory, found == ERROR_SUCCESS);
    }

    const std::string path = std::string(m_share.GetLocalPath()) + "\\" + kiv::kWorkstationDirectory;
    const DWORD error = WriteWorkstationPath(kiv::MachineArgument(m_computer), path);
    if (error != ERROR_SUCCESS)
        KIV_LOG_WIN32(error, kiv::kLogError, "CKivInstallService: Could not write the path %s", path.c_str());
    return kiv::StatusFromWin32(error);
}
