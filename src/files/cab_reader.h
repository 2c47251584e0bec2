#ifndef KIV_FILES_CAB_READER_H
#define KIV_FILES_CAB_READER_H

#include "support/scoped_resource.h"

#include <string>

#include "files/cab_api.h"
#include "files/cab_error.h"
#include "files/cab_progress.h"

namespace kiv {

// The decompression side. Operations return false with Error() set.
class CabReader {
public:
    CabReader() noexcept = default;
    CabReader(const CabReader&) = delete;
    CabReader& operator=(const CabReader&) = delete;
    ~CabReader() { Destroy(); }

    bool Create() noexcept;

    // Opens a cabinet for Identify.
    bool OpenCabinet(const char* path) noexcept;

    // Judges the header of the cabinet that is open, and closes it.
    bool Identify(FDICABINETINFO& facts) noexcept;

    // Passes over the files of a cabinet. `folder` ends in a backslash or is empty.
    bool Copy(const std::string& folder, const char* name, const tagExtractHandlerInfo& info,
              const CabProgress& progress) noexcept;

    // Gives the codec's context back.
    bool Destroy() noexcept;

    // The error for a path that the codec has no room for.
    static ERF PathError() noexcept {
        return {static_cast<int>(ReadingError::kNotFound), ERROR_FILENAME_EXCED_RANGE, TRUE};
    }

    const ERF& Error() const noexcept { return m_error; }
    void* Context() const noexcept { return m_context; }

private:
    bool Fail(ReadingError error) noexcept;

    HFDI m_context = nullptr;
    ERF m_error{};
    ScopedFile m_cabinet;
};

}  // namespace kiv

#endif
