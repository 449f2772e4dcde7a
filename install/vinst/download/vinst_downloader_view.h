#pragma once

#include "install/vinst/download/vinst_progress_block.h"
#include "install/vinst/release/vinst_data_components.h"

#include <QString>

/// How a component's file integrity is shown.
enum class VINST_INTEGRITY_STATE
{
    none = 0,
    not_checked = 1, ///< complete, content not verified
    passed = 2,
    failed = 3,
    checking = 4
};

/// What the download manager and its parts report to a front end. All calls are made on the main
/// thread. A front end overrides what it shows; this class itself shows nothing.
class VINST_DOWNLOADER_VIEW
{
public:
    VINST_DOWNLOADER_VIEW() = default;
    virtual ~VINST_DOWNLOADER_VIEW() = default;
    VINST_DOWNLOADER_VIEW(const VINST_DOWNLOADER_VIEW&) = delete;
    VINST_DOWNLOADER_VIEW& operator=(const VINST_DOWNLOADER_VIEW&) = delete;

    virtual void show_status(const QString&) {}
    virtual void show_integrity(VINST_COMPONENT*, VINST_INTEGRITY_STATE) {}
    virtual void show_percentage(VINST_COMPONENT*, quint64) {}
    /// "downloaded / total" and the percentage; an empty text and 0 clear the display.
    virtual void show_overall(const QString&, quint64) {}
    virtual void show_speed(const QString&) {}
    virtual void show_time_remaining(const QString&) {}

    /// An attempt to download these components starts.
    virtual void show_attempt(const VINST_COMPONENT_LIST&) {}
    /// One progress pass over the components of the attempt.
    virtual void show_progress(const std::vector<VINST_COMPONENT_PROGRESS>&,
                               const VINST_PROGRESS_TOTALS&)
    {
    }
    /// The manager waits for the integrity checks of that many files, of which that many bytes have
    /// not been read. Called about once per second, and with zeros at the end.
    virtual void show_pending_checks(int /*files*/, quint64 /*bytes*/) {}
    /// A line is about to be reported (`report`) about the attempt.
    virtual void show_reported_line(const QString&) {}
    /// The connection is tested through this proxy; both are empty without one.
    virtual void show_connection_attempt(const std::string& /*host*/, const std::string& /*port*/)
    {
    }
    /// What names the proxy of the attempt; called after it, in a download only if the proxy was
    /// detected.
    virtual void show_proxy_source(const std::string&) {}
    /// The variable because of which the attempt uses no proxy; called after it.
    virtual void show_proxy_exclusion(const std::string& /*variable*/) {}

    /// The installer of one of the components that are installed is about to run.
    /// \param number  of this installer, from 1
    /// \param count   of all installers, as far as is known
    virtual void show_installer(VINST_COMPONENT*, int /*number*/, int /*count*/) {}
    /// The component was installed, by its own or by another one's installer, or its installer has
    /// failed. Not called when it was stopped. The failure is a sentence for the user; empty when
    /// it was installed.
    virtual void show_installer_end(VINST_COMPONENT*, const QString& /*failure*/) {}
    /// An after-install action is about to run.
    virtual void show_action(const VINST_COMPONENT&) {}
    /// The last line that the running installer or action has written; at most once per second.
    virtual void show_installer_output(const QString&) {}

    /// Called while the manager waits: processes pending events; sleeps until there are some.
    virtual void process_events();
};
