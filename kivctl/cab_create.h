#ifndef KIVCTL_CAB_CREATE_H
#define KIVCTL_CAB_CREATE_H

#include <cstdint>
#include <string>
#include <vector>

#include "tavkivut/cabinet.h"

namespace kivctl {

struct CabinetContent {
    std::size_t files = 0;
    std::uint64_t bytes = 0;
};

// Makes a cabinet of files, under their names alone, and of folders, with the paths of what is below them. Throws
// Failure; until all of it is made nothing appears under the cabinet's name, and what stood there stays.
CabinetContent CreateCabinet(const std::string& cabinet, const std::vector<std::string>& sources);

// Why the last operation of an archive failed, as "Corrupt cabinet (4)".
enum class CabinetSide { kReading, kWriting };
std::string CabinetError(const CKivCabArchive& archive, CabinetSide side);

}  // namespace kivctl

#endif
