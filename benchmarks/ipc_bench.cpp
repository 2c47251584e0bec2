// Round trips of notifications between two processes, beside two bare events and a mapping.

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

// What the peer shares: a request, a text, a number in return.
struct Bare {
    Bare() {
        mapping = ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 1160, "ipc_bench_block");
        view = static_cast<char*>(::MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 1160));
        request = ::CreateEventA(nullptr, FALSE, FALSE, "ipc_bench_request");
        answer = ::CreateEventA(nullptr, FALSE, FALSE, "ipc_bench_answer");
        Require(view != nullptr && request != nullptr && answer != nullptr);
    }

    HANDLE mapping;
    HANDLE request;
    HANDLE answer;
    char* view;
};

int g_answered = 0;

int Answer(const char*, const char* payload, long* response) {
    *response = static_cast<long>(std::strlen(payload));
    return ++g_answered % kRoundTrips != 0 ? 1 : 0;
}

// The other process: answers both kinds, in the order in which they are measured.
int Listen() {
    Bare bare;
    CKivNotificationSink sink;
    for (int round = 0; round < kRounds; ++round) {
        Require(sink.Receive(Answer, 60000) == 0);
        for (int i = 0; i < kRoundTrips; ++i) {
            ::WaitForSingleObject(bare.request, INFINITE);
            const long response = static_cast<long>(std::strlen(bare.view));
            std::memcpy(bare.view + 1152, &response, sizeof response);
            ::SetEvent(bare.answer);
        }
    }
    return 0;
}

void SendOurs(CKivNotificationSource& source) {
    for (int i = 0; i < kRoundTrips; ++i)
        Require(source.Send("Bench", kPayload, 60000) == static_cast<long>(std::strlen(kPayload)));
}

void SendBare(const Bare& bare) {
    for (int i = 0; i < kRoundTrips; ++i) {
        std::strcpy(bare.view, kPayload);
        ::SetEvent(bare.request);
        ::WaitForSingleObject(bare.answer, INFINITE);
        long response = 0;
        std::memcpy(&response, bare.view + 1152, sizeof response);
        Require(response == static_cast<long>(std::strlen(kPayload)));
    }
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
    Bare bare;
    CKivNotificationSource source;
    kiv::bench::Compare(
        "IPC, 10,000 round trips, two bare events and a mapping", 1.3, kRounds, [&] { SendOurs(source); },
        [&] { SendBare(bare); });
    return ::WaitForSingleObject(child.hProcess, 10000) == WAIT_OBJECT_0 ? 0 : 1;
}
