#ifndef KIV_FILES_CAB_API_H
#define KIV_FILES_CAB_API_H

#include "support/dynamic_function.h"

// Both need the Windows types.
#include <fci.h>
#include <fdi.h>

namespace kiv {

// The system's cabinet codec. The first release of Windows 95 has none; all calls to it go through this table.
struct CabinetApi {
    decltype(&::FCICreate) fciCreate;
    decltype(&::FCIAddFile) fciAddFile;
    decltype(&::FCIFlushCabinet) fciFlushCabinet;
    decltype(&::FCIDestroy) fciDestroy;
    decltype(&::FDICreate) fdiCreate;
    decltype(&::FDIIsCabinet) fdiIsCabinet;
    decltype(&::FDICopy) fdiCopy;
    decltype(&::FDIDestroy) fdiDestroy;

    void Load() noexcept {
        const HMODULE module = LoadSystemModule("cabinet.dll");
        FindFunction(module, "FCICreate", fciCreate);
        FindFunction(module, "FCIAddFile", fciAddFile);
        FindFunction(module, "FCIFlushCabinet", fciFlushCabinet);
        FindFunction(module, "FCIDestroy", fciDestroy);
        FindFunction(module, "FDICreate", fdiCreate);
        FindFunction(module, "FDIIsCabinet", fdiIsCabinet);
        FindFunction(module, "FDICopy", fdiCopy);
        FindFunction(module, "FDIDestroy", fdiDestroy);
    }
    bool CanWrite() const noexcept {
        return fciCreate != nullptr && fciAddFile != nullptr && fciFlushCabinet != nullptr && fciDestroy != nullptr;
    }
    bool CanRead() const noexcept {
        return fdiCreate != nullptr && fdiIsCabinet != nullptr && fdiCopy != nullptr && fdiDestroy != nullptr;
    }
};

inline const CabinetApi& Cabinets() noexcept {
    return DynamicApi<CabinetApi>::Get();
}

}  // namespace kiv

#endif
