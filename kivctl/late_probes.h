#ifndef KIVCTL_LATE_PROBES_H
#define KIVCTL_LATE_PROBES_H

namespace kivctl {

// What an action that chooses a server ends with: waits until the process has one thread only, for a few seconds at
// most, once everything is printed. A choice can leave probes behind that still wait for an answer; a process that ends
// with several of them under way can block the echoes of all others under Wine. Does not wait where the system does not
// tell its threads.
class LateProbes {
public:
    LateProbes() = default;
    ~LateProbes();
    LateProbes(const LateProbes&) = delete;
    LateProbes& operator=(const LateProbes&) = delete;
};

}  // namespace kivctl

#endif
