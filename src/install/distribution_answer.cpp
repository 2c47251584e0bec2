#include "install/distribution_answer.h"

#include "support/ascii.h"

namespace kiv {
namespace {

std::uint32_t LeadingNumber(std::string_view text) noexcept {
    if (text.empty() || !IsDigit(text.front()))
        return kNoAnswerCode;
    std::uint64_t number = 0;
    for (std::size_t at = 0; at < text.size() && IsDigit(text[at]); ++at) {
        number = number * 10 + static_cast<unsigned>(text[at] - '0');
        if (number >= kNoAnswerCode)
            return kNoAnswerCode;
    }
    return static_cast<std::uint32_t>(number);
}

}  // namespace

DistributionAnswer ParseDistributionAnswer(std::string_view answer) noexcept {
    const std::size_t blank = answer.find(' ');
    if (blank == std::string_view::npos)
        return {answer, kNoAnswerCode, false};
    return {answer.substr(0, blank), LeadingNumber(answer.substr(blank + 1)), true};
}

DescriptorPath SplitDescriptorPath(std::string_view path, LeadByteTest isLead) noexcept {
    constexpr std::size_t kDriveLength = 2;
    const std::size_t separator = LastSeparator(path, isLead);
    if (separator != std::string_view::npos)
        return {path.substr(0, separator), path.substr(separator + 1)};
    const std::size_t drive = path.size() >= kDriveLength && path[1] == ':' ? kDriveLength : 0;
    return {path.substr(0, drive), path.substr(drive)};
}

}  // namespace kiv
