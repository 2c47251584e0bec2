#ifndef KIV_FILES_CAB_EXTRACTION_H
#define KIV_FILES_CAB_EXTRACTION_H

#include "support/scoped_resource.h"

#include <string>

#include "files/cab_api.h"
#include "files/cab_error.h"
#include "files/cab_progress.h"

namespace kiv {

class CabExtraction;

// What a file handle of the decompression side stands for: a cabinet that is read (cab_reader.cpp), or the file that is
// extracted.
struct CabStream {
    ScopedFile file;
    CabExtraction* extraction = nullptr;  // null for a cabinet
};

// One pass over the files of a cabinet, as the codec reports them.
class CabExtraction {
public:
    CabExtraction(const tagExtractHandlerInfo& info, const CabProgress& progress);
    CabExtraction(const CabExtraction&) = delete;
    CabExtraction& operator=(const CabExtraction&) = delete;
    ~CabExtraction() { DropTarget(); }

    // The codec's notification; `pv` is the extraction.
    static INT_PTR DIAMONDAPI Notify(FDINOTIFICATIONTYPE type, PFDINOTIFICATION notification);

    // Writes data of the file that is extracted.
    unsigned Write(const void* bytes, unsigned size) noexcept;

    // Why the extraction was ended from here; kNone where it was not.
    ReadingError Failure() const noexcept { return m_failure; }

    // Whether a file was ended before all of it was written. Some codecs report a file that they give up as any other.
    bool IsIncomplete() const noexcept { return m_isIncomplete; }

private:
    INT_PTR Begin(const FDINOTIFICATION& stored);
    INT_PTR End(const FDINOTIFICATION& stored) noexcept;
    INT_PTR Continue(const FDINOTIFICATION& next);
    INT_PTR Refuse(ReadingError failure) noexcept;
    bool OpenTarget() noexcept;
    void FinishTarget(const FDINOTIFICATION& stored) noexcept;
    void DropTarget() noexcept;

    const tagExtractHandlerInfo& m_info;
    CabProgress m_progress;
    ReadingError m_failure = ReadingError::kNone;
    std::string m_folder;  // the destination with a backslash at its end
    std::string m_name;    // of the file that is extracted
    std::string m_target;  // its path
    CabStream m_stream;
    ScopedFile m_next;  // the cabinet that a file goes on in
    bool m_isOpen = false;
    unsigned long m_missing = 0;  // bytes of it
    bool m_isIncomplete = false;
};

}  // namespace kiv

#endif
