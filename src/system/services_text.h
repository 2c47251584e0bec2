#ifndef KIV_SYSTEM_SERVICES_TEXT_H
#define KIV_SYSTEM_SERVICES_TEXT_H

#include <cstddef>
#include <string_view>

#include "support/heap_buffer.h"
#include "tavkivut/net_services.h"

namespace kiv {

// The rules of the services file, and the ownership of its entries. What can fail does so because memory is exhausted.

// An entry without anything.
NETSERVICE* MakeServiceEntry() noexcept;

void FreeServiceEntry(NETSERVICE* entry) noexcept;
void FreeServiceAliases(NETSERVICE& entry) noexcept;
bool AddServiceAlias(NETSERVICE& entry, std::string_view alias) noexcept;

// Appends to the list, which owns the entry then.
bool AddServiceEntry(NETSERVICELIST& list, NETSERVICE* entry) noexcept;

// The entry of one line, up to its first NUL.
//
//     ftp 21/tcp file-transfer # File     ftp 21 tcp, one alias, comment " File"
//     x 12/ y                             x 12 "" (empty protocol), one alias
//     x 12 /tcp #c     x #c     #c        comment "c" only
NETSERVICE* ParseServiceLine(std::string_view line) noexcept;

// Appends an entry for every line of a file. A line that memory is exhausted for has none.
void ParseServices(std::string_view contents, NETSERVICELIST& list) noexcept;

NETSERVICEWIDTHS MeasureServices(const NETSERVICELIST& list) noexcept;

// How long a line can be, with room to spare.
std::size_t ServiceLineRoom(const NETSERVICEWIDTHS& widths) noexcept;

// Writes a line into that much room, without a terminator; returns its length.
std::size_t FormatService(const NETSERVICE& entry, const NETSERVICEWIDTHS& widths, char* line) noexcept;

// All lines, each ended by CR LF.
bool FormatServices(const NETSERVICELIST& list, HeapBuffer<char>& contents) noexcept;

}  // namespace kiv

#endif
