#pragma once

#include "install/vinst/download/vinst_attempt_errors.h"
#include "install/vinst/download/vinst_connection_test.h"
#include "install/vinst/download/vinst_installation.h"
#include "install/vinst/download/vinst_integrity_checks.h"
#include "support/curl/curl_rate_limit.h"
#include "support/curl/curl_split_refusals.h"

#include <QString>

class CURL_DOWNLOADER;

/// Downloads the selected components of a release and verifies them. Also gives the front ends
/// access to the connection test, proxy discovery and the installation.
///
/// Lives on the main thread, where it processes the view's events while it waits.
class VINST_DOWNLOADER_MGR
{
public:
    VINST_DOWNLOADER_MGR(VINST_RELEASE& release, VINST_DOWNLOADER_VIEW& view);

    /// Sets what to download, in this order; components without a file are left out.
    /// \param start_check  cancels pending checks and starts a check of each complete file
    void set_components(const VINST_COMPONENT_LIST& components, bool start_check);

    /// Limits all downloads together, also those that are running. 0: no limit.
    void set_rate_limit(quint64 bytes_per_second) { m_rate_limit.set(bytes_per_second); }
    /// Whether verified installers are made executable, to be run here. By default they are.
    void set_prepares_installers(bool prepares) { m_prepares_installers = prepares; }

    /// Makes one attempt to download all components. \return whether all are complete and passed
    /// their check
    bool download(int parallel_downloads);
    /// Stops the current attempt.
    void stop();
    /// Stops for good: nothing is downloaded or checked any more in this process.
    void abort_on_close();

    /// Runs one progress pass. To be called once per second. \return false when a file has an error
    bool update_progress();
    /// Updates the state of the component's file and returns its percentage.
    /// \param start_check        starts the integrity check of a file that has become complete
    /// \param refresh_from_disk  measures the file; otherwise its last measured size is used, plus
    ///                           `extra_bytes`
    quint64 get_progress_percentage(VINST_COMPONENT* component, bool start_check,
                                    bool refresh_from_disk, quint64 extra_bytes);

    /// Waits for the checks and sorts the components into passed and failed. \return whether none
    /// has failed; true at once after a stop
    bool check_integrity();
    void wait_for_integrity_tasks() { m_checks.wait(); }
    void cancel_integrity_tasks() { m_checks.cancel(); }
    bool has_pending_integrity_tasks() const { return m_checks.has_pending(); }

    /// Installs the components that passed; see `run_installation`.
    VINST_INSTALL_OUTCOME install();
    /// See `run_connection_test`.
    VINST_CONNECTION_RESULT test_download(const VINST_PROXY_SETTINGS& settings);
    /// See `VINST_PROXY_DISCOVERY`.
    CURL_PROXY_INFO get_default_proxy();
    CURL_PROXY_INFO get_wpad_proxy();
    CURL_PROXY_INFO get_pac_proxy(const QString& url);
    CURL_PROXY_INFO get_firefox_proxy(QString& autoconfig_url);

    const VINST_COMPONENT_LIST& passed_components() const { return m_passed_components; }
    const VINST_COMPONENT_LIST& failed_components() const { return m_failed_components; }
    /// Of the last attempt.
    const VINST_ATTEMPT_ERRORS& errors() const { return m_errors; }
    /// Why the last file of those that failed did, for a message box.
    const QString& error_text() const { return m_error_text; }

private:
    void queue_components(CURL_DOWNLOADER& downloader);
    void queue_component(CURL_DOWNLOADER& downloader, VINST_COMPONENT* component);
    void delete_corrupted_file(VINST_COMPONENT* component);
    void wait_for_downloads(CURL_DOWNLOADER& downloader);
    void note_work(const CURL_DOWNLOADER& downloader);
    VINST_COMPONENT_PROGRESS take_progress(VINST_COMPONENT* component,
                                           VINST_PROGRESS_TOTALS& totals);
    void sort_component(VINST_COMPONENT* component);
    void prepare_installer(VINST_COMPONENT& component) const;
    void report_result(bool succeeded);
    void report_failures(const CURL_DOWNLOADER& downloader);

    VINST_RELEASE& m_release;
    VINST_DOWNLOADER_VIEW& m_view;
    VINST_INTEGRITY_CHECKS m_checks;
    CURL_RATE_LIMIT m_rate_limit;
    CURL_SPLIT_REFUSALS m_split_refusals; ///< the transfer thread's while it runs
    VINST_COMPONENT_LIST m_components;
    VINST_COMPONENT_LIST m_passed_components;
    VINST_COMPONENT_LIST m_failed_components;
    quint64 m_total_size = 0; ///< bytes
    bool m_prepares_installers = true;
    bool m_stopped = false;
    bool m_was_corrupted_here = false; ///< a file that this run has fetched
    VINST_ATTEMPT_ERRORS m_errors;
    QString m_error_text;
};
