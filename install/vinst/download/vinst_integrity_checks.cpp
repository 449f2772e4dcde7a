#include "install/vinst/download/vinst_integrity_checks.h"

#include "install/vinst/base/vinst_event_loop.h"
#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/download/vinst_file_check.h"
#include "install/vinst/release/vinst_data.h"

#include <QElapsedTimer>
#include <QTimer>

#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <tbb/version.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <numeric>
#include <optional>
#include <utility>

/// How much work of one VINST_INTEGRITY_CHECKS has not ended; shared with the workers.
struct VINST_UNFINISHED_WORK
{
    std::mutex mutex; ///< guards the count
    std::condition_variable changed;
    int count = 0;
};

namespace
{

constexpr std::chrono::milliseconds collection_interval{500};
constexpr int display_interval = 1000; // milliseconds

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
        const VINST_FILE_CHECK checked =
            check_file(path, md5sum, is_cancelled, [this](quint64 bytes) { bytes_read = bytes; });
        if (!is_cancelled())
            result = checked;
    }

    const QString path;
    const QString md5sum;
    std::atomic<bool> cancelled{false};
    std::atomic<bool> finished{false};
    std::atomic<quint64> bytes_read{0};
    std::optional<VINST_FILE_CHECK> result; ///< none when it was cancelled
};

/// Work on its way from the main thread to a worker, and whose it is.
struct HANDED_OVER_WORK
{
    std::shared_ptr<CHECK_WORK> work;
    std::shared_ptr<VINST_UNFINISHED_WORK> unfinished;
};

// Debian's oneTBB is not built with the thread sanitizer, which therefore does not see that
// starting a oneTBB task orders what both threads do. Work is handed over under this mutex, which
// it does see.
std::mutex handover_mutex;
std::deque<HANDED_OVER_WORK> handed_over_work;

HANDED_OVER_WORK take_over()
{
    const std::lock_guard lock(handover_mutex);
    const HANDED_OVER_WORK next = handed_over_work.front();
    handed_over_work.pop_front();
    return next;
}

void run_next()
{
    HANDED_OVER_WORK next = take_over();
    next.work->run();
    next.work.reset();
    const std::lock_guard lock(next.unfinished->mutex);
    --next.unfinished->count;
    next.unfinished->changed.notify_all();
}

/// oneTBB counts the main thread as a worker, so that there is no worker on one processor. Here the
/// main thread only waits: there is a worker for every processor, and no slot is reserved.
void enqueue(HANDED_OVER_WORK work)
{
    constexpr unsigned reserved_slots = 0;
    static const int processors = tbb::this_task_arena::max_concurrency();
    static const tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                                           static_cast<std::size_t>(processors) + 1);
    static tbb::task_arena arena(processors, reserved_slots);
    {
        const std::lock_guard lock(handover_mutex);
        handed_over_work.push_back(std::move(work));
    }
    arena.enqueue([] { run_next(); });
}

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

    quint64 unread_bytes() const
    {
        const quint64 size = component.expected_size();
        return size - std::min<quint64>(size, work->bytes_read);
    }

    VINST_COMPONENT& component;
    const std::shared_ptr<CHECK_WORK> work;
    QTimer timer;
};

std::string integrity_check_library_version()
{
    return TBB_runtime_version();
}

VINST_INTEGRITY_CHECKS::VINST_INTEGRITY_CHECKS(VINST_DOWNLOADER_VIEW& view)
    : m_view(view), m_unfinished(std::make_shared<VINST_UNFINISHED_WORK>())
{
}

VINST_INTEGRITY_CHECKS::~VINST_INTEGRITY_CHECKS()
{
    cancel();
    std::unique_lock lock(m_unfinished->mutex);
    m_unfinished->changed.wait(lock, [this] { return m_unfinished->count == 0; });
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
    {
        const std::lock_guard lock(m_unfinished->mutex);
        ++m_unfinished->count;
    }
    enqueue({task->work, m_unfinished});
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
    QElapsedTimer since_shown;
    while (has_pending())
    {
        if (!since_shown.isValid() || since_shown.hasExpired(display_interval))
        {
            m_view.show_pending_checks(m_pending.size(), unread_bytes());
            since_shown.start();
        }
        m_view.process_events();
        collect_all();
    }
    if (since_shown.isValid())
        m_view.show_pending_checks(0, 0);
}

quint64 VINST_INTEGRITY_CHECKS::unread_bytes() const
{
    return std::accumulate(m_pending.cbegin(), m_pending.cend(), quint64{0},
                           [](quint64 bytes, const TASK* task)
                           { return bytes + task->unread_bytes(); });
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
