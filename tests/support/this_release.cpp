#include "support/this_release.h"

#include "support/windows_api.h"

namespace kiv::test {

std::string ThisRelease() {
    char path[MAX_PATH];
    ::GetModuleFileNameA(nullptr, path, sizeof path);
    std::string name = path;
    name.resize(name.rfind('.'));
    const std::size_t mark = name.rfind("_test_");
    return mark == std::string::npos ? "" : name.substr(mark + 6);
}

bool ThisReleaseIs9x() {
    const std::string release = ThisRelease();
    return release == "win95" || release == "win98" || release == "winme";
}

}  // namespace kiv::test
