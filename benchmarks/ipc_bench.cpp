// Round trips of notifications between two processes, beside two bare events and a mapping, and beside the same with a
// lock around what is read and written, which the protocol wants.

#include "bench.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "tavkivut/ipc.h"

namespace {

constexpr int kRoundTrips = 10000;
constexpr int kRounds = 5;
constexpr const char* kPayload = "C:\\Programs\\Editor\\editor.exe";

void Require(bool condition) {
    if (!condition)
        std::abort();
}

// What the peers share: a request, a text, a number in return.
class Peer {
public:
    Peer() { Require(m_view != nullptr && m_request != nullptr && m_answer != nullptr && m_lock != nullptr); }

    void Send(bool locked) {
        Guard(locked, [this] { std::strcpy(m_view, kPayload); });
        ::SetEvent(m_request);
        ::WaitForSingleObject(m_answer, INFINITE);
        long response = 0;
        Guard(locked, [this, &response] { std::memcpy(&response, m_view + 1152, sizeof response); });
        Require(response == static_cast<long>(std::strlen(kPayload)));
    }

    void Answer(bool locked) {
        ::WaitForSingleObject(m_request, INFINITE);
        Guard(locked, [this] {
            const long response = static_cast<long>(std::strlen(m_view));
            std::memcpy(m_view + 1152, &response, sizeof response);
        });
        ::SetEvent(m_answer);
    }

private:
    template <class Work>
    void Guard(bool locked, const Work& work) {
        if (locked)
            ::WaitForSingleObject(m_lock, INFINITE);
        work();
        if (locked)
            ::ReleaseMutex(m_lock);
    }

    HANDLE m_mapping = ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 1160, "ipc_bench_block");
    char* m_view = static_cast<char*>(::MapViewOfFile(m_mapping, FILE_MAP_WRITE, 0, 0, 1160));
    HANDLE m_request = ::CreateEventA(nullptr, FALSE, FALSE, "ipc_bench_request");
    HANDLE m_answer = ::CreateEventA(nullptr, FALSE, FALSE, "ipc_bench_answer");
    HANDLE m_lock = ::CreateMutexA(nullptr, FALSE, "ipc_bench_lock");
};

int g_answered = 0;

int Answer(const char*, const char* payload, long* response) {
    *response = static_cast<long>(std::strlen(payload));
    return ++g_answered % kRoundTrips != 0 ? 1 : 0;
}

// The other process: answers in the order in which things are measured.
int Listen() {
    Peer peer;
    CKivNotificationSink sink;
    for (const bool locked : {false, true}) {
        for (int round = 0; round < kRounds; ++round) {
            Require(sink.Receive(Answer, 60000) == 0);
            for (int i = 0; i < kRoundTrips; ++i)
                peer.Answer(locked);
        }
    }
    return 0;
}

void SendOurs(CKivNotificationSource& source) {
    for (int i = 0; i < kRoundTrips; ++i)
        Require(source.Send("Bench", kPayload, 60000) == static_cast<long>(std::strlen(kPayload)));
}

void SendTheirs(Peer& peer, bool locked) {
    for (int i = 0; i < kRoundTrips; ++i)
        peer.Send(locked);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1)
        return Listen();
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child{};
    std::string command = "\"" + std::string(argv[0]) + "\" listen";
    Require(::CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &child));
    Peer peer;
    CKivNotificationSource source;
    kiv::bench::Compare(
        "IPC, 10,000 round trips, two bare events and a mapping", 1.3, kRounds, [&] { SendOurs(source); },
        [&] { SendTheirs(peer, false); });
    kiv::bench::Compare(
        "IPC, 10,000 round trips, the same with a lock", 0, kRounds, [&] { SendOurs(source); },
        [&] { SendTheirs(peer, true); });
    return ::WaitForSingleObject(child.hProcess, 10000) == WAIT_OBJECT_0 ? 0 : 1;
}
