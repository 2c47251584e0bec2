#ifndef KIV_NETWORK_COMPUTER_H
#define KIV_NETWORK_COMPUTER_H

#include <string>
#include <string_view>

namespace kiv {

// The name of a computer as the library keeps it: without backslashes in front, "" for this computer, however it was
// named (null, "", "." and the own name).
std::string ComputerName(const char* name);

// As the system's functions take it: "\\name"; "" for this computer.
std::string ServerName(std::string_view computer);

}  // namespace kiv

#endif
