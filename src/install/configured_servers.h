#ifndef KIV_INSTALL_CONFIGURED_SERVERS_H
#define KIV_INSTALL_CONFIGURED_SERVERS_H

#include <string>

namespace kiv {

struct ServerListText {
    std::string text;
    bool isFallback;  // neither configuration file nor registry has a list
};

// The list in force, read anew each time, with a line in the log that says where it came from.
ServerListText ReadServerList();

}  // namespace kiv

#endif
