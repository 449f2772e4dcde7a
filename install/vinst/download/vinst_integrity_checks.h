#pragma once

#include "install/vinst/download/vinst_downloader_view.h"
#include "install/vinst/download/vinst_worker_jobs.h"
#include "install/vinst/release/vinst_component.h"

#include <QList>

#include <map>
#include <memory>

class VINST_DOWNLOADER_MGR_CHECK_INTEGRITY_TASK;
struct VINST_FOLLOWED_FILE;

/// Integrity checks of components' files, each on a worker thread. All members are called on the
/// main thread, where a timer collects the results and stores them in the components.
class VINST_INTEGRITY_CHECKS
{
public:
    explicit VINST_INTEGRITY_CHECKS(VINST_DOWNLOADER_VIEW& view);
    /// Cancels all checks and waits for their workers.
    ~VINST_INTEGRITY_CHECKS();
    VINST_INTEGRITY_CHECKS(const VINST_INTEGRITY_CHECKS&) = delete;
    VINST_INTEGRITY_CHECKS& operator=(const VINST_INTEGRITY_CHECKS&) = delete;

    /// Hashes what is on the disk of a file that is being fetched, if that has become much since
    /// the last call: when it is complete, little is left for its check. \param bytes  the file's
    /// size now
    void follow(const VINST_COMPONENT& component, quint64 bytes);
    /// Starts a check unless one is pending for the component or the process is shutting down.
    void start(VINST_COMPONENT& component);
    /// Whether a result is still pending.
    bool has_pending() const { return !m_pending.isEmpty(); }
    /// Discards all pending results. Workers notice soon, but may still be reading when this
    /// returns.
    void cancel();
    /// Waits for all results.
    void wait();
    /// Cancels the checks and waits until no worker reads a file.
    void finish();

private:
    using TASK = VINST_DOWNLOADER_MGR_CHECK_INTEGRITY_TASK;

    std::shared_ptr<VINST_FOLLOWED_FILE> take_followed(const VINST_COMPONENT& component);
    void end_following();
    void collect_all();
    void collect(const std::shared_ptr<TASK>& task);
    void collect_finished(TASK& task);
    void collect_running(TASK& task);
    void give_up(TASK& task);
    /// Of all files whose check is pending.
    quint64 unread_bytes() const;

    VINST_DOWNLOADER_VIEW& m_view;
    /// Tasks whose result is pending.
    QList<TASK*> m_pending;
    /// Tasks that have not ended: pending ones, and cancelled ones whose worker is still reading.
    QList<std::shared_ptr<TASK>> m_cancellable;
    /// Files that are being fetched and have no check yet.
    std::map<const VINST_COMPONENT*, std::shared_ptr<VINST_FOLLOWED_FILE>> m_followed;
    VINST_WORKER_JOBS m_jobs; ///< the last member: its end waits for workers that use the others
};
