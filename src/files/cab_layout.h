#ifndef KIV_FILES_CAB_LAYOUT_H
#define KIV_FILES_CAB_LAYOUT_H

#include <cstddef>
#include <cstdint>

#include "files/cab_error.h"

namespace kiv {

// The header of a cabinet and the tables of its folders and files, as far as a decoder follows them without looking.
// Numbers are little-endian:
//
//     header    0 "MSCF"   8 size of the cabinet   16 where the files begin   24 version (3, 1)   26 folders   28 files
//              30 flags   32 set identifier   34 number in the set
//              36 with flag 4: reserved bytes of the header (2 bytes), of each folder (1), of each block (1), the
//              header's then, with flag 1 and flag 2: name and disk of the previous and of the next cabinet, each with
//              its NUL
//     folders   0 where the data begin   4 blocks of data   6 compression   then the reserved bytes
//     files     0 size   4 offset in its folder's data   8 folder   10 date   12 time   14 attributes
//              16 name and its NUL
//     data      0 checksum   4 packed bytes   6 unpacked bytes, at most 32768
//              then the reserved bytes and the packed ones

// The set identifier of every cabinet that is made here.
constexpr std::uint16_t kOwnSetId = 0x3634;

// The attributes that a cabinet keeps of a file: read-only, hidden, system, archive.
constexpr std::uint16_t kCabinetAttributes = 0x01 | 0x02 | 0x04 | 0x20;

// The bytes of a cabinet, wherever they are.
class CabinetBytes {
public:
    virtual std::uint64_t Size() const noexcept = 0;
    // False, with an undefined buffer, unless all of it could be read.
    virtual bool Read(std::uint64_t offset, void* buffer, std::size_t size) noexcept = 0;

protected:
    ~CabinetBytes() = default;
};

struct CabinetHeader {
    std::uint32_t size = 0;
    std::uint32_t filesAt = 0;
    std::uint16_t folders = 0;
    std::uint16_t files = 0;
    std::uint16_t flags = 0;
};

// ReadingError::kNotACabinet for what has no whole header or does not begin as one, kUnknownVersion for another version
// than 1.3, else kNone.
ReadingError ReadCabinetHeader(CabinetBytes& bytes, CabinetHeader& header) noexcept;

// Whether everything that header and tables point to lies inside the cabinet, in the order header, folders, files,
// data, and every file inside the data of its folder. kCorrupt where it does not; what ReadCabinetHeader finds comes
// first. The data are not looked at.
ReadingError CheckCabinet(CabinetBytes& bytes) noexcept;

}  // namespace kiv

#endif
