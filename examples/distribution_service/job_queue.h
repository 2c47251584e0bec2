#ifndef DISTRIBUTION_SERVICE_JOB_QUEUE_H
#define DISTRIBUTION_SERVICE_JOB_QUEUE_H

#include <windows.h>

#include <string>

#include "descriptor.h"

// One place for a job, and the thread that carries it out: the protocol knows one job at a time. Each operation returns
// the code of its answer. They are called by one thread.
class JobQueue {
public:
    JobQueue();
    ~JobQueue();  // ends a job that runs at once, whatever its descriptor says
    JobQueue(const JobQueue&) = delete;
    JobQueue& operator=(const JobQueue&) = delete;

    // Reads the descriptor, which may be gone afterwards, and starts its job. 0; 2, 5, 13 as ReadDescriptor says; 170
    // while another job is here, 1223 while that one is being cancelled.
    unsigned long Start(const std::string& descriptorPath);

    // 0 while a job is here, else 170.
    unsigned long Status() const;

    // 0 when the job is cancelled, 1223 when that still has to wait for the end of a step, 5 when it is too late for
    // it, 170 when there is no job.
    unsigned long Cancel();

private:
    enum class State { kIdle, kRunning, kFinal, kCancelling };

    static unsigned __stdcall Work(void* self);
    void Run(const Job& job);
    bool Begin(const Step& step);
    bool Play(const Job& job, const Step& step) const;

    mutable CRITICAL_SECTION m_lock;  // guards the state
    State m_state = State::kIdle;
    Job m_job;          // handed over with m_arrived
    HANDLE m_arrived;   // signalled once for each job
    HANDLE m_finished;  // set while there is no job
    HANDLE m_stop;
    HANDLE m_worker;
};

#endif
