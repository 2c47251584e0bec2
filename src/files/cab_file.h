#ifndef KIV_FILES_CAB_FILE_H
#define KIV_FILES_CAB_FILE_H

#include "support/scoped_resource.h"

#include "files/cab_layout.h"

namespace kiv {

// Files as the codec's callbacks need them. The counts of the codec are 32-bit, and -1 means failure.

constexpr unsigned kCabIoFailed = static_cast<unsigned>(-1);

unsigned ReadCabFile(HANDLE file, void* buffer, unsigned size) noexcept;
unsigned WriteCabFile(HANDLE file, const void* bytes, unsigned size) noexcept;
long SeekCabFile(HANDLE file, long distance, int origin) noexcept;

// A file that others may read but not write meanwhile; empty with the last error when it cannot be opened.
ScopedFile OpenToRead(const char* path) noexcept;

// A cabinet on disk, read in pieces larger than the codec asks for.
class CabinetFile final : public CabinetBytes {
public:
    explicit CabinetFile(HANDLE file) noexcept;
    std::uint64_t Size() const noexcept override { return m_size; }
    bool Read(std::uint64_t offset, void* buffer, std::size_t size) noexcept override;

    // How many bytes could be read: fewer where the file ends, or kCabIoFailed.
    unsigned ReadSome(std::uint64_t offset, void* buffer, unsigned size) noexcept;

private:
    bool Load(std::uint64_t offset) noexcept;

    HANDLE m_file;
    std::uint64_t m_size;
    std::uint64_t m_loadedAt = 0;
    DWORD m_loaded = 0;  // bytes; the file's own position is behind them
    unsigned char m_bytes[32768] = {};
};

}  // namespace kiv

#endif
