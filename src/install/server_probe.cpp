#include "install/server_probe.h"

#include <new>

#include "install/load_balancing.h"
#include "install/server_paths.h"
#include "support/heap_text.h"
#include "tavkivut/inst_server.h"

namespace kiv {

DWORD g_probeWaitLimit = 30000;

namespace {

constexpr DWORD kEchoTimeout = 2000;

// The protected thread entry, within reach.
struct Probe : CKivInstServer {
    using CKivInstServer::IcmpThreadProc;
};

// One more reference of the module that holds this code, so that a late probe never runs in an unloaded library.
HMODULE HoldThisModule() noexcept {
    static const char anchor = 0;
    MEMORY_BASIC_INFORMATION memory;
    char path[MAX_PATH];
    if (::VirtualQuery(&anchor, &memory, sizeof memory) == 0)
        return nullptr;
    const DWORD length = ::GetModuleFileNameA(static_cast<HMODULE>(memory.AllocationBase), path, sizeof path);
    return length == 0 || length >= sizeof path ? nullptr : ::LoadLibraryA(path);
}

DWORD WINAPI ProbeThread(void* record) {
    const HMODULE module = static_cast<const ProbeRecord*>(record)->module;
    const DWORD result = Probe::IcmpThreadProc(record);
    if (module != nullptr)
        ::FreeLibraryAndExitThread(module, result);
    return result;
}

// The host to be asked; empty when the path names none that an echo can be sent to.
std::string ProbeHost(const std::string& server) {
    std::string host = HostOfPath(server);
    if (host.size() >= kHostNameSize)
        host.clear();
    return host;
}

}  // namespace

ProbeRecord* MakeProbeRecord(int serverIndex, const IcmpApi& icmp, const std::string& host) noexcept {
    ProbeRecord* const record = new (std::nothrow) ProbeRecord{};
    if (record == nullptr)
        return nullptr;
    record->waitIndex = -1;
    record->serverIndex = serverIndex;
    record->icmp = icmp;
    CopyText(record->host, sizeof record->host, host.c_str());
    record->average = kNoAverage;
    record->references = 1;
    return record;
}

void AddReference(ProbeRecord* record) noexcept {
    __atomic_add_fetch(&record->references, 1, __ATOMIC_RELAXED);
}

void DropReference(ProbeRecord* record) noexcept {
    if (__atomic_sub_fetch(&record->references, 1, __ATOMIC_ACQ_REL) == 0)
        delete record;
}

void MeasureServer(ProbeRecord& record, unsigned quality) noexcept {
    const HANDLE file = record.icmp.create();
    if (file == INVALID_HANDLE_VALUE)
        return;
    IPAddr address = 0;
    unsigned answered = 0;
    std::uint32_t total = 0;
    if (ResolveHost(record.host, address)) {
        std::uint32_t time = kNoRoundTripTime;
        for (unsigned sent = 0; sent < quality && SendEcho(record.icmp, file, address, kEchoTimeout, time); ++sent) {
            if (time == kNoRoundTripTime)
                continue;
            ++answered;
            total += time;
        }
    }
    if (answered == quality)
        __atomic_store_n(&record.average, total / quality, __ATOMIC_RELEASE);
    record.icmp.close(file);
}

ProbeSet::ProbeSet(const std::vector<std::string>& servers, const IcmpApi& icmp) {
    m_records.reserve(servers.size());
    m_threads.reserve(MAXIMUM_WAIT_OBJECTS);
    for (const std::string& server : servers) {
        const std::string host = m_threads.size() < MAXIMUM_WAIT_OBJECTS ? ProbeHost(server) : std::string();
        ProbeRecord* const record = MakeProbeRecord(static_cast<int>(m_records.size()), icmp, host);
        m_records.push_back(record);
        if (record != nullptr && !host.empty())
            StartThread(*record);
    }
}

ProbeSet::~ProbeSet() {
    for (const HANDLE thread : m_threads)
        ::CloseHandle(thread);
    for (ProbeRecord* const record : m_records) {
        if (record != nullptr)
            DropReference(record);
    }
}

// The thread's reference is taken before the thread can run.
void ProbeSet::StartThread(ProbeRecord& record) {
    record.module = HoldThisModule();
    record.thread = ::CreateThread(nullptr, 0, ProbeThread, &record, CREATE_SUSPENDED, &record.threadId);
    if (record.thread == nullptr) {
        if (record.module != nullptr)
            ::FreeLibrary(record.module);
        return;
    }
    AddReference(&record);
    record.waitIndex = static_cast<int>(m_threads.size());
    m_threads.push_back(record.thread);
}

DWORD ProbeSet::Run(bool waitForAll) noexcept {
    for (const HANDLE thread : m_threads)
        ::ResumeThread(thread);
    return ::WaitForMultipleObjects(static_cast<DWORD>(m_threads.size()), m_threads.data(), waitForAll ? TRUE : FALSE,
                                    g_probeWaitLimit);
}

std::uint32_t ProbeSet::Average(std::size_t server) const noexcept {
    const ProbeRecord* const record = m_records[server];
    return record == nullptr ? kNoAverage : __atomic_load_n(&record->average, __ATOMIC_ACQUIRE);
}

const ProbeRecord* ProbeSet::FindByWaitIndex(std::size_t waitIndex) const noexcept {
    for (const ProbeRecord* const record : m_records) {
        if (record != nullptr && record->waitIndex == static_cast<int>(waitIndex))
            return record;
    }
    return nullptr;
}

void ProbeSet::Forget(std::size_t waitIndex) noexcept {
    ::CloseHandle(m_threads[waitIndex]);
    m_threads.erase(m_threads.begin() + static_cast<std::ptrdiff_t>(waitIndex));
    for (ProbeRecord* const record : m_records) {
        if (record == nullptr)
            continue;
        if (record->waitIndex == static_cast<int>(waitIndex))
            record->waitIndex = -1;
        else if (record->waitIndex > static_cast<int>(waitIndex))
            --record->waitIndex;
    }
}

}  // namespace kiv

unsigned long __stdcall CKivInstServer::IcmpThreadProc(void* record) noexcept {
    auto* const probe = static_cast<kiv::ProbeRecord*>(record);
    if (probe == nullptr)
        return 0;
    kiv::MeasureServer(*probe, kiv::LoadBalancingSettings().quality);
    kiv::DropReference(probe);
    return 0;
}
