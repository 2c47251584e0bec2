#include "pipe_server.h"

#include "job_queue.h"
#include "report.h"
#include "tavkivut/distribution.h"
#include "tavkivut/security.h"

namespace {

constexpr DWORD kLongestRequest = 512;
constexpr DWORD kClientPatience = 5000;  // a client that neither asks nor reads keeps the others waiting no longer

// The system and administrators: everything; every user who has logged on: ask and read. Without a list of its own the
// pipe would let ordinary users read only.
constexpr char kAccess[] = "{0-0-0x10000000-[S-1-5-18]}-{0-0-0x10000000-[S-1-5-32-544]}-{0-0-0xC0000000-[S-1-5-11]}";

std::string AnswerTo(const std::string& request, JobQueue& queue) {
    const std::string start = std::string(kKivDsJobInit) + " ";
    unsigned long code = ERROR_INVALID_FUNCTION;  // of a request that the service does not know
    if (request.compare(0, start.size(), start) == 0)
        code = queue.Start(request.substr(start.size()));
    else if (request == kKivDsJobStatus)
        code = queue.Status();
    else if (request == kKivDsJobCancel)
        code = queue.Cancel();
    return std::string(kKivDsAnswer) + " " + std::to_string(code);
}

}  // namespace

PipeServer::PipeServer(HANDLE stop) : m_stop(stop) {
    m_operation.hEvent = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
}

PipeServer::~PipeServer() {
    if (m_pipe != INVALID_HANDLE_VALUE)
        ::CloseHandle(m_pipe);
    ::CloseHandle(m_operation.hEvent);
}

bool PipeServer::Open() {
    CKivAcl access;
    access = kAccess;
    CKivSecurityDescriptor descriptor;
    if (descriptor.SetDacl(access) == 0)
        return false;
    SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor, FALSE};
    // One instance, which is never closed while the service lives: nobody can put one of their own beside it.
    m_pipe = ::CreateNamedPipeA((std::string("\\\\.\\PIPE\\") + kKivDsPipe).c_str(),
                                PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                                PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1, kLongestRequest, kLongestRequest,
                                kClientPatience, &attributes);
    return m_pipe != INVALID_HANDLE_VALUE;
}

bool PipeServer::Serve(JobQueue& queue) {
    while (WaitForClient()) {
        ServeClient(queue);
        ::DisconnectNamedPipe(m_pipe);
    }
    return ::WaitForSingleObject(m_stop, 0) == WAIT_OBJECT_0;
}

bool PipeServer::WaitForClient() {
    DWORD none = 0;
    const BOOL connected = ::ConnectNamedPipe(m_pipe, &m_operation);
    const DWORD error = connected ? NO_ERROR : ::GetLastError();
    // Also a client that is gone again is one that came.
    return error == ERROR_PIPE_CONNECTED || error == ERROR_NO_DATA || Finish(connected, INFINITE, none);
}

void PipeServer::ServeClient(JobQueue& queue) {
    char request[kLongestRequest];
    DWORD bytes = 0;
    if (!Finish(::ReadFile(m_pipe, request, sizeof request, nullptr, &m_operation), kClientPatience, bytes))
        return;
    const std::string line(request, bytes);
    const std::string answer = AnswerTo(line, queue);
    Report("asked '%s', answered '%s'", line.c_str(), answer.c_str());
    const auto size = static_cast<DWORD>(answer.size());
    if (!Finish(::WriteFile(m_pipe, answer.data(), size, nullptr, &m_operation), kClientPatience, bytes))
        return;
    // What the client has not read yet would be lost with the connection: the read ends when it hangs up.
    Finish(::ReadFile(m_pipe, request, sizeof request, nullptr, &m_operation), kClientPatience, bytes);
}

// Waits for the operation that was begun. False when it failed, took too long, or the service is to stop.
bool PipeServer::Finish(BOOL done, DWORD timeout, DWORD& bytes) {
    if (!done && ::GetLastError() != ERROR_IO_PENDING)
        return false;
    const HANDLE events[] = {m_operation.hEvent, m_stop};
    if (::WaitForMultipleObjects(2, events, FALSE, timeout) != WAIT_OBJECT_0)
        ::CancelIo(m_pipe);
    return ::GetOverlappedResult(m_pipe, &m_operation, &bytes, TRUE) != FALSE;
}
