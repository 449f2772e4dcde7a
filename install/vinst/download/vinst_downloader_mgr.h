#pragma once

#include "install/vinst/download/vinst_connection_rules.h"
#include "install/vinst/download/vinst_downloader_view.h"
#include "install/vinst/download/vinst_progress_block.h"
#include "install/vinst/release/vinst_data_components.h"

#include <QSet>
#include <QString>
#include <QStringList>

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>

class CURL_DOWNLOADER;
struct CURL_PROGRESS_DATA;
struct VINST_INSTALL_OUTCOME;

/// Read by the progress callback on the transfer threads and by the hashing tasks; written by the
/// main thread and, for the shutdown, by whoever takes a signal. They only ever delay an end.
extern std::atomic<bool> download_stop_requested;
extern std::atomic<bool> shutdown_requested;

/// Fetches the chosen components of a release, checks them, and runs their installers.
///
/// Lives on the main thread. With a view it tells it all that happens; in console mode it prints a
/// block of progress lines that it redraws in place.
class VINST_DOWNLOADER_MGR
{
public:
    explicit VINST_DOWNLOADER_MGR(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW* view = nullptr);
    /// Waits for integrity checks that still run, after cancelling them.
    ~VINST_DOWNLOADER_MGR();
    VINST_DOWNLOADER_MGR(const VINST_DOWNLOADER_MGR&) = delete;
    VINST_DOWNLOADER_MGR& operator=(const VINST_DOWNLOADER_MGR&) = delete;

    void set_console_mode(bool on) { m_console_mode = on; }

    /// Chooses what to fetch, in this order; components without a file are left out.
    /// \param start_check  cancels running checks and starts one of each complete file
    void set_components(const VINST_COMPONENT_LIST& components, bool start_check);

    /// One attempt at all components. \return whether all are there and passed their check
    bool download(int parallel_downloads);

    /// Ends the attempt that runs, from the view's thread.
    void stop();
    /// The same for good: nothing will be fetched or checked any more in this process.
    void abort_on_close();
    /// The half of `abort_on_close` that any thread may do.
    static void request_shutdown();
    /// Whether either was asked for, and no run or test has begun since; or the process is to end.
    static bool is_to_stop();

    /// One look at all transfers, to be taken once a second. \return false when a file is in error
    bool update_progress();

    /// Updates the component's state and returns its percentage.
    /// \param start_check        starts the integrity check of a file that has become complete
    /// \param refresh_from_disk  measures the file; else its last measured size counts, plus
    ///                           `extra_bytes`
    quint64 get_progress_percentage(VINST_COMPONENT* component, bool start_check,
                                    bool refresh_from_disk, quint64 extra_bytes);

    /// Waits for the checks and sorts the components. \return whether none has failed; true at once
    /// after a stop
    bool check_integrity();
    void cancel_integrity_tasks();
    /// Whether a check's result is still to come.
    static bool has_pending_integrity_tasks();

    /// Runs the installers of the components that passed; see `run_installation`.
    [[nodiscard]] VINST_INSTALL_OUTCOME install();

    /// Fetches the release's test file and compares its sum. A proxy that works is stored in the
    /// release. \return whether the connection works; if not, the reason was reported
    bool test_download(const VINST_PROXY_SETTINGS& settings);

    /// The sources of a proxy. Each yields an empty one when it knows none.
    CURL_PROXY_INFO get_default_proxy(); ///< the system's, for the release's download address
    CURL_PROXY_INFO get_wpad_proxy();
    /// The proxy that an automatic-configuration file names for the release's download address.
    CURL_PROXY_INFO get_pac_proxy(const QString& url);
    /// \param autoconfig_url  the address of such a file, where that is what the user chose
    CURL_PROXY_INFO get_firefox_proxy(QString& autoconfig_url);

    /// Asks the sources, but for the system, one after another for at most 20 s.
    CURL_PROXY_INFO discover_proxy();
    /// What `test_download` looks for a proxy with; `discover_proxy` unless it was replaced.
    std::function<CURL_PROXY_INFO()> proxy_source;
    /// The helper that evaluates automatic-configuration scripts; unless it was replaced, the one
    /// beside this library.
    QString pac_helper;

    const VINST_COMPONENT_LIST& components() const { return m_components; }
    const VINST_COMPONENT_LIST& passed_components() const { return m_passed_components; }
    const VINST_COMPONENT_LIST& failed_components() const { return m_failed_components; }
    const QStringList& error_lines() const { return m_error_lines; }
    /// The last connection or transfer error, for a message box.
    const QString& error_text() const { return m_error_text; }
    bool write_error() const { return m_write_error; }
    bool not_found_error() const { return m_not_found_error; }
    /// The last progress block and, after a run, its result line: what stands on the screen.
    const QString& progress_text() const { return m_progress_text; }

    /// The texts of the errors that no retry helps against, as far as the last attempt met them.
    QStringList lasting_error_texts() const;

private:
    enum class TRANSFER_RESULT
    {
        good,
        unreported, ///< stopped, or no server answered
        error
    };

    void prepare_run(CURL_DOWNLOADER& downloader);
    void queue_component(CURL_DOWNLOADER& downloader, VINST_COMPONENT* component);
    void delete_if_corrupted(VINST_COMPONENT* component);
    void print_placeholders() const;
    void wait_for_downloads(CURL_DOWNLOADER& downloader);
    void start_checks_of_complete_files();
    void report_result(bool succeeded);
    void report_unanswered_transfers();

    TRANSFER_RESULT judge_transfer(VINST_COMPONENT* component);
    VINST_COMPONENT_PROGRESS look_at(VINST_COMPONENT* component, VINST_PROGRESS_TOTALS& totals);
    void take_error(VINST_COMPONENT* component, VINST_COMPONENT_PROGRESS& progress);
    void show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                       const VINST_PROGRESS_TOTALS& totals);

    void start_integrity_task(VINST_COMPONENT* component);
    void wait_for_integrity_tasks();
    /// Whether a check of this manager's is not yet let go.
    bool has_started_integrity_tasks() const;
    /// Cancels all checks and waits until no worker is at one.
    void finish_integrity_tasks();
    bool has_passed(VINST_COMPONENT* component);
    void set_integrity_state(VINST_COMPONENT* component, VINST_INTEGRITY_STATE state);

    std::chrono::milliseconds discovery_time_left() const;
    bool may_discover() const;
    std::optional<QString> fetch_pac_script(const QString& url);
    int fetch_one(CURL_DOWNLOADER& downloader, const std::string& url, const std::string& path,
                  CURL_PROGRESS_DATA& data);
    CURL_PROXY_INFO proxy_of(const VINST_PROXY_SETTINGS& settings);
    bool test_once(const CURL_PROXY_INFO& proxy, const std::string& path, CURL_PROGRESS_DATA& data);
    void report_failed_test(const CURL_PROXY_INFO& proxy, const CURL_PROGRESS_DATA& data);

    VINST_RELEASE& m_release;
    VINST_DOWNLOADER_VIEW* m_view;
    QStringList m_error_lines;
    QSet<QString> m_logged_error_lines; ///< in this run
    VINST_COMPONENT_LIST m_components;
    VINST_COMPONENT_LIST m_passed_components;
    VINST_COMPONENT_LIST m_failed_components;
    quint64 m_total_size = 0;
    bool m_stopped = false;
    bool m_console_mode = false;
    bool m_write_error = false;
    bool m_not_found_error = false;
    QString m_progress_text;
    QString m_error_text;
    std::optional<std::chrono::steady_clock::time_point> m_discovery_end;
};
