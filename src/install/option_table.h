#ifndef KIV_INSTALL_OPTION_TABLE_H
#define KIV_INSTALL_OPTION_TABLE_H

#include <string>
#include <string_view>
#include <vector>

namespace kiv {

struct CommandLineOption {
    std::string name;
    std::string value;  // never empty
};

// The options of a command line, in their order. The first token names the program and is no option. Tokens are
// separated by blanks and tabs outside double quotes; an option begins with "/" or "-" and has a separator: the first
// ":" with an even number of quotes before it in the token, else the first such "=". A value in quotes loses them. A
// token without separator, or with an empty value or a lone quote as value, is no option.
//
//     /product:Office        product = Office           /verbose           (none)
//     -product="My Office"   product = My Office        product:Office     (none)
//     /a=b:c                 a=b = c                    /product:          (none)
//     /a":"=b                a":" = b                   /product:""        (none)
std::vector<CommandLineOption> ParseOptions(std::string_view commandLine);

// The value of the first option of that name, in upper or lower case; null when it is not given.
const std::string* FindOption(const std::vector<CommandLineOption>& options, std::string_view name) noexcept;

}  // namespace kiv

#endif
