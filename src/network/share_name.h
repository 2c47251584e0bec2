#ifndef KIV_NETWORK_SHARE_NAME_H
#define KIV_NETWORK_SHARE_NAME_H

#include <cstdint>
#include <string>
#include <string_view>

namespace kiv {

// The names of the shares that the library makes: "TAV", eight hexadecimal digits and "$", which hides them. That is
// the length which every system takes.
std::string OwnShareName(std::uint32_t number);

// Whether OwnShareName makes such a name, in any case of letters.
bool IsOwnShareName(std::string_view name) noexcept;

}  // namespace kiv

#endif
