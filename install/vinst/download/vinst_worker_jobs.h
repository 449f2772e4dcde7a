#pragma once

#include <functional>
#include <memory>
#include <string>

/// The version of oneTBB, which provides the workers.
[[nodiscard]] std::string worker_library_version();

/// Jobs of one owner on the process's worker threads, one worker for each processor. All members
/// are called on the main thread.
class VINST_WORKER_JOBS
{
public:
    VINST_WORKER_JOBS();
    /// Waits for all jobs.
    ~VINST_WORKER_JOBS();
    VINST_WORKER_JOBS(const VINST_WORKER_JOBS&) = delete;
    VINST_WORKER_JOBS& operator=(const VINST_WORKER_JOBS&) = delete;

    /// Runs the job on a worker as soon as one is free, then wakes the event loop. The job must not
    /// throw.
    void start(std::function<void()> job);
    /// Whether a job waits for a worker or is running.
    [[nodiscard]] bool are_running() const;

private:
    struct UNFINISHED;

    const std::shared_ptr<UNFINISHED> m_unfinished; ///< shared with the workers
};
