// What notifications between processes do not show (tests/data/transcripts/ipc.txt has those).

#include "support/windows_api.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/recording_log.h"
#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "support/sddl_text.h"
#include "support/this_release.h"
#include "system/ipc_block.h"
#include "tavkivut/ipc.h"

struct CKivLocalIpcLayout {
    static constexpr std::size_t kPointer = sizeof(void*);
    static_assert(offsetof(CKivLocalIpc, m_listener) == 128);
    static_assert(offsetof(CKivLocalIpc, m_security) == 128 + 2 * kPointer);
    static_assert(offsetof(CKivLocalIpc, m_lock) == 128 + 5 * kPointer);
    static_assert(offsetof(CKivLocalIpc, m_response) == 128 + 8 * kPointer);
    static_assert(offsetof(CKivLocalIpc, m_block) == 128 + 11 * kPointer);

    static kiv::IpcBlock& Block(CKivLocalIpc& ipc) { return *ipc.m_block; }
    static void* Notification(CKivLocalIpc& ipc) { return ipc.m_notification; }
};

namespace {

using kiv::ScopedKernelObject;
using kiv::test::RecordingLog;
using Lines = std::vector<std::string>;

constexpr long kFail = static_cast<long>(0x80004005);
std::string g_received;

// Gives a number back; without one the listening ends.
int Answer(const char* name, const char* payload, long* response) {
    g_received = std::string(name) + ":" + payload;
    *response = std::atoi(payload);
    return *payload == '\0' ? 0 : 1;
}

DWORD WINAPI Listen(void*) {
    return static_cast<DWORD>(CKivNotificationSink().Receive(Answer, INFINITE));
}

// Ends its thread, which holds the lock. The source gets its signal from here, since nobody answers it any more.
int Die(const char* name, const char* payload, long*) {
    g_received = std::string(name) + ":" + payload;
    const ScopedKernelObject response(::OpenEventA(EVENT_MODIFY_STATE, FALSE, kiv::kIpcResponseName));
    ::SetEvent(response.Get());
    ::ExitThread(0);
}

DWORD WINAPI ListenAndDie(void*) {
    return static_cast<DWORD>(CKivNotificationSink().Receive(Die, INFINITE));
}

}  // namespace

TEST_CASE("objects that cannot be made end both sides without a line") {
    const ScopedKernelObject taken(::CreateEventA(nullptr, FALSE, FALSE, kiv::kIpcBlockName));
    const RecordingLog log;
    CHECK(CKivNotificationSource().Send("Install", "", 0) == kFail);
    CHECK(CKivNotificationSink().Receive(Answer, 0) == kFail);
    CHECK(log.Lines().empty());
}

TEST_CASE("everyone may open the objects, and an assigned source has the same") {
    CKivNotificationSource source;
    REQUIRE(source.CommonConstruct() != 0);
    const ScopedKernelObject event(::OpenEventA(READ_CONTROL, FALSE, kiv::kIpcNotificationName));
    char descriptor[1024];
    DWORD size = 0;
    REQUIRE(::GetKernelObjectSecurity(event.Get(), DACL_SECURITY_INFORMATION, descriptor, sizeof descriptor, &size));
    CHECK(kiv::test::HasNullDacl(descriptor) != kiv::test::ThisReleaseIs9x());
    auto* const copy = new CKivNotificationSource;  // never destroyed: its handles are the other's
    *copy = source;
    CHECK(std::memcmp(copy, &source, sizeof source) == 0);
}

TEST_CASE("a block that a foreign program filled without terminators") {
    CKivNotificationSource source;
    REQUIRE(source.CommonConstruct() != 0);
    kiv::IpcBlock& block = CKivLocalIpcLayout::Block(source);
    const auto notify = [&source, &block] {
        std::memset(static_cast<void*>(&block), '7', sizeof block);
        ::SetEvent(CKivLocalIpcLayout::Notification(source));
    };
    const std::string name(127, '7');
    const RecordingLog log;
    notify();
    CHECK(CKivNotificationSink((name + "cut").c_str()).Receive(Answer, 0) == 1);
    CHECK(g_received == name + ":" + std::string(1023, '7'));
    CHECK(block.processId == ::GetCurrentProcessId());
    const std::string waiting = "3  IPC(Listener) : waiting 0 ms for notification from source...";
    CHECK(log.Lines() == Lines{waiting,
                               "3  IPC(Listener) : received notification '" + name + "' from source (PID 926365495)",
                               "3  IPC(Listener) : sending response to source, continue listening", waiting,
                               "3  IPC(Listener) : timeout"});
    notify();
    CHECK(CKivNotificationSink("7").Receive(Answer, 0) == 1);
    CHECK(block.response == kFail);
    // Without a handler the response is what stands there.
    notify();
    CHECK(CKivNotificationSink().Receive(nullptr, 0) == 0);
    CHECK(block.response == 0x37373737);
}

TEST_CASE("ten thousand round trips with two listeners leave nothing behind") {
    const auto exchange = [](int count) {
        const RecordingLog forgotten;
        CKivNotificationSource source;
        REQUIRE(source.CommonConstruct() != 0);
        ScopedKernelObject listeners[2];
        for (ScopedKernelObject& listener : listeners)
            listener.Reset(::CreateThread(nullptr, 0, Listen, nullptr, 0, nullptr));
        int right = 0;
        for (int i = 1; i <= count; ++i)
            right += source.Send(nullptr, std::to_string(i).c_str(), INFINITE) == i ? 1 : 0;
        CHECK(right == count);
        CHECK(source.Send("Install", nullptr, INFINITE) == 0);
        CHECK(source.Send("Install", nullptr, INFINITE) == 0);
        for (const ScopedKernelObject& listener : listeners)
            CHECK(::WaitForSingleObject(listener.Get(), 30000) == WAIT_OBJECT_0);
    };
    const std::size_t threads = kiv::test::CountResources().threads;
    CHECK(kiv::test::LeavesNothing([&] {
        exchange(kiv::test::ThisRelease().empty() ? 5000 : 100);
        kiv::test::WaitForThreads(threads);
    }));
}

TEST_CASE("a lock whose owner died is taken, and long texts are cut") {
    const ScopedKernelObject listener(::CreateThread(nullptr, 0, ListenAndDie, nullptr, 0, nullptr));
    CHECK(CKivNotificationSource().Send(std::string(128, 'n').c_str(), std::string(1024, 'p').c_str(), INFINITE) == 0);
    CHECK(g_received == std::string(127, 'n') + ":" + std::string(1023, 'p'));
}
