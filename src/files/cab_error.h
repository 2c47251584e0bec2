#ifndef KIV_FILES_CAB_ERROR_H
#define KIV_FILES_CAB_ERROR_H

namespace kiv {

// The error numbers of the codec that the library gives itself, where the codec was not asked or does not tell.

enum class ReadingError : int {
    kNone = 0,
    kNotFound = 1,
    kNotACabinet = 2,
    kUnknownVersion = 3,
    kCorrupt = 4,
    kUnknownCompression = 6,
    kTargetFile = 8,
    kAborted = 11,
};

enum class WritingError : int {
    kNone = 0,
    kOpenSource = 1,
    kReadSource = 2,
    kCabinetFile = 6,
};

// The text of any error number of one side. The same numbers mean different things on the two.
const char* CabErrorText(int code, bool writing) noexcept;

}  // namespace kiv

#endif
