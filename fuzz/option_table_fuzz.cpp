#include "install/option_table.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string line(reinterpret_cast<const char*>(data), size);
    for (const kiv::CommandLineOption& option : kiv::ParseOptions(line)) {
        const bool sound = !option.value.empty() && option.name.size() + option.value.size() < size;
        Require(sound && kiv::FindOption(kiv::ParseOptions(line), option.name) != nullptr);
    }
    return 0;
}
