#include "install/vinst/download/vinst_integrity_checks.h"

#include "install/vinst/base/vinst_event_loop.h"
#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/download/vinst_file_check.h"
#include "install/vinst/release/vinst_data.h"

#include <QTimer>

#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>

namespace
{

constexpr std::chrono::milliseconds collection_interval{500};

/// The work of a worker thread. The atomics are shared between threads; the main thread reads the
/// result once `finished` is set.
struct CHECK_WORK
{
    explicit CHECK_WORK(const VINST_COMPONENT& component)
        : path(component.file.path()), md5sum(component.md5sum)
    {
    }

    void run()
    {
        try
        {
            check();
        }
        catch (const std::exception& error)
        {
            run_log().error("Cannot check %s: %s", utf8(path), error.what());
            result = VINST_FILE_CHECK{};
        }
        finished = true;
        wake_event_loop();
    }

    void check()
    {
        const auto is_cancelled = [this] { return cancelled || is_shutting_down(); };
        if (is_cancelled())
            return;
        const VINST_FILE_CHECK checked = check_file(path, md5sum, is_cancelled);
        if (!is_cancelled())
            result = checked;
    }

    const QString path;
    const QString md5sum;
    std::atomic<bool> cancelled{false};
    std::atomic<bool> finished{false};
    std::optional<VINST_FILE_CHECK> result; ///< none when it was cancelled
};

}

/// The check of one file; used by the main thread.
class VINST_DOWNLOADER_MGR_CHECK_INTEGRITY_TASK
{
public:
    explicit VINST_DOWNLOADER_MGR_CHECK_INTEGRITY_TASK(VINST_COMPONENT& checked)
        : component(checked), work(std::make_shared<CHECK_WORK>(checked))
    {
    }

    void store_result()
    {
        if (work->result)
            component.file.finish_check(*work->result);
        else
            component.file.forget_check();
    }

    VINST_COMPONENT& component;
    const std::shared_ptr<CHECK_WORK> work;
    QTimer timer;
};

/// The worker threads.
///
/// Debian's oneTBB is not built with the thread sanitizer, which therefore doesn't see that
/// starting a oneTBB task synchronizes both threads. Work is handed over under a mutex, which it
/// does see.
struct VINST_INTEGRITY_CHECKS::WORKERS
{
    void start(const std::shared_ptr<CHECK_WORK>& work)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_handed_over.push_back(work);
        }
        m_arena.enqueue(m_group.defer([this] { take_over()->run(); }));
    }

    void wait()
    {
        m_arena.execute([this] { m_group.wait(); });
    }

private:
    std::shared_ptr<CHECK_WORK> take_over()
    {
        const std::lock_guard lock(m_mutex);
        const std::shared_ptr<CHECK_WORK> work = m_handed_over.front();
        m_handed_over.pop_front();
        return work;
    }

    /// oneTBB counts the main thread as a worker, so on one processor it would start no other. Here
    /// the main thread only waits, so there is a worker per processor and no slot is reserved.
    static constexpr unsigned reserved_slots = 0;
    const int m_processors = tbb::this_task_arena::max_concurrency();
    const tbb::global_control m_limit{tbb::global_control::max_allowed_parallelism,
                                      static_cast<std::size_t>(m_processors) + 1};
    tbb::task_arena m_arena{m_processors, reserved_slots};
    tbb::task_group m_group;
    std::mutex m_mutex;
    std::deque<std::shared_ptr<CHECK_WORK>> m_handed_over;
};

VINST_INTEGRITY_CHECKS::VINST_INTEGRITY_CHECKS(VINST_DOWNLOADER_VIEW& view) : m_view(view) {}

VINST_INTEGRITY_CHECKS::~VINST_INTEGRITY_CHECKS()
{
    cancel();
    if (m_workers != nullptr)
        m_workers->wait();
}

void VINST_INTEGRITY_CHECKS::start(VINST_COMPONENT& component)
{
    const bool is_pending =
        std::any_of(m_pending.cbegin(), m_pending.cend(),
                    [&](const TASK* task) { return &task->component == &component; });
    if (is_pending || is_shutting_down())
        return;
    component.file.begin_check();
    const auto task = std::make_shared<TASK>(component);
    QObject::connect(&task->timer, &QTimer::timeout, &task->timer,
                     [this, weak = std::weak_ptr<TASK>(task)]
                     {
                         if (const auto timed = weak.lock())
                             collect(timed);
                     });
    task->timer.start(collection_interval);
    m_pending.append(task.get());
    m_cancellable.append(task);
    if (m_workers == nullptr)
        m_workers = std::make_unique<WORKERS>();
    m_workers->start(task->work);
}

void VINST_INTEGRITY_CHECKS::cancel()
{
    for (const std::shared_ptr<TASK>& task : qAsConst(m_cancellable))
        task->work->cancelled = true;
    // One pass gives up every cancelled task, so nothing stays pending.
    collect_all();
}

void VINST_INTEGRITY_CHECKS::wait()
{
    while (has_pending())
    {
        m_view.process_events();
        collect_all();
    }
}

void VINST_INTEGRITY_CHECKS::finish()
{
    cancel();
    // A worker may be flushing its file to a slow disk, which nothing can cut short.
    while (!m_cancellable.isEmpty())
    {
        m_view.process_events();
        collect_all();
    }
}

void VINST_INTEGRITY_CHECKS::collect_all()
{
    const QList<std::shared_ptr<TASK>> tasks = m_cancellable;
    for (const std::shared_ptr<TASK>& task : tasks)
        if (task->work->finished || task->work->cancelled)
            collect(task);
}

void VINST_INTEGRITY_CHECKS::collect(const std::shared_ptr<TASK>& task)
{
    if (!task->work->finished)
    {
        collect_running(*task);
        return;
    }
    collect_finished(*task);
    task->timer.stop();
    m_cancellable.removeAll(task);
}

void VINST_INTEGRITY_CHECKS::collect_finished(TASK& task)
{
    if (task.work->cancelled)
    {
        give_up(task);
        return;
    }
    task.store_result();
    if (m_pending.removeAll(&task) > 0 && task.component.file.is_checked())
        m_view.show_integrity(&task.component, task.component.file.has_passed()
                                                   ? VINST_INTEGRITY_STATE::passed
                                                   : VINST_INTEGRITY_STATE::failed);
}

void VINST_INTEGRITY_CHECKS::collect_running(TASK& task)
{
    if (task.work->cancelled)
        give_up(task);
    else if (task.component.file.is_being_checked() && m_pending.contains(&task))
        m_view.show_integrity(&task.component, VINST_INTEGRITY_STATE::checking);
}

void VINST_INTEGRITY_CHECKS::give_up(TASK& task)
{
    if (m_pending.removeAll(&task) == 0)
        return;
    task.component.file.forget_check();
    // It may be shown as being checked.
    m_view.show_integrity(&task.component, VINST_INTEGRITY_STATE::none);
}
