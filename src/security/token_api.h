#ifndef KIV_SECURITY_TOKEN_API_H
#define KIV_SECURITY_TOKEN_API_H

#include "support/windows_api.h"

namespace kiv {

// Windows 95 has the other calls for tokens, all of which fail there.
struct TokenApi {
    decltype(&::DuplicateTokenEx) duplicate;
    void Load() noexcept;
};

}  // namespace kiv

#endif
