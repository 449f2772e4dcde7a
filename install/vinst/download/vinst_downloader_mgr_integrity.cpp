#include "install/vinst/download/vinst_downloader_mgr_integrity.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/download/vinst_downloader_mgr.h"
#include "install/vinst/release/vinst_data_install.h"
#include "support/fio/fio_file_system.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QList>
#include <QTimer>

#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

namespace
{

constexpr int read_block = 256 * 1024; // bytes
constexpr std::chrono::milliseconds collection_interval{500};

bool md5_matches(const QString& path, const QString& expected,
                 const std::function<bool()>& is_cancelled)
{
    if (!QFile::exists(path))
        return false;
    FIO_FILE_SYSTEM::wait_until_readable(utf8(path), is_cancelled);
    const QString actual = calc_md5sum(path, is_cancelled);
    if (actual == expected)
        return true;
    run_log().debug("MD5 => %s, actual md5:%s, expected md5:%s", utf8(path), utf8(actual),
                    utf8(expected));
    return false;
}

/// The check of one file. The work runs on a worker thread and touches the atomics, its own results
/// and the constants alone; the main thread reads the results once `finished` is set, and carries
/// them over to the component.
class VINST_DOWNLOADER_MGR_CHECK_INTEGRITY_TASK
{
public:
    VINST_DOWNLOADER_MGR_CHECK_INTEGRITY_TASK(const VINST_DOWNLOADER_MGR* manager,
                                              VINST_COMPONENT* checked, VINST_DOWNLOADER_VIEW* view)
        : owner(manager), dialog(view), component(checked), m_path(checked->local_file_path()),
          m_md5sum(checked->md5sum)
    {
    }

    void work()
    {
        finished = false;
        const auto is_cancelled = [this] { return cancelled || shutdown_requested; };
        if (!is_cancelled())
        {
            // A file that changes while it is read was not checked, whatever its sum.
            const auto before = FIO_FILE_SYSTEM::identity(utf8(m_path));
            m_passed = md5_matches(m_path, m_md5sum, is_cancelled) && before &&
                       before == FIO_FILE_SYSTEM::identity(utf8(m_path));
            m_checked_file = before;
            m_completed = !is_cancelled();
        }
        finished = true;
    }

    /// Main thread, after the work: the result counts when the directory is still the same.
    void store_result()
    {
        if (!m_completed || cancelled ||
            component->checked_download_dir != component->release->download_dir())
            return;
        component->integrity_passed = m_passed;
        component->integrity_checked = true;
        component->verified_file = m_passed ? m_checked_file : std::nullopt;
    }

    std::atomic<bool> cancelled{false};
    std::atomic<bool> finished{false};
    const VINST_DOWNLOADER_MGR* const owner;
    VINST_DOWNLOADER_VIEW* const dialog;
    VINST_COMPONENT* const component;
    QTimer timer;

private:
    const QString m_path;
    const QString m_md5sum;
    bool m_completed = false;
    bool m_passed = false;
    std::optional<FIO_FILE_IDENTITY> m_checked_file;
};

using TASK = VINST_DOWNLOADER_MGR_CHECK_INTEGRITY_TASK;

// Main thread only. The cancellable list holds every task that has not been collected for good; the
// pending one those among them whose result is still waited for.
QList<TASK*> pending_integrity_tasks;
QList<std::shared_ptr<TASK>> cancellable_integrity_tasks;

// Tasks on their way from the main thread to a worker; under the mutex, which orders what both see.
std::mutex handover_mutex;
std::deque<std::shared_ptr<TASK>> handed_over_tasks;

void hand_over(const std::shared_ptr<TASK>& task)
{
    const std::lock_guard lock(handover_mutex);
    handed_over_tasks.push_back(task);
}

std::shared_ptr<TASK> take_over()
{
    const std::lock_guard lock(handover_mutex);
    const std::shared_ptr<TASK> task = handed_over_tasks.front();
    handed_over_tasks.pop_front();
    return task;
}

tbb::task_group& task_group()
{
    static tbb::task_group the_group;
    return the_group;
}

/// Where the checks run. No place is kept for the main thread, which never enters while a window
/// waits: on one processor oneTBB starts a worker for such an arena alone.
tbb::task_arena& arena()
{
    constexpr unsigned reserved_places = 0;
    static tbb::task_arena the_arena(tbb::task_arena::automatic, reserved_places);
    return the_arena;
}

void wait_for_task_group()
{
    arena().execute([] { task_group().wait(); });
}

void show(const TASK& task, VINST_INTEGRITY_STATE state)
{
    if (task.dialog != nullptr)
        task.dialog->show_integrity(task.component, state);
}

void clear_check_of(const TASK& task)
{
    if (task.component->is_checked_for_current_dir())
        task.component->integrity_checked = false;
    // It may have been shown as being checked.
    show(task, VINST_INTEGRITY_STATE::none);
}

void collect_finished(TASK& task)
{
    if (task.cancelled)
    {
        if (pending_integrity_tasks.removeAll(&task) > 0)
            clear_check_of(task);
        return;
    }
    task.store_result();
    if (pending_integrity_tasks.removeAll(&task) > 0 &&
        task.component->is_checked_for_current_dir())
        show(task, task.component->integrity_passed ? VINST_INTEGRITY_STATE::passed
                                                    : VINST_INTEGRITY_STATE::failed);
}

void collect_running(TASK& task)
{
    if (task.cancelled)
    {
        if (pending_integrity_tasks.removeAll(&task) > 0)
            clear_check_of(task);
    }
    else if (task.component->checked_download_dir == task.component->release->download_dir() &&
             pending_integrity_tasks.contains(&task))
    {
        show(task, VINST_INTEGRITY_STATE::checking);
    }
}

/// One look at a task. A cancelled one is given up at once, but is only let go when its work ended.
void collect(const std::shared_ptr<TASK>& task)
{
    if (!task->finished)
    {
        collect_running(*task);
        return;
    }
    collect_finished(*task);
    task->timer.stop();
    cancellable_integrity_tasks.removeAll(task);
}

void collect_all()
{
    const QList<std::shared_ptr<TASK>> tasks = cancellable_integrity_tasks;
    for (const std::shared_ptr<TASK>& task : tasks)
        collect(task);
}

}

QString calc_md5sum(const QString& path, const std::function<bool()>& is_cancelled)
{
    QElapsedTimer elapsed;
    elapsed.start();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};

    QCryptographicHash hash(QCryptographicHash::Md5);
    std::vector<char> block(read_block);
    qint64 count = 0;
    while ((count = file.read(block.data(), read_block)) > 0)
    {
        if (is_cancelled && is_cancelled())
            return {};
        hash.addData(block.data(), static_cast<int>(count));
    }
    if (count < 0)
        return {};

    // The label of short times says ms and the number is microseconds: readers of logs know it so.
    const qint64 microseconds = elapsed.nsecsElapsed() / 1000;
    if (microseconds < 1'000'000)
        run_log().debug("calc_md5sum for file: %s, took: %d ms.", utf8(path), microseconds);
    else
        run_log().debug("calc_md5sum for file: %s, took: %d sec.", utf8(path),
                        microseconds / 1'000'000);
    return QString::fromLatin1(hash.result().toHex());
}

bool check_md5(const VINST_COMPONENT* component, const std::function<bool()>& is_cancelled)
{
    return md5_matches(component->local_file_path(), component->md5sum, is_cancelled);
}

void VINST_DOWNLOADER_MGR::start_integrity_task(VINST_COMPONENT* component)
{
    const bool is_pending =
        std::any_of(pending_integrity_tasks.cbegin(), pending_integrity_tasks.cend(),
                    [component](const TASK* task) { return task->component == component; });
    if (is_pending || shutdown_requested)
        return;
    component->checked_download_dir = m_release.download_dir();
    const auto task = std::make_shared<TASK>(this, component, m_view);
    QObject::connect(&task->timer, &QTimer::timeout, &task->timer,
                     [weak = std::weak_ptr<TASK>(task)]
                     {
                         if (const auto timed = weak.lock())
                             collect(timed);
                     });
    task->timer.start(collection_interval);
    pending_integrity_tasks.append(task.get());
    cancellable_integrity_tasks.append(task);
    hand_over(task);
    arena().enqueue(task_group().defer([] { take_over()->work(); }));
}

void VINST_DOWNLOADER_MGR::cancel_integrity_tasks()
{
    for (const std::shared_ptr<TASK>& task : qAsConst(cancellable_integrity_tasks))
        task->cancelled = true;
    // One look gives every cancelled task up, so nothing stays pending.
    collect_all();
}

bool VINST_DOWNLOADER_MGR::has_pending_integrity_tasks()
{
    return !pending_integrity_tasks.isEmpty();
}

void VINST_DOWNLOADER_MGR::finish_integrity_tasks()
{
    cancel_integrity_tasks();
    wait_for_task_group();
    collect_all();
}

bool VINST_DOWNLOADER_MGR::has_started_integrity_tasks() const
{
    return std::any_of(cancellable_integrity_tasks.cbegin(), cancellable_integrity_tasks.cend(),
                       [this](const std::shared_ptr<TASK>& task) { return task->owner == this; });
}

void VINST_DOWNLOADER_MGR::wait_for_integrity_tasks()
{
    if (m_view != nullptr)
    {
        while (has_pending_integrity_tasks())
            m_view->process_events();
        return;
    }
    wait_for_task_group();
    collect_all();
}

bool VINST_DOWNLOADER_MGR::check_integrity()
{
    if (download_stop_requested)
        return true;
    const QString text = QStringLiteral("Checking file integrity ...");
    if (m_view != nullptr)
        m_view->show_status(QStringLiteral("Checking file integrity, please wait..."));
    report(utf8(text), false);
    m_progress_text += text + '\n';

    wait_for_integrity_tasks();
    m_passed_components.clear();
    m_failed_components.clear();
    for (VINST_COMPONENT* component : m_components)
    {
        if (has_passed(component))
        {
            make_installer_executable(*component);
            m_passed_components.push_back(component);
            run_log().debug("add passed component: %s", component->log_name());
            continue;
        }
        m_failed_components.push_back(component);
        run_log().debug("add failed component: %s", component->log_name());
        if (component->download_complete && component->is_checked_for_current_dir())
            m_write_error = true;
    }
    return m_failed_components.empty();
}

bool VINST_DOWNLOADER_MGR::has_passed(VINST_COMPONENT* component)
{
    if (!component->download_complete || !component->is_checked_for_current_dir())
        return false;
    // What a transfer has appended since the check was never checked.
    if (component->integrity_passed && !has_verified_file(*component))
        component->integrity_passed = false;
    return component->integrity_passed;
}
