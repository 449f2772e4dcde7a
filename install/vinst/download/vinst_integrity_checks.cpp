#include "install/vinst/download/vinst_integrity_checks.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/download/vinst_file_check.h"
#include "install/vinst/release/vinst_data.h"

#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <mutex>
#include <numeric>
#include <optional>
#include <utility>

namespace
{

constexpr std::chrono::milliseconds collection_interval{500};
constexpr int display_interval = 1000; // milliseconds

/// A file is read in steps of at least this size while it grows.
constexpr quint64 least_step = quint64{16} * 1024 * 1024;

}

/// A file that is hashed while it grows. The atomics are shared between threads.
struct VINST_FOLLOWED_FILE
{
    explicit VINST_FOLLOWED_FILE(const QString& path) : digest(path) {}

    void read_what_is_there()
    {
        try
        {
            const std::lock_guard lock(mutex);
            digest.read_to_end([this] { return is_ended || is_to_stop(); });
            bytes_read = digest.bytes_read();
        }
        catch (const std::exception& error)
        {
            run_log().error("Cannot read %s: %s", utf8(digest.path()), error.what());
        }
        is_being_read = false;
    }

    std::mutex mutex; ///< guards the digest: the check waits until a step has noticed its end
    VINST_FILE_DIGEST digest;
    std::atomic<bool> is_ended{false};
    std::atomic<bool> is_being_read{false};
    std::atomic<quint64> bytes_read{0};
};

namespace
{

/// The work of a worker thread. The atomics are shared between threads; the main thread reads the
/// result once `finished` is set.
struct CHECK_WORK
{
    CHECK_WORK(const VINST_COMPONENT& component, std::shared_ptr<VINST_FOLLOWED_FILE> followed)
        : file(std::move(followed)), path(component.file.path()), md5sum(component.md5sum)
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
    }

    void check()
    {
        const auto is_cancelled = [this] { return cancelled || is_shutting_down(); };
        if (is_cancelled())
            return;
        const std::lock_guard lock(file->mutex);
        const VINST_FILE_CHECK checked = check_file(file->digest, md5sum, is_cancelled,
                                                    [this](quint64 bytes) { bytes_read = bytes; });
        if (!is_cancelled())
            result = checked;
    }

    const std::shared_ptr<VINST_FOLLOWED_FILE> file;
    const QString path;
    const QString md5sum;
    std::atomic<bool> cancelled{false};
    std::atomic<bool> finished{false};
    std::atomic<quint64> bytes_read{0};
    std::optional<VINST_FILE_CHECK> result; ///< none when it was cancelled
};

}

/// The check of one file; used by the main thread.
class VINST_DOWNLOADER_MGR_CHECK_INTEGRITY_TASK
{
public:
    VINST_DOWNLOADER_MGR_CHECK_INTEGRITY_TASK(VINST_COMPONENT& checked,
                                              std::shared_ptr<VINST_FOLLOWED_FILE> followed)
        : component(checked), work(std::make_shared<CHECK_WORK>(checked, std::move(followed)))
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

VINST_INTEGRITY_CHECKS::VINST_INTEGRITY_CHECKS(VINST_DOWNLOADER_VIEW& view) : m_view(view) {}

VINST_INTEGRITY_CHECKS::~VINST_INTEGRITY_CHECKS()
{
    cancel();
}

void VINST_INTEGRITY_CHECKS::follow(const VINST_COMPONENT& component, quint64 bytes)
{
    std::shared_ptr<VINST_FOLLOWED_FILE>& file = m_followed[&component];
    if (file == nullptr)
        file = std::make_shared<VINST_FOLLOWED_FILE>(component.file.path());
    if (file->is_being_read || bytes < file->bytes_read + least_step || is_to_stop())
        return;
    file->is_being_read = true;
    m_jobs.start([followed = file] { followed->read_what_is_there(); });
}

/// What has been hashed of the component's file while it grew; the next reader begins there.
std::shared_ptr<VINST_FOLLOWED_FILE>
VINST_INTEGRITY_CHECKS::take_followed(const VINST_COMPONENT& component)
{
    std::shared_ptr<VINST_FOLLOWED_FILE> file = std::move(m_followed[&component]);
    m_followed.erase(&component);
    if (file == nullptr || file->digest.path() != component.file.path())
        return std::make_shared<VINST_FOLLOWED_FILE>(component.file.path());
    file->is_ended = true;
    return file;
}

void VINST_INTEGRITY_CHECKS::end_following()
{
    for (const auto& [component, file] : m_followed)
        file->is_ended = true;
    m_followed.clear();
}

void VINST_INTEGRITY_CHECKS::start(VINST_COMPONENT& component)
{
    const bool is_pending =
        std::any_of(m_pending.cbegin(), m_pending.cend(),
                    [&](const TASK* task) { return &task->component == &component; });
    if (is_pending || is_shutting_down())
        return;
    component.file.begin_check();
    const auto task = std::make_shared<TASK>(component, take_followed(component));
    QObject::connect(&task->timer, &QTimer::timeout, &task->timer,
                     [this, weak = std::weak_ptr<TASK>(task)]
                     {
                         if (const auto timed = weak.lock())
                             collect(timed);
                     });
    task->timer.start(collection_interval);
    m_pending.append(task.get());
    m_cancellable.append(task);
    m_jobs.start([work = task->work] { work->run(); });
}

void VINST_INTEGRITY_CHECKS::cancel()
{
    end_following();
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
    while (m_jobs.are_running() || !m_cancellable.isEmpty())
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
