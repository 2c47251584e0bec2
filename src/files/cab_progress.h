#ifndef KIV_FILES_CAB_PROGRESS_H
#define KIV_FILES_CAB_PROGRESS_H

#include "tavkivut/cabinet.h"

namespace kiv {

// Whom to tell how far an operation is.
struct CabProgress {
    ArchiveProgressCallback callback;
    void* context;

    // False when the operation shall end.
    bool Tell(unsigned long bytes, unsigned long packedBytes) const noexcept {
        return callback == nullptr || callback(bytes, packedBytes, context) == 1;
    }
};

}  // namespace kiv

#endif
