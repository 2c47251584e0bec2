#ifndef KIV_FILES_CAB_WRITER_H
#define KIV_FILES_CAB_WRITER_H

#include "support/scoped_resource.h"

#include <string>
#include <vector>

#include "files/cab_api.h"
#include "files/cab_error.h"
#include "files/cab_progress.h"

namespace kiv {

// A new cabinet. Operations return false with Error() set. The codec packs into temporary files and makes the cabinet
// at the end, or when it is full.
class CabWriter {
public:
    CabWriter() noexcept = default;
    CabWriter(const CabWriter&) = delete;
    CabWriter& operator=(const CabWriter&) = delete;
    ~CabWriter() { Destroy(); }

    // `folder` ends in a backslash or is empty.
    bool Create(const std::string& folder, const char* name) noexcept;

    // A file that cannot be read to its end leaves a half one among the packed data: no cabinet comes of it any more.
    bool Add(const char* file, const std::string& name, const CabProgress& progress) noexcept;

    bool Flush(const CabProgress& progress) noexcept;

    // Gives the codec's context back, and deletes the temporary files, and the cabinets unless the last flush
    // succeeded.
    bool Destroy() noexcept;

    // The error for a path that the codec has no room for.
    static ERF PathError() noexcept {
        return {static_cast<int>(WritingError::kCabinetFile), ERROR_FILENAME_EXCED_RANGE, TRUE};
    }

    const ERF& Error() const noexcept { return m_error; }
    void* Context() const noexcept { return m_context; }

private:
    struct Codec;

    bool Fail(WritingError error) noexcept;
    bool OpenSource(const char* file) noexcept;

    HFCI m_context = nullptr;
    ERF m_error{};
    CCAB m_cabinet{};  // the codec keeps its address
    CabProgress m_progress{};

    ScopedFile m_source;     // the file that is being added
    bool m_isTaken = false;  // the codec has asked for it
    USHORT m_date = 0;
    USHORT m_time = 0;
    USHORT m_attributes = 0;

    unsigned m_files = 0;
    bool m_isFinished = false;
    bool m_isSpoilt = false;
    ERF m_spoiltBy{};  // what left a half file behind
    std::vector<std::string> m_cabinets;
    std::vector<std::string> m_temporaryFiles;
};

}  // namespace kiv

#endif
