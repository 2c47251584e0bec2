#include "job_queue.h"

#include <process.h>

#include "report.h"

namespace {

// How long a cancellation is waited for before the client hears that it is still to come.
constexpr DWORD kCancelPatience = 500;

class Guard {
public:
    explicit Guard(CRITICAL_SECTION& lock) : m_lock(lock) { ::EnterCriticalSection(&m_lock); }
    ~Guard() { ::LeaveCriticalSection(&m_lock); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    CRITICAL_SECTION& m_lock;
};

}  // namespace

JobQueue::JobQueue()
    : m_arrived(::CreateEventA(nullptr, FALSE, FALSE, nullptr)),
      m_finished(::CreateEventA(nullptr, TRUE, TRUE, nullptr)), m_stop(::CreateEventA(nullptr, TRUE, FALSE, nullptr)),
      m_worker(nullptr) {
    ::InitializeCriticalSection(&m_lock);
    m_worker = reinterpret_cast<HANDLE>(::_beginthreadex(nullptr, 0, &JobQueue::Work, this, 0, nullptr));
}

JobQueue::~JobQueue() {
    ::SetEvent(m_stop);
    ::WaitForSingleObject(m_worker, INFINITE);
    for (const HANDLE handle : {m_worker, m_stop, m_finished, m_arrived})
        ::CloseHandle(handle);
    ::DeleteCriticalSection(&m_lock);
}

unsigned long JobQueue::Start(const std::string& descriptorPath) {
    {
        const Guard guard(m_lock);
        if (m_state != State::kIdle)
            return m_state == State::kCancelling ? ERROR_CANCELLED : ERROR_BUSY;
    }
    Job job;
    const unsigned long code = ReadDescriptor(descriptorPath, job);
    if (code != ERROR_SUCCESS)
        return code;
    m_job = job;
    ::ResetEvent(m_finished);
    const Guard guard(m_lock);
    m_state = job.steps.front().isFinal ? State::kFinal : State::kRunning;
    ::SetEvent(m_arrived);
    return ERROR_SUCCESS;
}

unsigned long JobQueue::Status() const {
    const Guard guard(m_lock);
    return m_state == State::kIdle ? ERROR_BUSY : ERROR_SUCCESS;
}

unsigned long JobQueue::Cancel() {
    {
        const Guard guard(m_lock);
        if (m_state == State::kIdle)
            return ERROR_BUSY;
        if (m_state == State::kFinal)
            return ERROR_ACCESS_DENIED;
        m_state = State::kCancelling;
    }
    return ::WaitForSingleObject(m_finished, kCancelPatience) == WAIT_OBJECT_0 ? ERROR_SUCCESS : ERROR_CANCELLED;
}

unsigned __stdcall JobQueue::Work(void* self) {
    JobQueue& queue = *static_cast<JobQueue*>(self);
    const HANDLE events[] = {queue.m_arrived, queue.m_stop};
    while (::WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0)
        queue.Run(queue.m_job);
    return 0;
}

// A step begins unless the job is cancelled. From a final one on it cannot be.
bool JobQueue::Begin(const Step& step) {
    const Guard guard(m_lock);
    if (m_state == State::kCancelling)
        return false;
    if (step.isFinal)
        m_state = State::kFinal;
    return true;
}

// False when the service is to stop, which nothing in a descriptor may put off. Real work would be brought to an end
// that leaves nothing half done; this is only time that goes by.
bool JobQueue::Play(const Job& job, const Step& step) const {
    Report("job '%s': %s", job.name.c_str(), step.what.c_str());
    return ::WaitForSingleObject(m_stop, step.milliseconds) == WAIT_TIMEOUT;
}

void JobQueue::Run(const Job& job) {
    Report("job '%s' begins", job.name.c_str());
    bool isDone = true;
    for (const Step& step : job.steps) {
        // The first step has begun with the job itself: a cancellation always waits for it.
        isDone = (&step == &job.steps.front() || Begin(step)) && Play(job, step);
        if (!isDone)
            break;
    }
    Report("job '%s' %s", job.name.c_str(), isDone ? "is done" : "was cancelled");
    const Guard guard(m_lock);
    m_state = State::kIdle;
    ::SetEvent(m_finished);
}
