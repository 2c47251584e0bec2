// How an installer front end starts: it asks for the installation server, and reads its settings from the configuration
// that the library keeps in step with that server's TavSetup.cfg.
//
//     front_end [/product:NAME] [/section:NAME]
//
// The library itself looks for the option "product" in the command line: only a server that serves that product is
// chosen. "section" (default: General) is this program's own option: the settings that it prints.

#include <windows.h>

#include <cstdio>
#include <cstring>

#include "tavkivut/tavkivut.h"

namespace {

constexpr char kSectionOption[] = "/section:";

// The value of "/section:", copied to `section`.
void ReadSectionOption(char* section, std::size_t size) {
    int argc = 0;
    char** argv = CommandLineToArgv(::GetCommandLineA(), &argc);
    for (int i = 1; argv != nullptr && i < argc; ++i) {
        if (std::strncmp(argv[i], kSectionOption, sizeof kSectionOption - 1) == 0)
            std::snprintf(section, size, "%s", argv[i] + sizeof kSectionOption - 1);
    }
    ReleaseArgs(argv);
}

void ShowServer() {
    std::printf("installation server: asking %u listed server(s)\n", CKivInstServer::GetCount());
    const DWORD start = ::GetTickCount();
    char server[kKivServerPathSize];
    CKivInstServer::GetPath(server, 0);
    std::printf("installation server: got %s after %lu ms\n", server, ::GetTickCount() - start);

    char setup[kKivServerPathSize];
    CKivInstServer::GetSetupPath(setup, nullptr);
    const char* share = CKivInstServer::GetServerShare();
    std::printf("                     host %s, share %s, setup folder %s%s\n", CKivInstServer::GetServerHost(),
                share == nullptr ? "(none)" : share, setup,
                CKivInstServer::IsFallbackServer(server) != 0 ? " (the fallback: no server is available)" : "");
}

void ShowSettings(CKivConfigMgr& config, const char* section) {
    char** names = nullptr;
    char** values = nullptr;
    const long count = config.GetCfgStrings(section, names, values);
    std::printf("configuration: section %s has %ld setting(s)\n", section, count);
    for (long i = 0; i < count; ++i)
        std::printf("                     %s = %s\n", names[i], values[i] == nullptr ? "(unreadable)" : values[i]);
    config.ReleaseCfgStrings(names, values);
}

}  // namespace

int main() {
    char section[256] = "General";
    ReadSectionOption(section, sizeof section);
    std::printf("system: %s\n", CKivSystem::GetOsVersionString());
    ShowServer();
    CKivConfigMgr config;  // the first question refreshes the registry when the server's file is newer
    ShowSettings(config, section);
    return 0;
}
