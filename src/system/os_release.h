#ifndef KIV_SYSTEM_OS_RELEASE_H
#define KIV_SYSTEM_OS_RELEASE_H

#include <cstddef>
#include <cstdint>

#include "tavkivut/file.h"
#include "tavkivut/system.h"

namespace kiv {

// What the system's plain version record tells. On the 9x family the high half of the build repeats the version.
struct OsVersion {
    static constexpr std::uint32_t kPlatformNt = 2;

    std::uint32_t platform;
    std::uint32_t major;
    std::uint32_t minor;
    std::uint32_t build;
};

// Whether the system is of that family or release: status ok, false or fail. A null version is one that the system
// does not tell; most questions about the other family are answered without it.
std::int32_t CheckOsRelease(bool nt, int which, const OsVersion* version) noexcept;

// Name and numbers of the release; the name alone without a version. Cut to the buffer.
void FormatOsVersion(char* buffer, std::size_t size, bool nt, const OsVersion* version) noexcept;

// Whether the browser whose Shdocvw.dll has this version is of that release: status ok, false or fail.
std::int32_t CheckIeRelease(int which, const FILE_VERSION& version) noexcept;

// The browser's name, or its version for one without a name. Cut to the buffer.
void FormatIeVersion(char* buffer, std::size_t size, const FILE_VERSION& version) noexcept;

}  // namespace kiv

#endif
