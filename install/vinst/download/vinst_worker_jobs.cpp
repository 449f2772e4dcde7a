#include "install/vinst/download/vinst_worker_jobs.h"

#include "install/vinst/base/vinst_event_loop.h"

#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <tbb/version.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

/// How many jobs of one owner have not ended.
struct VINST_WORKER_JOBS::UNFINISHED
{
    std::mutex mutex; ///< guards the count
    std::condition_variable changed;
    int count = 0;

    void add_one()
    {
        const std::lock_guard lock(mutex);
        ++count;
    }

    void remove_one()
    {
        const std::lock_guard lock(mutex);
        --count;
        changed.notify_all();
    }
};

namespace
{

// Debian's oneTBB is not built with the thread sanitizer, which therefore does not see that
// starting a oneTBB task orders what both threads do. Jobs are handed over under this mutex, which
// it does see.
std::mutex handover_mutex;
std::deque<std::function<void()>> handed_over_jobs;

std::function<void()> take_over()
{
    const std::lock_guard lock(handover_mutex);
    std::function<void()> next = std::move(handed_over_jobs.front());
    handed_over_jobs.pop_front();
    return next;
}

/// oneTBB counts the main thread as a worker, so that there is no worker on one processor. Here the
/// main thread only waits: there is a worker for every processor, and no slot is reserved.
void enqueue(std::function<void()> job)
{
    constexpr unsigned reserved_slots = 0;
    static const int processors = tbb::this_task_arena::max_concurrency();
    static const tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                                           static_cast<std::size_t>(processors) + 1);
    static tbb::task_arena arena(processors, reserved_slots);
    {
        const std::lock_guard lock(handover_mutex);
        handed_over_jobs.push_back(std::move(job));
    }
    arena.enqueue([] { take_over()(); });
}

}

std::string worker_library_version()
{
    return TBB_runtime_version();
}

VINST_WORKER_JOBS::VINST_WORKER_JOBS() : m_unfinished(std::make_shared<UNFINISHED>()) {}

VINST_WORKER_JOBS::~VINST_WORKER_JOBS()
{
    std::unique_lock lock(m_unfinished->mutex);
    m_unfinished->changed.wait(lock, [this] { return m_unfinished->count == 0; });
}

void VINST_WORKER_JOBS::start(std::function<void()> job)
{
    m_unfinished->add_one();
    enqueue(
        [job = std::move(job), unfinished = m_unfinished]() mutable
        {
            job();
            job = nullptr; // what it holds must not outlive the owner
            unfinished->remove_one();
            wake_event_loop();
        });
}

bool VINST_WORKER_JOBS::are_running() const
{
    const std::lock_guard lock(m_unfinished->mutex);
    return m_unfinished->count > 0;
}
