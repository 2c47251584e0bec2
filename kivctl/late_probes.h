#ifndef KIVCTL_LATE_PROBES_H
#define KIVCTL_LATE_PROBES_H

namespace kivctl {

// Waits until the process has one thread only, for a few seconds at most. A choice of a server can leave probes behind
// that still wait for an answer; a process that ends with several of them under way can block the echoes of all others
// under Wine. Returns at once where the system does not tell its threads.
void WaitForLateProbes();

}  // namespace kivctl

#endif
