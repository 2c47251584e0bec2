#ifndef KIV_FILES_UNIVERSAL_NAME_API_H
#define KIV_FILES_UNIVERSAL_NAME_API_H

#include "support/dynamic_function.h"

#include <winnetwk.h>

namespace kiv {

// The network provider router. A machine without a network client may lack it.
struct UniversalNameApi {
    decltype(&::WNetGetUniversalNameA) getUniversalName;
    decltype(&::WNetGetConnectionA) getConnection;

    void Load() noexcept {
        const HMODULE module = LoadSystemModule("mpr.dll");
        FindFunction(module, "WNetGetUniversalNameA", getUniversalName);
        FindFunction(module, "WNetGetConnectionA", getConnection);
    }
};

}  // namespace kiv

#endif
