#include <string>
#include <vector>

#include "support/log.h"

#include "install/option_table.h"
#include "install/server_paths.h"
#include "support/ascii.h"
#include "support/once.h"
#include "tavkivut/file.h"
#include "tavkivut/inst_server.h"

using kiv::kLogDetail;
using kiv::kLogInfo;

namespace {

constexpr const char* kProductOption = "product";
constexpr const char* kDefaultProduct = "TAVFRONTEND";
constexpr std::string_view kServerVariable = "%TAVSrcDir%";

kiv::Once g_optionsOnce;
std::vector<kiv::CommandLineOption> g_options;  // of the process's command line

// The product that the process was started for; null without the option.
const std::string* RequestedProduct() {
    g_optionsOnce.Run([] { g_options = kiv::ParseOptions(::GetCommandLineA()); });
    return kiv::FindOption(g_options, kProductOption);
}

// What a key file's entry means on that server.
std::string KeyFilePath(const std::string& entry, const std::string& server) {
    if (!kiv::StartsWithIgnoreCase(entry, kServerVariable))
        return entry;
    return kiv::WithoutTrailingBackslash(server) + entry.substr(kServerVariable.size());
}

bool HasKeyFile(const char* product, const std::string& entry, const std::string& server) {
    const std::string keyFile = KeyFilePath(entry, server);
    const bool found = CKivFile::DoesExist(keyFile.c_str()) != 0;
    KIV_LOG(kLogDetail, kLogInfo, "Product '%s' %ssupported on '%s': key file '%s' %sfound", product,
            found ? "" : "not ", server.c_str(), keyFile.c_str(), found ? "" : "not ");
    return found;
}

bool SupportsProduct(const std::string& server, const std::string& configFile) {
    const std::string* const requested = RequestedProduct();
    const char* const product = requested == nullptr ? kDefaultProduct : requested->c_str();
    char entry[kKivServerPathSize];
    KivGetPrivateProfileStringA("Products", product, "", entry, sizeof entry, configFile.c_str());
    if (entry[0] != '\0')
        return HasKeyFile(product, entry, server);
    if (requested == nullptr)
        return true;
    KIV_LOG(kLogDetail, kLogInfo, "Product '%s' not supported on '%s'", product, server.c_str());
    return false;
}

}  // namespace

int CKivInstServer::IsAvailable(const char* serverPath) noexcept {
    if (serverPath == nullptr || serverPath[0] == '\0')
        return 0;
    const std::string configFile = kiv::WithoutTrailingBackslash(serverPath) + "\\setup\\" + kiv::kSetupConfigFile;
    if (CKivFile::DoesExist(configFile.c_str()) == 0)
        return 0;
    return SupportsProduct(serverPath, configFile) ? 1 : 0;
}
