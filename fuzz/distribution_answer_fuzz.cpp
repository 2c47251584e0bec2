#include "install/distribution_answer.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const kiv::DistributionAnswer answer = kiv::ParseDistributionAnswer(text);
    const std::string rest = answer.isSeparated ? text.substr(answer.keyword.size() + 1) : "";
    const bool hasDigits = !rest.empty() && rest[0] >= '0' && rest[0] <= '9';
    const bool isSame = hasDigits && std::strtoull(rest.c_str(), nullptr, 10) == answer.code;
    const kiv::DescriptorPath path = kiv::SplitDescriptorPath(text, [](unsigned char byte) { return byte >= 0x80; });
    Require(answer.keyword.find(' ') == std::string::npos && (answer.code == kiv::kNoAnswerCode || isSame));
    Require(text.size() - path.directory.size() - path.file.size() <= 1);
    return 0;
}
