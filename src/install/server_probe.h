#ifndef KIV_INSTALL_SERVER_PROBE_H
#define KIV_INSTALL_SERVER_PROBE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "install/icmp.h"
#include "install/server_choice.h"

namespace kiv {

constexpr std::size_t kHostNameSize = 16;  // a NetBIOS computer name and its terminator

// How long the selecting thread waits for its probes, in milliseconds. Tests shorten it.
extern DWORD g_probeWaitLimit;

// The measurement of one server. The selecting thread and the probe thread share it: each holds a reference, and
// whoever drops the last one frees it, so that a probe that outlives the wait still has its record.
struct ProbeRecord {
    HANDLE thread;
    DWORD threadId;
    int waitIndex;  // position among the handles that are waited on; -1 without a thread
    int serverIndex;
    IcmpApi icmp;
    char host[kHostNameSize];
    std::uint32_t average;  // milliseconds, kNoAverage until a complete answer came
    std::uint32_t references;
    HMODULE module;  // holds the library for as long as the thread runs
};

// A record with one reference, that of its maker; null when memory is exhausted.
ProbeRecord* MakeProbeRecord(int serverIndex, const IcmpApi& icmp, const std::string& host) noexcept;
void AddReference(ProbeRecord* record) noexcept;
void DropReference(ProbeRecord* record) noexcept;

// Measures the record's server: `quality` echoes one after the other. Sets the average when all were answered.
void MeasureServer(ProbeRecord& record, unsigned quality) noexcept;

// The probes of one choice: a record for every server, and a thread for each of the first 64 that have a host.
class ProbeSet {
public:
    // Makes the records and the threads, which do not run yet.
    ProbeSet(const std::vector<std::string>& servers, const IcmpApi& icmp);
    // Closes the threads' handles and drops the selecting thread's references. Probes that still run go on alone.
    ~ProbeSet();
    ProbeSet(const ProbeSet&) = delete;
    ProbeSet& operator=(const ProbeSet&) = delete;

    // Lets all threads run and waits for all or any of them; the result is that of WaitForMultipleObjects.
    DWORD Run(bool waitForAll) noexcept;

    // The number of threads: what the wait's result can name.
    std::size_t ThreadCount() const noexcept { return m_threads.size(); }

    // The measured time of a server, by its position in the list.
    std::uint32_t Average(std::size_t server) const noexcept;

    // The record whose thread stands at that position among the handles.
    const ProbeRecord* FindByWaitIndex(std::size_t waitIndex) const noexcept;

    // Closes the handle of that thread and takes it out; the later ones move up.
    void Forget(std::size_t waitIndex) noexcept;

private:
    void StartThread(ProbeRecord& record);

    std::vector<ProbeRecord*> m_records;  // by server; null where memory was exhausted
    std::vector<HANDLE> m_threads;        // by wait index
};

}  // namespace kiv

#endif
