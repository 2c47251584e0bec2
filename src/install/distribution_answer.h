#ifndef KIV_INSTALL_DISTRIBUTION_ANSWER_H
#define KIV_INSTALL_DISTRIBUTION_ANSWER_H

#include <cstdint>
#include <string_view>

#include "files/path_text.h"

namespace kiv {

// Rules of the distribution service's answers, and of the path of a job descriptor.

// The code of an answer that has none: no digits where it should stand, or more than 32 bits. It is no code of the
// protocol, so what cannot be read is never taken for one.
constexpr std::uint32_t kNoAnswerCode = 0xFFFFFFFF;

// An answer is cut at its first blank.
//
//     @KIV_JOB_STATUS 170      keyword @KIV_JOB_STATUS   code 170
//     @KIV_JOB_STATUS 5 left   keyword @KIV_JOB_STATUS   code 5
//     @KIV_JOB_STATUS  5       keyword @KIV_JOB_STATUS   no code: a blank is no digit
//     @KIV_JOB_STATUS          keyword @KIV_JOB_STATUS   no code, not separated
struct DistributionAnswer {
    std::string_view keyword;  // into the answer
    std::uint32_t code;
    bool isSeparated;  // there is a blank
};
DistributionAnswer ParseDistributionAnswer(std::string_view answer) noexcept;

// The directory of a job descriptor, without the separator at its end, and the file's name.
//
//     C:\jobs\a.jdf   C:\jobs, a.jdf      C:a.jdf   C:, a.jdf
//     C:\a.jdf        C:, a.jdf           a.jdf     (empty), a.jdf
struct DescriptorPath {
    std::string_view directory;
    std::string_view file;
};
DescriptorPath SplitDescriptorPath(std::string_view path, LeadByteTest isLead) noexcept;

}  // namespace kiv

#endif
