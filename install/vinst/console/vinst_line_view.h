#pragma once

#include "install/vinst/console/vinst_console_view.h"

#include <chrono>
#include <functional>
#include <map>
#include <optional>

/// The view for logs of batch systems: one line with a time per event, and nothing is redrawn. A
/// line with the totals follows every 30 s, and at the end of each attempt.
class VINST_LINE_VIEW final : public VINST_CONSOLE_VIEW
{
public:
    using TIME = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::seconds total_interval{30};

    /// \param now  called for each progress pass
    explicit VINST_LINE_VIEW(std::function<TIME()> now = std::chrono::steady_clock::now);

    void show_connection_attempt(const std::string& host, const std::string& port) override;
    void show_attempt(const VINST_COMPONENT_LIST& components) override;
    void show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                       const VINST_PROGRESS_TOTALS& totals) override;
    void show_integrity(VINST_COMPONENT* component, VINST_INTEGRITY_STATE state) override;
    void show_pending_checks(int files, quint64 bytes) override;
    void show_reported_line(const QString& line) override;

    void start() override;
    void begin_wait(const QString& announcement) override;
    void end_wait() override {}

private:
    /// What has been printed about a component.
    struct SHOWN
    {
        bool started = false;
        bool complete = false;
        bool verified = false;
        bool failed = false;
        QString error_line;
    };

    void show_events(const VINST_COMPONENT_PROGRESS& progress, SHOWN& shown);
    void show_verified(const QString& name, SHOWN& shown);
    bool is_time_for_total();
    void show_total(TIME now);

    const std::function<TIME()> m_now;
    VINST_COMPONENT_LIST m_components; ///< of this attempt
    std::map<const VINST_COMPONENT*, SHOWN> m_shown;
    std::optional<TIME> m_last_total;    ///< or the start of the attempt
    quint64 m_received_then = 0;         ///< bytes at that time
    VINST_PROGRESS_TOTALS m_totals;      ///< of the last pass
    bool m_has_progress_to_show = false; ///< since the last line with the totals
};
