#ifndef KIV_NETWORK_SVR_API_H
#define KIV_NETWORK_SVR_API_H

#include "support/dynamic_function.h"

#include <svrapi.h>

namespace kiv {

// The 9x family's functions for shares, in svrapi.dll. They have the names of the NT family's but take other arguments,
// so that no file can include the headers of both.
struct SvrApi {
    decltype(&::NetShareEnum) shareEnum;
    decltype(&::NetShareGetInfo) shareGetInfo;
    decltype(&::NetShareAdd) shareAdd;
    decltype(&::NetShareDel) shareDel;

    void Load() noexcept {
        const HMODULE module = LoadSystemModule("svrapi.dll");
        FindFunction(module, "NetShareEnum", shareEnum);
        FindFunction(module, "NetShareGetInfo", shareGetInfo);
        FindFunction(module, "NetShareAdd", shareAdd);
        FindFunction(module, "NetShareDel", shareDel);
    }
};

}  // namespace kiv

#endif
