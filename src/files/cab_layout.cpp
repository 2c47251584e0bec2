#include "files/cab_layout.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "support/little_endian.h"

namespace kiv {
namespace {

constexpr std::size_t kHeaderSize = 36;
constexpr std::size_t kReserveSizes = 4;
constexpr std::size_t kFolderSize = 8;
constexpr std::size_t kFileSize = 16;
constexpr std::size_t kBlockSize = 8;
constexpr std::size_t kLongestName = 256;  // with its NUL
constexpr std::uint32_t kBlockData = 32768;

constexpr unsigned kCompressionMask = 15;
constexpr unsigned kLastCompression = 3;  // none, MSZIP, Quantum, LZX

constexpr std::uint16_t kHasPrevious = 1;
constexpr std::uint16_t kHasNext = 2;
constexpr std::uint16_t kHasReserve = 4;

// In place of a folder's number: the file goes on in the next cabinet, or began in the one before.
constexpr std::uint16_t kFromPrevious = 0xFFFD;
constexpr std::uint16_t kToNext = 0xFFFE;
constexpr std::uint16_t kFromPreviousToNext = 0xFFFF;

// Walks the header and the tables from front to back. Once something lay outside the cabinet nothing more is read.
class TableWalk {
public:
    TableWalk(CabinetBytes& bytes, const CabinetHeader& header) noexcept : m_bytes(bytes), m_header(header) {}

    ReadingError Check() noexcept {
        const bool isSound = m_header.size >= kHeaderSize && m_header.size <= m_bytes.Size() &&
                             m_header.filesAt <= m_header.size && m_header.folders > 0 && SkipHeader() &&
                             CheckFolders() && CheckFiles();
        if (!isSound)
            return ReadingError::kCorrupt;
        return m_isPackedAsKnown ? ReadingError::kNone : ReadingError::kUnknownCompression;
    }

private:
    // What is next, as long as it lies inside the cabinet.
    bool Take(void* buffer, std::size_t size) noexcept {
        if (m_at + size > m_header.size || !m_bytes.Read(m_at, buffer, size))
            return false;
        m_at += size;
        return true;
    }

    // A text with its NUL.
    bool SkipText() noexcept {
        char text[kLongestName];
        if (m_at >= m_header.size)
            return false;
        const std::size_t size = static_cast<std::size_t>(std::min<std::uint64_t>(sizeof text, m_header.size - m_at));
        if (!m_bytes.Read(m_at, text, size))
            return false;
        const void* const end = std::memchr(text, '\0', size);
        if (end == nullptr)
            return false;
        m_at += static_cast<std::size_t>(static_cast<const char*>(end) - text) + 1;
        return true;
    }

    bool SkipHeader() noexcept {
        m_at = kHeaderSize;
        if ((m_header.flags & kHasReserve) != 0) {
            unsigned char sizes[kReserveSizes];
            if (!Take(sizes, sizeof sizes))
                return false;
            m_folderReserve = sizes[2];
            m_at += Read16(sizes);
        }
        for (const std::uint16_t flag : {kHasPrevious, kHasNext}) {
            if ((m_header.flags & flag) != 0 && !(SkipText() && SkipText()))
                return false;
        }
        return true;
    }

    bool CheckFolders() noexcept {
        m_dataAt = m_header.size;
        m_blocks.reserve(m_header.folders);
        for (unsigned i = 0; i < m_header.folders; ++i) {
            unsigned char folder[kFolderSize];
            if (!Take(folder, sizeof folder))
                return false;
            m_at += m_folderReserve;
            m_isPackedAsKnown = m_isPackedAsKnown && (folder[6] & kCompressionMask) <= kLastCompression;
            const std::uint32_t data = Read32(folder);
            const std::uint16_t blocks = Read16(folder + 4);
            m_blocks.push_back(blocks);
            if (blocks == 0)
                continue;
            if (data > m_header.size || m_header.size - data < blocks * kBlockSize)
                return false;
            m_dataAt = std::min(m_dataAt, data);
        }
        return m_at <= m_header.filesAt;
    }

    bool CheckFiles() noexcept {
        m_at = m_header.filesAt;
        for (unsigned i = 0; i < m_header.files; ++i) {
            unsigned char file[kFileSize];
            if (!Take(file, sizeof file) || !SkipText() || !CheckPlace(file))
                return false;
        }
        return m_at <= m_dataAt;
    }

    // What is continued counts as sound: the rest of its data is not here, and offsets in a folder that began in the
    // cabinet before count from there.
    bool CheckPlace(const unsigned char* file) const noexcept {
        const bool hasPrevious = (m_header.flags & kHasPrevious) != 0;
        const bool hasNext = (m_header.flags & kHasNext) != 0;
        const std::uint16_t folder = Read16(file + 8);
        switch (folder) {
        case kFromPrevious:
            return hasPrevious;
        case kToNext:
            return hasNext;
        case kFromPreviousToNext:
            return hasPrevious && hasNext;
        default:
            break;
        }
        if (folder >= m_blocks.size())
            return false;
        return (folder == 0 && hasPrevious) || static_cast<std::uint64_t>(Read32(file)) + Read32(file + 4) <=
                                                   static_cast<std::uint64_t>(m_blocks[folder]) * kBlockData;
    }

    CabinetBytes& m_bytes;
    const CabinetHeader& m_header;
    std::uint64_t m_at = 0;
    std::uint32_t m_dataAt = 0;           // where the first data begin
    std::vector<std::uint16_t> m_blocks;  // of each folder
    std::size_t m_folderReserve = 0;
    bool m_isPackedAsKnown = true;
};

}  // namespace

ReadingError ReadCabinetHeader(CabinetBytes& bytes, CabinetHeader& header) noexcept {
    unsigned char start[kHeaderSize];
    if (bytes.Size() < sizeof start || !bytes.Read(0, start, sizeof start) || std::memcmp(start, "MSCF", 4) != 0)
        return ReadingError::kNotACabinet;
    if (start[24] != 3 || start[25] != 1)
        return ReadingError::kUnknownVersion;
    header.size = Read32(start + 8);
    header.filesAt = Read32(start + 16);
    header.folders = Read16(start + 26);
    header.files = Read16(start + 28);
    header.flags = Read16(start + 30);
    return ReadingError::kNone;
}

ReadingError CheckCabinet(CabinetBytes& bytes) noexcept {
    CabinetHeader header;
    const ReadingError error = ReadCabinetHeader(bytes, header);
    if (error != ReadingError::kNone)
        return error;
    return TableWalk(bytes, header).Check();
}

}  // namespace kiv
