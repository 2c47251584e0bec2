#ifndef KIV_SUPPORT_WIN32_ERROR_H
#define KIV_SUPPORT_WIN32_ERROR_H

#include "support/windows_api.h"

namespace kiv {

// Whether a file or key is missing, itself or what it stands in; which of the two is told differs among the systems.
constexpr bool IsNotFound(DWORD error) noexcept {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

}  // namespace kiv

#endif
