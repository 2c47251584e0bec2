#include "support/windows_api.h"

#include <aclapi.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/document_page.h"
#include "support/recording_log.h"
#include "support/resource_count.h"
#include "support/run_program.h"
#include "support/scoped_resource.h"
#include "support/sddl_text.h"
#include "support/this_release.h"
#include "system/ipc_block.h"
#include "tavkivlg/recording.h"
#include "tavkivut/ipc.h"

struct CKivLocalIpcLayout {
    static constexpr std::size_t kPointer = sizeof(void*);
    static_assert(offsetof(CKivLocalIpc, m_name) == 0);
    static_assert(offsetof(CKivLocalIpc, m_listener) == 128);
    static_assert(offsetof(CKivLocalIpc, m_descriptor) == 128 + kPointer);
    static_assert(offsetof(CKivLocalIpc, m_security) == 128 + 2 * kPointer);
    static_assert(offsetof(CKivLocalIpc, m_lock) == 128 + 5 * kPointer);
    static_assert(offsetof(CKivLocalIpc, m_notification) == 128 + 6 * kPointer);
    static_assert(offsetof(CKivLocalIpc, m_sourceAlive) == 128 + 7 * kPointer);
    static_assert(offsetof(CKivLocalIpc, m_response) == 128 + 8 * kPointer);
    static_assert(offsetof(CKivLocalIpc, m_listenerAlive) == 128 + 9 * kPointer);
    static_assert(offsetof(CKivLocalIpc, m_mapping) == 128 + 10 * kPointer);
    static_assert(offsetof(CKivLocalIpc, m_block) == 128 + 11 * kPointer);
    static_assert(sizeof(CKivNotificationSource) == 128 + 12 * kPointer);
};

namespace {

using kiv::ScopedKernelObject;
using kiv::test::RecordingLog;
using kiv::test::StartedProgram;
using Lines = std::vector<std::string>;

constexpr long kFail = static_cast<long>(0x80004005);

std::string Child(const Lines& operations) {
    std::string command = "\"" + kiv::test::BuiltProgram("tests\\ipc_child.exe") + "\"";
    for (const std::string& operation : operations)
        command += " \"" + operation + "\"";
    return command;
}

Lines OutputOf(StartedProgram& program) {
    std::istringstream stream(program.Finish().output);
    Lines lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string Pid(unsigned long id) {
    return "(PID " + std::to_string(id) + ")";
}

// Starts a program when this process has written a line that begins so.
class StartedAtLine {
public:
    StartedAtLine(const char* line, const std::string& command)
        : m_line(line), m_command(command), m_thread(::CreateThread(nullptr, 0, Run, this, 0, nullptr)) {}
    ~StartedAtLine() { ::WaitForSingleObject(m_thread.Get(), INFINITE); }

    StartedProgram& Program() {
        ::WaitForSingleObject(m_thread.Get(), INFINITE);
        return *m_program;
    }

private:
    static DWORD WINAPI Run(void* argument) {
        auto& self = *static_cast<StartedAtLine*>(argument);
        while (!self.IsWritten())
            ::Sleep(1);
        self.m_program = std::make_unique<StartedProgram>(self.m_command);
        return 0;
    }

    bool IsWritten() const {
        KivRecordedLine line;
        for (unsigned i = 0; KivRecordingLine(i, &line) == 1; ++i) {
            if (std::string(line.text).compare(0, m_line.size(), m_line) == 0)
                return true;
        }
        return false;
    }

    std::string m_line;
    std::string m_command;
    std::unique_ptr<StartedProgram> m_program;
    ScopedKernelObject m_thread;
};

Lines g_received;

// Answers with the number that the payload is; "stop" ends the listening.
int Handle(const char* name, const char* payload, long* response) {
    g_received.push_back(std::string(name) + ":" + payload);
    *response = std::atoi(payload);
    return std::string(payload) == "stop" ? 0 : 1;
}

}  // namespace

TEST_CASE("a source that is there first waits for its listener") {
    const RecordingLog log;
    StartedAtLine listener("IPC(Source)   : waiting", Child({"listen=-|30000"}));
    CKivNotificationSource source;
    CHECK(source.Send("Install", "42", 30000) == 42);
    CHECK(source.Send(nullptr, nullptr, 0) == 0);
    CHECK(source.Send("Install", "stop", 0xFFFFFFFF) == 0);
    const std::string child = Pid(listener.Program().Id());
    const std::string own = Pid(::GetCurrentProcessId());
    CHECK(log.Lines() ==
          Lines{"3  IPC(Source)   : waiting 30000 ms for listener to become alive...",
                "3  IPC(Source)   : listener alive",
                "3  IPC(Source)   : sending notification 'Install' to listener, waiting for response...",
                "3  IPC(Source)   : received response 0x2a (42) from listener " + child,
                "3  IPC(Source)   : sending notification '<unnamed>' to listener, waiting for response...",
                "3  IPC(Source)   : received response 0x0 (0) from listener " + child,
                "3  IPC(Source)   : sending notification 'Install' to listener, waiting for response...",
                "3  IPC(Source)   : received response 0x0 (0) from listener " + child});
    const std::string waiting = "3  IPC(Listener) : waiting 30000 ms for notification from source...";
    const std::string goesOn = "3  IPC(Listener) : sending response to source, continue listening";
    CHECK(OutputOf(listener.Program()) ==
          Lines{waiting, "3  IPC(Listener) : received notification 'Install' from source " + own, goesOn, waiting,
                "3  IPC(Listener) : received notification '' from source " + own, goesOn, waiting,
                "3  IPC(Listener) : received notification 'Install' from source " + own,
                "3  IPC(Listener) : sending response to source, stop listening", "= 0 3"});
}

TEST_CASE("a listener that is there first waits for its source and refuses other names") {
    const RecordingLog log;
    g_received.clear();
    const std::string name(127, 'n');
    StartedAtLine source("IPC(Listener) : waiting",
                         Child({"send=Other|1|30000", "send=n*126|2|0", "send=n*128|p*1024|0", "send=n*127|stop|0"}));
    CKivNotificationSink sink((name + "cut").c_str());
    CHECK(sink.Receive(Handle, 0xFFFFFFFF) == 0);
    CHECK(g_received == Lines{name + ":" + std::string(1023, 'p'), name + ":stop"});
    const std::string child = Pid(source.Program().Id());
    const std::string own = Pid(::GetCurrentProcessId());
    const std::string waiting = "3  IPC(Listener) : waiting for notification from source...";
    const std::string received = "3  IPC(Listener) : received notification '" + name + "' from source " + child;
    CHECK(log.Lines() == Lines{"3  IPC(Listener) : waiting for source to become alive...",
                               "3  IPC(Listener) : source alive", waiting, waiting, waiting, received,
                               "3  IPC(Listener) : sending response to source, continue listening", waiting, received,
                               "3  IPC(Listener) : sending response to source, stop listening"});
    const auto sent = [](const std::string& text) {
        return "3  IPC(Source)   : sending notification '" + text + "' to listener, waiting for response...";
    };
    // A refusal leaves the source's own id.
    const std::string refused = "3  IPC(Source)   : received response 0x80004005 (-2147467259) from listener " + child;
    const std::string answered = "3  IPC(Source)   : received response 0x0 (0) from listener " + own;
    CHECK(OutputOf(source.Program()) == Lines{sent("Other"), refused, "= -2147467259", sent(std::string(126, 'n')),
                                              refused, "= -2147467259", sent(name + "n"), answered, "= 0", sent(name),
                                              answered, "= 0"});
}

TEST_CASE("nobody on the other side") {
    const RecordingLog log;
    CHECK(CKivNotificationSink().Receive(Handle, 0) == 1);
    CHECK(CKivNotificationSource().Send("Install", "", 0) == kFail);
    const CKivNotificationSource present;
    CKivNotificationSource source;
    CHECK(source.CommonConstruct() != 0);
    CHECK(CKivNotificationSink().Receive(Handle, 0) == 1);
    CHECK(log.Lines() ==
          Lines{"3  IPC(Listener) : waiting 0 ms for source to become alive...", "3  IPC(Listener) : timeout",
                "3  IPC(Source)   : waiting 0 ms for listener to become alive...", "3  IPC(Source)   : timeout",
                "3  IPC(Listener) : waiting 0 ms for notification from source...", "3  IPC(Listener) : timeout"});
}

TEST_CASE("objects that cannot be made end both sides without a line") {
    const ScopedKernelObject taken(::CreateEventA(nullptr, FALSE, FALSE, kiv::kIpcBlockName));
    const RecordingLog log;
    CHECK(CKivNotificationSource().Send("Install", "", 0) == kFail);
    CHECK(CKivNotificationSink().Receive(Handle, 0) == kFail);
    CHECK(log.Lines().empty());
}

TEST_CASE("everyone may open the objects") {
    CKivNotificationSource source;
    REQUIRE(source.CommonConstruct() != 0);
    const ScopedKernelObject event(::OpenEventA(READ_CONTROL, FALSE, kiv::kIpcNotificationName));
    char descriptor[1024];
    DWORD size = 0;
    REQUIRE(::GetKernelObjectSecurity(event.Get(), DACL_SECURITY_INFORMATION, descriptor, sizeof descriptor, &size));
    CHECK(kiv::test::HasNullDacl(descriptor) != kiv::test::ThisReleaseIs9x());
    // The copy has the same handles; only one of the two may be destroyed.
    auto* const copy = new CKivNotificationSource;
    *copy = source;
    CHECK(std::memcmp(copy, &source, sizeof source) == 0);
}

TEST_CASE("two listeners share what a source sends") {
    StartedProgram first(Child({"listen=-|30000"}));
    StartedProgram second(Child({"listen=-|30000"}));
    CKivNotificationSource source;
    int right = 0;
    for (int i = 0; i < 50; ++i)
        right += source.Send("count", std::to_string(i).c_str(), 30000) == i ? 1 : 0;
    CHECK(right == 50);
    CHECK(source.Send("count", "stop", 0) == 0);
    // The other one may still be on its way.
    CHECK(source.Send("count", "stop", 30000) == 0);
    const auto handled = [](StartedProgram& listener) {
        const std::string last = OutputOf(listener).back();
        REQUIRE(last.substr(0, 4) == "= 0 ");
        return std::stoi(last.substr(4));
    };
    CHECK(handled(first) + handled(second) == 52);
}

namespace {

// Answers in the place of a listener when that has died.
DWORD WINAPI AnswerForTheDead(void* process) {
    ::WaitForSingleObject(process, INFINITE);
    const ScopedKernelObject response(::OpenEventA(EVENT_MODIFY_STATE, FALSE, kiv::kIpcResponseName));
    return ::SetEvent(response.Get()) ? 0 : 1;
}

}  // namespace

TEST_CASE("a listener that dies with the lock leaves its source waiting, and the lock to take") {
    StartedProgram listener(Child({"listen=-|30000"}));
    const ScopedKernelObject process(::OpenProcess(SYNCHRONIZE, FALSE, listener.Id()));
    const ScopedKernelObject thread(::CreateThread(nullptr, 0, AnswerForTheDead, process.Get(), 0, nullptr));
    const RecordingLog log;
    CKivNotificationSource source;
    CHECK(source.Send("Install", "die", 30000) == 0);
    CHECK(listener.Finish().exitCode == 7);
    CHECK(::WaitForSingleObject(thread.Get(), 0) != WAIT_FAILED);
    CHECK(log.Lines().back() == "3  IPC(Source)   : received response 0x0 (0) from listener " + Pid(listener.Id()));
    StartedProgram next(Child({"listen=-|30000"}));
    CHECK(source.Send("Install", "5", 0) == 5);
    CHECK(source.Send("Install", "stop", 0) == 0);
    CHECK(OutputOf(next).back() == "= 0 2");
}

TEST_CASE("a block that a foreign program filled without terminators") {
    CKivNotificationSource present;
    REQUIRE(present.CommonConstruct() != 0);
    const ScopedKernelObject mapping(::OpenFileMappingA(FILE_MAP_WRITE, FALSE, kiv::kIpcBlockName));
    auto* const block =
        static_cast<kiv::IpcBlock*>(::MapViewOfFile(mapping.Get(), FILE_MAP_WRITE, 0, 0, sizeof(kiv::IpcBlock)));
    REQUIRE(block != nullptr);
    const ScopedKernelObject notification(::OpenEventA(EVENT_MODIFY_STATE, FALSE, kiv::kIpcNotificationName));
    const auto notify = [&] {
        std::memset(static_cast<void*>(block), 'x', sizeof *block);
        return ::SetEvent(notification.Get());
    };
    const auto stop = [](const char* name, const char* payload, long*) {
        g_received.push_back(std::string(name) + ":" + payload);
        return 0;
    };
    g_received.clear();
    REQUIRE(notify());
    CHECK(CKivNotificationSink(std::string(127, 'x').c_str()).Receive(stop, 0) == 0);
    CHECK(g_received == Lines{std::string(127, 'x') + ":" + std::string(1023, 'x')});
    // Without a handler the response is what stands there.
    REQUIRE(notify());
    CHECK(CKivNotificationSink().Receive(nullptr, 0) == 0);
    CHECK(block->response == 0x78787878);
    CHECK(block->processId == ::GetCurrentProcessId());
    ::UnmapViewOfFile(block);
}

TEST_CASE("ten thousand round trips leave nothing behind") {
    g_received.clear();
    const auto answer = [](int count) {
        StartedProgram source(Child({"count=" + std::to_string(count)}));
        static int left = 0;
        left = count;
        CKivNotificationSink sink("count");
        const auto handler = [](const char*, const char* payload, long* response) {
            *response = std::atoi(payload);
            return --left > 0 ? 1 : 0;
        };
        CHECK(sink.Receive(handler, 30000) == 0);
        CHECK(OutputOf(source).back() == "= " + std::to_string(count));
        KivRecordingClear();
    };
    answer(10);
    const kiv::test::ResourceCount before = kiv::test::CountResources();
    answer(kiv::test::ThisRelease().empty() ? 10000 : 100);
    CHECK(kiv::test::CountResources() == before);
}
