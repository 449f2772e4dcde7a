#pragma once

#include <QString>

struct VINST_COMPONENT;

/// How a component's file integrity is shown.
enum class VINST_INTEGRITY_STATE
{
    none = 0,
    not_checked = 1, ///< whole, but of unknown content
    passed = 2,
    failed = 3,
    checking = 4
};

/// What the download manager tells a front end that has windows. All calls come on the main thread.
class VINST_DOWNLOADER_VIEW
{
public:
    VINST_DOWNLOADER_VIEW() = default;
    virtual ~VINST_DOWNLOADER_VIEW() = default;
    VINST_DOWNLOADER_VIEW(const VINST_DOWNLOADER_VIEW&) = delete;
    VINST_DOWNLOADER_VIEW& operator=(const VINST_DOWNLOADER_VIEW&) = delete;

    virtual void show_status(const QString& text) = 0;
    virtual void show_integrity(VINST_COMPONENT* component, VINST_INTEGRITY_STATE state) = 0;
    virtual void show_percentage(VINST_COMPONENT* component, quint64 percent) = 0;
    /// "downloaded / total", and how much of it that is; both empty and 0 to clear.
    virtual void show_overall(const QString& text, quint64 percent) = 0;
    virtual void show_speed(const QString& text) = 0;
    virtual void show_time_remaining(const QString& text) = 0;
    /// Processes pending events; sleeps until there are some.
    virtual void process_events() = 0;
};
