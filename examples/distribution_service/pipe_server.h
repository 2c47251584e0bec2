#ifndef DISTRIBUTION_SERVICE_PIPE_SERVER_H
#define DISTRIBUTION_SERVICE_PIPE_SERVER_H

#include <windows.h>

#include <string>

class JobQueue;

// The service's end of the pipe: takes one client after the other, gives each one answer.
class PipeServer {
public:
    explicit PipeServer(HANDLE stop);  // an event that ends Serve
    ~PipeServer();
    PipeServer(const PipeServer&) = delete;
    PipeServer& operator=(const PipeServer&) = delete;

    // Makes the pipe; false, with the last error, also when somebody else has made it before.
    bool Open();

    // Answers clients until the stop event is set. False, with the last error, when the pipe fails.
    bool Serve(JobQueue& queue);

private:
    bool WaitForClient();
    void ServeClient(JobQueue& queue);
    bool Finish(BOOL done, DWORD timeout, DWORD& bytes);

    HANDLE m_stop;
    HANDLE m_pipe = INVALID_HANDLE_VALUE;
    OVERLAPPED m_operation{};  // the one that is under way
};

#endif
