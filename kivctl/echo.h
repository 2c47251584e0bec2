#ifndef KIVCTL_ECHO_H
#define KIVCTL_ECHO_H

#include <optional>
#include <string>

namespace kivctl {

struct EchoLimits {
    int count = 4;
    int timeout = 1000;  // milliseconds for each
};

struct EchoResult {
    bool resolved = false;
    unsigned sent = 0;
    unsigned answered = 0;
    unsigned total = 0;  // milliseconds of all answers

    unsigned Average() const { return answered == 0 ? 0 : total / answered; }
};

// Measures the host of a server's path, one echo after the other; a host that leaves the first two unanswered gets no
// more. None where the system cannot send echoes.
std::optional<EchoResult> SendEchoes(const std::string& server, const EchoLimits& limits);

}  // namespace kivctl

#endif
